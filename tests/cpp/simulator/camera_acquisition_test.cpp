// Runs, triggers, timing, events, chunks and faults of simulated cameras.
#include "test_camera.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>

namespace simulator::test
{

namespace
{

enum Trigger : std::size_t { kAcquisitionStart, kFrameStart, kFrameBurstStart };
enum EventId : std::uint64_t {
    kAcquisitionStartEvent = 0x9001,
    kAcquisitionEndEvent,
    kFrameTriggerEvent,
    kTriggerMissedEvent,
    kFrameStartEvent,
    kExposureEndEvent,
    kFrameLostEvent,
    kTestEvent,
};

void enableAllEvents(TestCamera& camera)
{
    for (std::size_t i = 0; i < 8; ++i) {
        ASSERT_EQ(camera.set("EventNotification", 1, i), 0);
    }
}

std::vector<std::uint64_t> idsOf(const std::vector<Listener::Event>& events)
{
    std::vector<std::uint64_t> ids;
    for (const auto& event : events) {
        ids.push_back(event.id);
    }
    return ids;
}

/// A camera that exposes for 100 us and reads out within 1 ms.
void makeFast(TestCamera& camera)
{
    ASSERT_EQ(camera.set("AcquisitionFrameRateEnable", 0), 0);
    ASSERT_EQ(camera.setReal("ExposureTime", 100), 0);
}

} // namespace

TEST(Acquisition, ContinuousRunsUntilStopped)
{
    TestCamera camera;
    EXPECT_FALSE(camera.model.nextFrame().expose);
    camera.listener.takeNotes();
    ASSERT_EQ(camera.run("AcquisitionStart"), 0);
    ASSERT_EQ(camera.run("AcquisitionStart"), 0);
    EXPECT_EQ(camera.listener.takeNotes(), std::vector<std::string>{"started"});
    FramePlan first;
    FramePlan second;
    FrameLayout layout;
    const auto picture = camera.frame(&layout, &first);
    camera.frame(nullptr, &second);
    EXPECT_EQ(first.frameId, 0u);
    EXPECT_EQ(second.frameId, 1u);
    EXPECT_EQ(second.startNs - first.startNs, 20000000u) << "50 frames per second";
    EXPECT_EQ(first.readyNs - first.startNs, 11000000u) << "exposure 10 ms, readout 1 ms";
    EXPECT_EQ(layout.size, picture.size());
    EXPECT_EQ(layout.imageSize, 64u * 48u);
    EXPECT_EQ(layout.pixelFormat, 0x01080001u);
    EXPECT_EQ(layout.timestampNs, first.startNs);
    ASSERT_EQ(camera.run("AcquisitionStop"), 0);
    ASSERT_EQ(camera.run("AcquisitionStop"), 0);
    EXPECT_EQ(camera.listener.takeNotes(), std::vector<std::string>{"stopped"});
    EXPECT_FALSE(camera.model.nextFrame().expose);
    ASSERT_EQ(camera.run("AcquisitionStart"), 0);
    EXPECT_EQ(camera.model.nextFrame().frameId, 0u);
}

TEST(Acquisition, SingleAndMultiFrameEndByThemselves)
{
    TestCamera camera;
    ASSERT_EQ(camera.set("AcquisitionMode", 2), 0);
    ASSERT_EQ(camera.set("AcquisitionFrameCount", 3), 0);
    for (int run = 0; run < 2; ++run) {
        ASSERT_EQ(camera.run("AcquisitionStart"), 0);
        for (std::uint64_t i = 0; i < 3; ++i) {
            FramePlan plan;
            EXPECT_EQ(camera.get("AcquisitionStatus", 1), 1) << "active";
            EXPECT_FALSE(camera.frame(nullptr, &plan).empty());
            EXPECT_EQ(plan.frameId, i);
            EXPECT_EQ(plan.lastOfRun, i == 2);
        }
        EXPECT_TRUE(camera.frame().empty());
        EXPECT_EQ(camera.get("AcquisitionStatus", 1), 0);
    }
    ASSERT_EQ(camera.set("AcquisitionMode", 1), 0) << "unlocked again";
    ASSERT_EQ(camera.run("AcquisitionStart"), 0);
    EXPECT_FALSE(camera.frame().empty());
    EXPECT_TRUE(camera.frame().empty());
}

TEST(Trigger, OneFramePerSoftwareTrigger)
{
    TestCamera camera;
    makeFast(camera);
    enableAllEvents(camera);
    ASSERT_EQ(camera.set("CounterEventSource", 4), 0) << "missed triggers";
    ASSERT_EQ(camera.set("TriggerMode", 1, kFrameStart), 0);
    ASSERT_EQ(camera.setReal("TriggerDelay", 2000, kFrameStart), 0);
    ASSERT_EQ(camera.run("TriggerSoftware", kFrameStart), 0) << "not started: ignored";
    ASSERT_EQ(camera.run("AcquisitionStart"), 0);
    EXPECT_TRUE(camera.frame().empty());
    EXPECT_EQ(camera.get("AcquisitionStatus", 2), 1) << "waits for a frame trigger";
    camera.listener.takeNotes();
    const std::uint64_t now = camera.model.now();
    ASSERT_EQ(camera.run("TriggerSoftware", kFrameStart), 0);
    ASSERT_EQ(camera.run("TriggerSoftware", kFrameStart), 0) << "too early: ignored";
    ASSERT_EQ(camera.run("TriggerSoftware", kFrameBurstStart), 0) << "not in use: ignored";
    EXPECT_EQ(camera.listener.takeNotes(), std::vector<std::string>{"triggered"});
    FramePlan plan;
    EXPECT_FALSE(camera.frame(nullptr, &plan).empty());
    EXPECT_GE(plan.startNs, now + 2000000);
    EXPECT_TRUE(camera.frame().empty());
    EXPECT_EQ(camera.get("CounterValue"), 3);
    EXPECT_EQ(idsOf(camera.listener.takeEvents()),
              (std::vector<std::uint64_t>{
                  kTriggerMissedEvent, kAcquisitionStartEvent, kFrameTriggerEvent,
                  kTriggerMissedEvent, kTriggerMissedEvent, kFrameStartEvent, kExposureEndEvent}));
    // Who has the frame may trigger the next one.
    while (camera.model.now() < plan.readyNs) {
        std::this_thread::yield();
    }
    ASSERT_EQ(camera.run("TriggerSoftware", kFrameStart), 0);
    EXPECT_FALSE(camera.frame().empty());
    ASSERT_EQ(camera.run("CounterReset"), 0);
    EXPECT_EQ(camera.get("CounterValue"), 0);
}

TEST(Trigger, OtherSourcesBurstsAndAcquisitionStart)
{
    TestCamera camera;
    makeFast(camera);
    ASSERT_EQ(camera.set("TriggerMode", 1, kAcquisitionStart), 0);
    ASSERT_EQ(camera.set("TriggerMode", 1, kFrameBurstStart), 0);
    ASSERT_EQ(camera.set("AcquisitionBurstFrameCount", 3), 0);
    ASSERT_EQ(camera.run("AcquisitionStart"), 0);
    EXPECT_EQ(camera.get("AcquisitionStatus", 0), 1) << "waits for its start";
    ASSERT_EQ(camera.run("TriggerSoftware", kFrameBurstStart), 0) << "too early";
    EXPECT_TRUE(camera.frame().empty());
    ASSERT_EQ(camera.run("TriggerSoftware", kAcquisitionStart), 0);
    EXPECT_TRUE(camera.frame().empty());
    ASSERT_EQ(camera.run("TriggerSoftware", kFrameStart), 0) << "not in use";
    ASSERT_EQ(camera.run("TriggerSoftware", kFrameBurstStart), 0);
    for (int i = 0; i < 3; ++i) {
        EXPECT_FALSE(camera.frame().empty()) << i;
    }
    EXPECT_TRUE(camera.frame().empty());
    ASSERT_EQ(camera.run("AcquisitionStop"), 0);
    ASSERT_EQ(camera.set("TriggerMode", 0, kAcquisitionStart), 0);
    ASSERT_EQ(camera.set("TriggerSource", 1, kFrameBurstStart), 0) << "nothing is connected";
    ASSERT_EQ(camera.run("AcquisitionStart"), 0);
    ASSERT_EQ(camera.run("TriggerSoftware", kFrameBurstStart), 0);
    EXPECT_TRUE(camera.frame().empty());
}

TEST(Trigger, AFrameOfABurstWaitsForItsBurst)
{
    TestCamera camera;
    makeFast(camera);
    ASSERT_EQ(camera.set("TriggerMode", 1, kFrameStart), 0);
    ASSERT_EQ(camera.set("TriggerMode", 1, kFrameBurstStart), 0);
    ASSERT_EQ(camera.run("AcquisitionStart"), 0);
    ASSERT_EQ(camera.run("TriggerSoftware", kFrameStart), 0) << "before its burst: ignored";
    ASSERT_EQ(camera.run("TriggerSoftware", kFrameBurstStart), 0);
    EXPECT_TRUE(camera.frame().empty()) << "it was not remembered";
    ASSERT_EQ(camera.run("TriggerSoftware", kFrameStart), 0);
    EXPECT_FALSE(camera.frame().empty());
}

TEST(Acquisition, SettingsAreThoseOfTheStartOfTheExposure)
{
    TestCamera camera;
    ASSERT_EQ(camera.set("TestPattern", 2), 0) << "White";
    ASSERT_EQ(camera.run("AcquisitionStart"), 0);
    const FramePlan plan = camera.model.nextFrame();
    ASSERT_EQ(camera.set("TestPattern", 1), 0) << "Black";
    std::vector<std::uint8_t> memory(camera.model.payloadSize());
    FrameLayout layout;
    ASSERT_EQ(camera.model.render(plan, memory.data(), memory.size(), &layout), 0);
    EXPECT_EQ(memory.front(), 255);
    EXPECT_EQ(camera.frame().front(), 0);
    // A buffer that is too small gets the leading bytes and nothing behind them.
    std::vector<std::uint8_t> small(100, 7);
    EXPECT_EQ(camera.model.render(plan, small.data(), 99, &layout), -1016);
    EXPECT_EQ(small[98], 255);
    EXPECT_EQ(small[99], 7);
    EXPECT_EQ(layout.size, memory.size());
    camera.model.frameDone(plan);
    EXPECT_EQ(camera.model.render(plan, small.data(), 99, &layout), -1009) << "released";
}

TEST(Events, CarryTimeAndFrame)
{
    TestCamera camera;
    ASSERT_EQ(camera.run("TestEventGenerate"), 0);
    EXPECT_TRUE(camera.listener.takeEvents().empty()) << "not enabled";
    enableAllEvents(camera);
    ASSERT_EQ(camera.run("TestEventGenerate"), 0);
    ASSERT_EQ(camera.run("AcquisitionStart"), 0);
    camera.frame();
    FramePlan plan;
    camera.frame(nullptr, &plan);
    const FramePlan dropped = camera.model.nextFrame();
    camera.model.frameStarted(dropped);
    camera.model.exposureEnded(dropped);
    camera.model.frameDropped(dropped);
    const FramePlan cancelled = camera.model.nextFrame();
    camera.model.frameDone(cancelled);
    auto events = camera.listener.takeEvents();
    ASSERT_EQ(idsOf(events),
              (std::vector<std::uint64_t>{kTestEvent, kAcquisitionStartEvent, kFrameStartEvent,
                                          kExposureEndEvent, kFrameStartEvent, kExposureEndEvent,
                                          kFrameStartEvent, kExposureEndEvent, kFrameLostEvent}));
    EXPECT_EQ(events[5].number(0), kExposureEndEvent);
    EXPECT_EQ(events[5].number(8), plan.startNs + 10000000);
    EXPECT_EQ(events[5].number(16), 1u);
    EXPECT_EQ(events[8].number(16), 2u);
    ASSERT_EQ(camera.set("SimulatorStopEvents", 1), 0);
    camera.frame();
    EXPECT_TRUE(camera.listener.takeEvents().empty());
    ASSERT_EQ(camera.set("SimulatorStopEvents", 0), 0);
    camera.model.sessionClosed();
    EXPECT_EQ(camera.get("EventNotification", 5), 0);
    EXPECT_FALSE(camera.model.nextFrame().expose);
}

TEST(Chunks, LieBehindTheImage)
{
    CameraConfig config = smallCamera();
    config.sensorWidth = 9;
    config.sensorHeight = 5;
    TestCamera camera(config);
    ASSERT_EQ(camera.set("ChunkModeActive", 1), 0);
    for (std::size_t i = 5; i < 9; ++i) {
        ASSERT_EQ(camera.set("ChunkEnable", 0, i), 0);
    }
    EXPECT_EQ(camera.get("PayloadSize"), 48 + 5 * 8);
    ASSERT_EQ(camera.setReal("ExposureTime", 1500.5), 0);
    ASSERT_EQ(camera.run("AcquisitionStart"), 0);
    camera.frame();
    FrameLayout layout;
    FramePlan plan;
    const auto memory = camera.frame(&layout, &plan);
    ASSERT_EQ(layout.size, memory.size());
    EXPECT_EQ(layout.imageSize, 45u);
    ChunkPlace places[9];
    ASSERT_EQ(camera.model.chunks(layout, places, 9), 5u);
    const auto number = [&](std::size_t chunk) {
        EXPECT_EQ(places[chunk].size, 8u);
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < 8; ++i) {
            value = value << 8 | memory.at(places[chunk].offset + i);
        }
        return value;
    };
    EXPECT_EQ(places[0].id, 0xA001u);
    EXPECT_EQ(number(0), 1u);
    EXPECT_EQ(number(1), plan.startNs);
    const std::uint64_t bits = number(2);
    double exposure = 0;
    std::memcpy(&exposure, &bits, sizeof exposure);
    EXPECT_EQ(exposure, 1500.5);
    EXPECT_EQ(number(4), 9u);
}

/// What readers of the transport standards do: walk back from the end, where everything is a chunk.
TEST(Chunks, TrailersOfTheWireLeadBackToTheImage)
{
    for (const WireFormat wire : {WireFormat::GigEVision, WireFormat::Usb3Vision}) {
        const bool isBig = wire == WireFormat::GigEVision;
        CameraConfig config = smallCamera();
        config.sensorWidth = 9;
        config.sensorHeight = 5;
        config.wire = wire;
        TestCamera camera(config);
        ASSERT_EQ(camera.set("ChunkModeActive", 1), 0);
        ASSERT_EQ(camera.set("ChunkEnable", 0, 3), 0);
        ASSERT_EQ(camera.run("AcquisitionStart"), 0);
        FrameLayout layout;
        const auto memory = camera.frame(&layout);
        ASSERT_EQ(memory.size(), layout.size);
        EXPECT_EQ(layout.chunkBytes, layout.size);
        const auto word = [&](std::size_t at) {
            std::uint32_t value = 0;
            for (std::size_t i = 0; i < 4; ++i) {
                value |= std::uint32_t{memory.at(at + i)} << 8 * (isBig ? 3 - i : i);
            }
            return value;
        };
        ChunkPlace places[9];
        std::size_t left = camera.model.chunks(layout, places, 9);
        ASSERT_EQ(left, 8u);
        std::size_t end = memory.size();
        while (left-- > 0) {
            const std::size_t length = word(end - 4);
            ASSERT_LE(length + 8, end);
            EXPECT_EQ(word(end - 8), places[left].id);
            EXPECT_EQ(end - 8 - length, places[left].offset);
            EXPECT_EQ(length, places[left].size);
            end -= 8 + length;
        }
        EXPECT_EQ(word(end - 8), kImageChunkId);
        EXPECT_EQ(word(end - 4) + 8, end) << "the image is the first chunk";
        EXPECT_EQ(memory.at(places[0].offset + 7), 0) << "frame 0";
        EXPECT_EQ(memory.at(places[3].offset + 7), 9) << "width: gain is switched off";
    }
}

TEST(Events, LieAsTheirWireSays)
{
    for (const WireFormat wire : {WireFormat::GigEVision, WireFormat::Usb3Vision}) {
        CameraConfig config = smallCamera();
        config.wire = wire;
        TestCamera camera(config);
        enableAllEvents(camera);
        ASSERT_EQ(camera.run("TestEventGenerate"), 0);
        const auto data = camera.listener.takeEvents().at(0).data;
        // The place of the time is told by the description, as its byte order is.
        const auto time = camera.find("EventTestTimestampReg");
        const auto frame = camera.find("EventTestFrameIDReg");
        ASSERT_EQ(frame.address + frame.length, data.size());
        const bool isBig = wire == WireFormat::GigEVision;
        EXPECT_EQ(time.address, isBig ? 8u : 4u);
        EXPECT_EQ(data[isBig ? 2 : 3], 0x90);
        EXPECT_EQ(data[isBig ? 3 : 2], 0x08);
        std::uint64_t stamp = 0;
        for (std::size_t i = 0; i < 8; ++i) {
            stamp = stamp << 8 | data.at(time.address + (isBig ? i : 7 - i));
        }
        EXPECT_LE(stamp, camera.model.now());
        EXPECT_GT(stamp + 1000000000, camera.model.now());
    }
}

TEST(Faults, FramesAndUnplugging)
{
    TestCamera camera;
    ASSERT_EQ(camera.set("SimulatorDropFrames", 1), 0);
    ASSERT_EQ(camera.run("AcquisitionStart"), 0);
    FramePlan plan = camera.model.nextFrame();
    EXPECT_TRUE(plan.lost);
    camera.model.frameDone(plan);
    ASSERT_EQ(camera.set("SimulatorIncompleteLines", 10), 0);
    ASSERT_EQ(camera.set("SimulatorIncompleteFrames", 1), 0);
    ASSERT_EQ(camera.set("SimulatorDelayTime", 70), 0);
    ASSERT_EQ(camera.set("SimulatorDelayFrames", 1), 0);
    plan = camera.model.nextFrame();
    EXPECT_EQ(plan.frameId, 1u) << "lost frames count";
    EXPECT_FALSE(plan.lost);
    EXPECT_TRUE(plan.incomplete);
    EXPECT_EQ(plan.lines, 10u);
    EXPECT_EQ(plan.readyNs - plan.startNs, 81000000u);
    plan = camera.model.nextFrame();
    EXPECT_FALSE(plan.incomplete);
    EXPECT_EQ(plan.readyNs - plan.startNs, 11000000u);

    camera.listener.takeNotes();
    ASSERT_EQ(camera.set("SimulatorUnplugReturnTime", -1), 0);
    ASSERT_EQ(camera.run("SimulatorUnplug"), 0);
    EXPECT_EQ(camera.listener.takeNotes(), (std::vector<std::string>{"stopped", "unplugged -1"}));
    EXPECT_FALSE(camera.model.nextFrame().expose);
}

/// Frames, settings and the end of the observer at the same time; meant for the thread sanitizer.
TEST(Threads, MayCallAnything)
{
    TestCamera camera;
    makeFast(camera);
    const auto gain = camera.find("GainReg");
    const auto start = camera.find("AcquisitionStartReg");
    std::thread settings([&] {
        const std::uint8_t bytes[8] = {0x40, 0x18}; // 6.0
        for (int i = 0; i < 300; ++i) {
            camera.model.write(gain.address, bytes, 8);
            camera.model.write(start.address, "\0\0\0\1", 4);
            camera.model.userDefinedName();
        }
    });
    std::thread observer([&] {
        for (int i = 0; i < 300; ++i) {
            camera.model.setObserver(nullptr);
            camera.listener.takeNotes(); // Nobody calls any more.
            camera.model.setObserver(&camera.listener);
        }
        camera.model.setObserver(nullptr);
    });
    std::size_t frames = 0;
    while (frames < 50) {
        frames += camera.frame().empty() ? 0 : 1;
    }
    settings.join();
    observer.join();
    EXPECT_EQ(camera.getReal("Gain"), 6.0);
}

} // namespace simulator::test
