// Frames over time: the clock, triggers, losses, unplugging, many cameras, many threads.
#include "producer_harness.h"

#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <random>
#include <sstream>
#include <thread>

namespace producer_test
{

using Clock = std::chrono::steady_clock;

class ProducerStream : public ProducerTest
{
protected:
    std::uint64_t frameId(const Session& session, Handle buffer) const
    {
        return bufferInfo<std::uint64_t>(session, buffer, kBufferInfoFrameId, kTypeUint64);
    }
    std::uint64_t timestamp(const Session& session, Handle buffer) const
    {
        return bufferInfo<std::uint64_t>(session, buffer, kBufferInfoTimestampNs, kTypeUint64);
    }
    void waitFor(const Session& session, StreamInfo counter, std::uint64_t value) const
    {
        while (streamCount(session, counter) < value) {
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
    }
    std::uint32_t deviceCount(Handle interface) const
    {
        std::uint32_t count = 99;
        EXPECT_EQ(f.IFUpdateDeviceList(interface, nullptr, 0), err::kSuccess);
        EXPECT_EQ(f.IFGetNumDevices(interface, &count), err::kSuccess);
        return count;
    }
};

TEST_F(ProducerStream, FramesKeepTheCamerasTime)
{
    // Enough buffers for a machine that is busy elsewhere for a while.
    const Session session = openStream("One", 40);
    EXPECT_EQ(session.camera.writeReal("ExposureTime", 1000.0), err::kSuccess);
    EXPECT_EQ(session.camera.writeReal("AcquisitionFrameRate", 100.0), err::kSuccess);
    const auto begin = Clock::now();
    ASSERT_EQ(start(session), err::kSuccess);
    std::uint64_t first = 0;
    for (std::uint64_t i = 0; i < 100; ++i) {
        const Handle buffer = nextBuffer(session);
        ASSERT_EQ(frameId(session, buffer), i) << "a frame is missing or out of order";
        const std::uint64_t time = timestamp(session, buffer);
        first = i == 0 ? time : first;
        // Never before the exposure can be over, and the period does not drift.
        EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(10 * i + 1));
        EXPECT_NEAR(static_cast<double>(time - first), 1e7 * static_cast<double>(i), 1e5);
        ASSERT_EQ(f.DSQueueBuffer(session.stream, buffer), err::kSuccess);
    }
    EXPECT_GE(streamCount(session, kStreamInfoNumDelivered), 100U);
    EXPECT_EQ(streamCount(session, kStreamInfoNumUnderrun), 0U);
}

TEST_F(ProducerStream, OneFramePerTrigger)
{
    const Session session = openStream("One", 4);
    const Registers& camera = session.camera;
    EXPECT_EQ(camera.writeReal("ExposureTime", 1000.0), err::kSuccess);
    EXPECT_EQ(camera.writeEntry("TriggerMode", "On", camera.entry("TriggerSelector", "FrameStart")),
              err::kSuccess);
    ASSERT_EQ(start(session), err::kSuccess);
    Handle buffer = nullptr;
    EXPECT_EQ(tryBuffer(session, 60, &buffer), err::kTimeout);
    for (std::uint64_t i = 0; i < 5; ++i) {
        EXPECT_EQ(camera.write("TriggerSoftware", 1, camera.entry("TriggerSelector", "FrameStart")),
                  err::kSuccess);
        buffer = nextBuffer(session);
        EXPECT_EQ(frameId(session, buffer), i);
        EXPECT_EQ(f.DSQueueBuffer(session.stream, buffer), err::kSuccess);
        EXPECT_EQ(tryBuffer(session, 30, &buffer), err::kTimeout);
    }
    // Waiting for a trigger is not a frame under way: the stop does not wait.
    EXPECT_EQ(f.DSStopAcquisition(session.stream, 0), err::kSuccess);
    EXPECT_EQ(streamCount(session, kStreamInfoNumStarted), 5U);
}

TEST_F(ProducerStream, ModesOfAcquisitionEndByThemselves)
{
    const Session session = openStream("One", 4);
    EXPECT_EQ(session.camera.writeEntry("AcquisitionMode", "MultiFrame"), err::kSuccess);
    EXPECT_EQ(session.camera.write("AcquisitionFrameCount", 3), err::kSuccess);
    for (int run = 0; run < 2; ++run) {
        EXPECT_EQ(run == 0 ? start(session) : session.camera.write("AcquisitionStart", 1),
                  err::kSuccess);
        for (std::uint64_t i = 0; i < 3; ++i) {
            const Handle buffer = nextBuffer(session);
            EXPECT_EQ(frameId(session, buffer), i);
            EXPECT_EQ(f.DSQueueBuffer(session.stream, buffer), err::kSuccess);
        }
        Handle buffer = nullptr;
        EXPECT_EQ(tryBuffer(session, 80, &buffer), err::kTimeout);
    }
}

TEST_F(ProducerStream, WithoutABufferFramesAreLostAndCounted)
{
    const Session session = openStream("One", 1);
    Handle events = nullptr;
    ASSERT_EQ(f.GCRegisterEvent(session.device, kEventRemoteDevice, &events), err::kSuccess);
    EXPECT_EQ(session.camera.writeEntry("EventNotification", "On",
                                        session.camera.entry("EventSelector", "FrameLost")),
              err::kSuccess);
    ASSERT_EQ(start(session), err::kSuccess);
    const Handle buffer = nextBuffer(session);
    waitFor(session, kStreamInfoNumUnderrun, 3);
    std::size_t size = 0;
    EXPECT_EQ(f.EventGetData(events, nullptr, &size, 5000), err::kSuccess);
    ASSERT_EQ(f.DSQueueBuffer(session.stream, buffer), err::kSuccess);
    EXPECT_EQ(nextBuffer(session), buffer);
    EXPECT_GE(frameId(session, buffer), 4U); // the lost ones have their numbers
    EXPECT_EQ(streamCount(session, kStreamInfoNumDelivered), 2U);
    EXPECT_EQ(f.DSStopAcquisition(session.stream, 0), err::kSuccess);
    EXPECT_EQ(streamCount(session, kStreamInfoNumStarted),
              2 + streamCount(session, kStreamInfoNumUnderrun));
    // Deliveries count from the start, losses from the opening.
    const std::uint64_t underruns = streamCount(session, kStreamInfoNumUnderrun);
    EXPECT_EQ(f.DSStartAcquisition(session.stream, 0, 1), err::kSuccess);
    EXPECT_EQ(streamCount(session, kStreamInfoNumDelivered), 0U);
    EXPECT_GE(streamCount(session, kStreamInfoNumUnderrun), underruns);
}

TEST_F(ProducerStream, FaultsLoseAndDelayFramesInOrder)
{
    const Session session = openStream("One", 4);
    EXPECT_EQ(session.camera.write("SimulatorDropFrames", 2), err::kSuccess);
    ASSERT_EQ(start(session, 1), err::kSuccess);
    Handle buffer = nextBuffer(session);
    EXPECT_EQ(frameId(session, buffer), 2U);
    EXPECT_EQ(Registers(f, session.stream).read("StreamLostFrameCount"), 2U);
    EXPECT_EQ(streamCount(session, kStreamInfoNumUnderrun), 0U);
    ASSERT_EQ(f.DSQueueBuffer(session.stream, buffer), err::kSuccess);
    ASSERT_EQ(f.DSStopAcquisition(session.stream, 0), err::kSuccess);
    EXPECT_EQ(session.camera.write("SimulatorDelayTime", 150), err::kSuccess);
    EXPECT_EQ(session.camera.write("SimulatorDelayFrames", 1), err::kSuccess);
    // What the running camera exposed while nobody listened is not delivered afterwards.
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    const auto begin = Clock::now();
    ASSERT_EQ(f.DSStartAcquisition(session.stream, 0, kInfinite), err::kSuccess);
    std::uint64_t before = 2;
    for (int i = 0; i < 8; ++i) {
        buffer = nextBuffer(session);
        EXPECT_GT(frameId(session, buffer), before);
        EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(150));
        before = frameId(session, buffer);
        ASSERT_EQ(f.DSQueueBuffer(session.stream, buffer), err::kSuccess);
    }
}

TEST_F(ProducerStream, AnUnpluggedCameraAnswersWithCodesAndComesBack)
{
    const Session session = openStream("One", 3);
    Handle errors = nullptr;
    Handle modules = nullptr;
    Handle remote = nullptr;
    ASSERT_EQ(f.GCRegisterEvent(session.device, kEventError, &errors), err::kSuccess);
    ASSERT_EQ(f.GCRegisterEvent(session.device, kEventModule, &modules), err::kSuccess);
    ASSERT_EQ(f.GCRegisterEvent(session.device, kEventRemoteDevice, &remote), err::kSuccess);
    ASSERT_EQ(start(session), err::kSuccess);
    ASSERT_EQ(f.DSQueueBuffer(session.stream, nextBuffer(session)), err::kSuccess);
    const auto waitForEnd = [this](Handle event) {
        Error code = err::kSuccess;
        while (code == err::kSuccess) {
            std::size_t size = 0;
            code = f.EventGetData(event, nullptr, &size, kInfinite);
        }
        EXPECT_EQ(code, err::kAbort);
    };
    std::thread frames([&] { waitForEnd(session.event); });
    std::thread messages([&] { waitForEnd(remote); });
    EXPECT_EQ(session.camera.write("SimulatorUnplugReturnTime", 700), err::kSuccess);
    const auto unplugged = Clock::now();
    EXPECT_EQ(session.camera.write("SimulatorUnplug", 1), err::kSuccess);
    frames.join();
    messages.join();

    std::uint64_t value = 0;
    Handle handle = nullptr;
    EXPECT_EQ(session.camera.tryRead("Width", &value), err::kIo);
    EXPECT_EQ(session.camera.write("Width", 32), err::kIo);
    std::size_t size = 0;
    EXPECT_EQ(f.EventGetData(session.event, nullptr, &size, kInfinite), err::kAbort);
    EXPECT_EQ(f.DSStopAcquisition(session.stream, 0), err::kSuccess);
    EXPECT_EQ(f.DSStartAcquisition(session.stream, 0, 1), err::kIo);
    EXPECT_EQ(f.DSFlushQueue(session.stream, kQueueAllDiscard), err::kSuccess);
    EXPECT_EQ(f.DSRevokeBuffer(session.stream, session.buffers[0], nullptr, nullptr),
              err::kSuccess);
    EXPECT_EQ(askText(f.DevGetInfo, session.device, std::int32_t{kDeviceInfoModel}), "One");
    EXPECT_EQ(
        askFor<Bool8>(kTypeBool8, f.GCGetPortInfo, session.port, std::int32_t{kPortInfoAccessNa}),
        1);
    // The loss is told: as an error, and as an event of the module.
    std::array<char, 1024> raw{};
    size = raw.size();
    ASSERT_EQ(f.EventGetData(errors, raw.data(), &size, 0), err::kSuccess);
    const void* in = raw.data();
    EXPECT_EQ(askFor<std::int32_t>(kTypeInt32, f.EventGetDataInfo, errors, in, size,
                                   std::int32_t{kEventDataId}),
              err::kIo);
    size = raw.size();
    ASSERT_EQ(f.EventGetData(modules, raw.data(), &size, 0), err::kSuccess);
    EXPECT_EQ(askText(f.EventGetDataInfo, modules, in, size, std::int32_t{kEventDataId}), "A001");

    // It is in the list until the next update, but it cannot be opened.
    EXPECT_EQ(askFor<std::int32_t>(kTypeInt32, f.IFGetDeviceInfo, net, kOneId,
                                   std::int32_t{kDeviceInfoAccessStatus}),
              kStatusNoAccess);
    EXPECT_EQ(f.DevClose(session.device), err::kSuccess);
    if (Clock::now() - unplugged < std::chrono::milliseconds(600)) {
        EXPECT_EQ(f.IFOpenDevice(net, kOneId, kDeviceAccessExclusive, &handle), err::kInvalidId);
        EXPECT_EQ(deviceCount(net), 1U);
        EXPECT_EQ(f.IFGetDeviceInfo(net, kOneId, kDeviceInfoModel, nullptr, nullptr, &size),
                  err::kInvalidId);
    }
    while (deviceCount(net) != 2) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    EXPECT_GE(Clock::now() - unplugged, std::chrono::milliseconds(700));
    const Session again = openStream("One", 2);
    ASSERT_EQ(start(again), err::kSuccess);
    nextBuffer(again);
}

TEST_F(ProducerStream, TwentyFourCamerasStreamTogether)
{
    ASSERT_EQ(f.TLClose(system), err::kSuccess);
    configure(R"({"interfaces": [{"id": "many", "type": "U3V", "cameras": [
        {"model": "Many", "width": 64, "height": 48, "maxFrameRate": 2000, "count": 24}]}]})");
    openSystem();
    const Handle many = openInterface("many");
    ASSERT_EQ(deviceCount(many), 24U);
    std::vector<Session> sessions;
    for (std::uint32_t i = 0; i < 24; ++i) {
        std::array<char, 100> id{};
        std::size_t size = id.size();
        ASSERT_EQ(f.IFGetDeviceID(many, i, id.data(), &size), err::kSuccess);
        Session session = openCamera(many, id.data());
        for (int n = 0; n < 4; ++n) {
            Handle buffer = nullptr;
            ASSERT_EQ(f.DSAllocAndAnnounceBuffer(session.stream, kPayload, nullptr, &buffer),
                      err::kSuccess);
            ASSERT_EQ(f.DSQueueBuffer(session.stream, buffer), err::kSuccess);
        }
        ASSERT_EQ(f.GCRegisterEvent(session.stream, kEventNewBuffer, &session.event),
                  err::kSuccess);
        sessions.push_back(std::move(session));
    }
    for (const Session& session : sessions) {
        ASSERT_EQ(start(session), err::kSuccess);
    }
    for (int round = 0; round < 10; ++round) {
        for (const Session& session : sessions) {
            const Handle buffer = nextBuffer(session);
            ASSERT_EQ(f.DSQueueBuffer(session.stream, buffer), err::kSuccess);
        }
    }
    for (const Session& session : sessions) {
        EXPECT_GE(streamCount(session, kStreamInfoNumDelivered), 10U);
    }
}

TEST_F(ProducerStream, MemoryIsTheConsumersAfterDiscardAndRevoke)
{
    const Session session = openStream("One", 0);
    EXPECT_EQ(session.camera.writeReal("ExposureTime", 10.0), err::kSuccess);
    EXPECT_EQ(session.camera.write("AcquisitionFrameRateEnable", 0), err::kSuccess);
    auto spare = std::make_unique<unsigned char[]>(kPayload);
    Handle spareBuffer = nullptr;
    ASSERT_EQ(f.DSAnnounceBuffer(session.stream, spare.get(), kPayload, nullptr, &spareBuffer),
              err::kSuccess);
    ASSERT_EQ(start(session), err::kSuccess);
    for (int round = 0; round < 100; ++round) {
        auto memory = std::make_unique<unsigned char[]>(kPayload);
        Handle buffer = nullptr;
        ASSERT_EQ(f.DSAnnounceBuffer(session.stream, memory.get(), kPayload, nullptr, &buffer),
                  err::kSuccess);
        ASSERT_EQ(f.DSQueueBuffer(session.stream, buffer), err::kSuccess);
        std::this_thread::sleep_for(std::chrono::microseconds(37 * round % 1500));
        ASSERT_EQ(f.DSFlushQueue(session.stream, kQueueAllDiscard), err::kSuccess);
        ASSERT_EQ(f.DSRevokeBuffer(session.stream, buffer, nullptr, nullptr), err::kSuccess);
        memory.reset(); // the sanitizers see who still writes
    }
}

TEST_F(ProducerStream, CallsFromManyThreadsEndWell)
{
    const Session session = openStream("One", 4);
    EXPECT_EQ(session.camera.writeReal("ExposureTime", 10.0), err::kSuccess);
    EXPECT_EQ(session.camera.writeReal("AcquisitionFrameRate", 1000.0), err::kSuccess);
    std::atomic<bool> over{false};
    std::atomic<int> frames{0};
    std::vector<std::thread> threads;
    const auto repeat = [&](auto action) {
        threads.emplace_back([&over, action, seed = threads.size()]() mutable {
            std::mt19937 random(static_cast<unsigned>(seed));
            while (!over) {
                action(static_cast<std::uint32_t>(random()));
            }
        });
    };
    for (int consumer = 0; consumer < 2; ++consumer) {
        repeat([&](std::uint32_t) {
            Handle buffer = nullptr;
            if (tryBuffer(session, 5, &buffer) == err::kSuccess) {
                ++frames;
                f.DSQueueBuffer(session.stream, buffer);
            }
        });
    }
    repeat([&](std::uint32_t number) {
        f.DSFlushQueue(session.stream, static_cast<std::int32_t>(number % 5));
        f.DSQueueBuffer(session.stream, session.buffers[number % 4]);
    });
    repeat([&](std::uint32_t number) {
        start(session, number % 50 + 1);
        std::this_thread::sleep_for(std::chrono::milliseconds(number % 20));
        f.DSStopAcquisition(session.stream, static_cast<std::int32_t>(number % 2));
    });
    repeat([&](std::uint32_t number) {
        f.EventKill(session.event);
        std::size_t size = 0;
        f.DSGetBufferInfo(session.stream, session.buffers[number % 4], kBufferInfoFrameId, nullptr,
                          nullptr, &size);
        f.DSGetInfo(session.stream, kStreamInfoNumQueued, nullptr, nullptr, &size);
        std::this_thread::sleep_for(std::chrono::microseconds(300));
    });
    repeat([&](std::uint32_t number) {
        Handle event = nullptr;
        f.GCRegisterEvent(session.device, kEventRemoteDevice, &event);
        session.camera.write("Width", 16 + number % 3 * 16);
        f.GCUnregisterEvent(session.device, kEventRemoteDevice);
    });
    const auto end = Clock::now() + std::chrono::seconds(2);
    while (Clock::now() < end || frames == 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_EQ(f.TLClose(system), err::kSuccess); // with everybody still calling
    over = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST_F(ProducerStream, AProgramMayEndWhileFramesRun)
{
    const pid_t child = fork();
    if (child == 0) {
        alarm(30);
        f.GCInitLib();
        openSystem();
        net = openInterface("net");
        const Session session = openStream("One", 3);
        start(session);
        nextBuffer(session);
        std::exit(0); // with the destructors of the program, not with the streams closed
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

/// The loadable file, as a stranger finds it: by symbols.
class LoadedProducer : public ProducerStream
{
protected:
    template <class Function> void resolve(const char* name, Function* function)
    {
        *function = reinterpret_cast<Function>(dlsym(library_, name));
        EXPECT_NE(*function, nullptr) << name;
    }
    void* library_ = nullptr;
};

TEST_F(LoadedProducer, IsAProducerOfItsOwn)
{
    library_ = dlopen(ZEL_SIMULATOR_CTI, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library_, nullptr) << dlerror();
    FunctionTable loaded;
    resolve("GCInitLib", &loaded.GCInitLib);
    resolve("GCCloseLib", &loaded.GCCloseLib);
    resolve("GCGetInfo", &loaded.GCGetInfo);
    resolve("TLOpen", &loaded.TLOpen);
    resolve("TLUpdateInterfaceList", &loaded.TLUpdateInterfaceList);
    resolve("TLGetNumInterfaces", &loaded.TLGetNumInterfaces);
    resolve("DSGetBufferInfoStacked", &loaded.DSGetBufferInfoStacked);
    // It shows the 59 names and nothing of its inside.
    EXPECT_EQ(dlsym(library_, "_ZN9simulator13producerTableEv"), nullptr);
    // The one inside this program is initialised; the file is another.
    ASSERT_EQ(loaded.GCInitLib(), err::kSuccess);
    EXPECT_EQ(loaded.GCInitLib(), err::kResourceInUse);
    EXPECT_EQ(askText(loaded.GCGetInfo, std::int32_t{kTlInfoName}), "zelcam_simulator.cti");
    EXPECT_EQ(askText(loaded.GCGetInfo, std::int32_t{kTlInfoPathName}),
              std::string(ZEL_SIMULATOR_CTI));
    // Who loads it by name wants cameras: "off" is for those that nobody asked for.
    setenv("ZELCAM_SIMULATOR", "off", 1);
    Handle tl = nullptr;
    ASSERT_EQ(loaded.TLOpen(&tl), err::kSuccess);
    std::uint32_t count = 0;
    EXPECT_EQ(loaded.TLUpdateInterfaceList(system, nullptr, 0), err::kInvalidHandle);
    EXPECT_EQ(loaded.TLUpdateInterfaceList(tl, nullptr, 0), err::kSuccess);
    EXPECT_EQ(loaded.TLGetNumInterfaces(tl, &count), err::kSuccess);
    EXPECT_EQ(count, 5U);
    EXPECT_EQ(loaded.GCCloseLib(), err::kSuccess);
    EXPECT_EQ(f.TLGetNumInterfaces(system, &count), err::kSuccess);
    EXPECT_EQ(dlclose(library_), 0);
}

} // namespace producer_test
