// Devices of the SDK over a transport in memory: owners, memory, events, disappearance.
#include "fake_transport.h"
#include "zel_gen_param_api.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <future>
#include <stdexcept>

namespace core_test
{
namespace
{

using namespace std::chrono_literals;

class DeviceTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        device = world.open();
        ASSERT_NE(device, nullptr);
    }
    void TearDown() override { device->Release(); }

    FakeWorld& world = FakeWorld::create();
    FakeInterface& interface = world.add("if0");
    FakeDevice& far = interface.plug("cam0");
    ZelCam::Device* device = nullptr;
};

/// Collects what a callback gets.
struct Inbox {
    std::mutex mutex;
    std::condition_variable arrived;
    std::vector<std::string> messages;

    static void receive(const void* data, std::uint64_t size, void* context)
    {
        auto& self = *static_cast<Inbox*>(context);
        const std::lock_guard<std::mutex> lock(self.mutex);
        self.messages.emplace_back(static_cast<const char*>(data), size);
        self.arrived.notify_all();
    }
    bool waitFor(std::size_t count)
    {
        std::unique_lock<std::mutex> lock(mutex);
        return arrived.wait_for(lock, 20s, [&] { return messages.size() >= count; });
    }
};

TEST_F(DeviceTest, OneOwnerAndTheSameObjectsAtEveryOpening)
{
    ZelCamErr code = ZelErr::kOk;
    EXPECT_EQ(world.system().openDevice(device->GetInfo(), 2, &code), nullptr);
    EXPECT_EQ(code, ZelErr::kGenTLResourceInUse);
    EXPECT_EQ(device->GetInfo()->GetAccessStatus(), 5);
    ZelCam::Stream* const stream = device->GetStreamByIndex(0);
    ZelGenParam::Array* const camera = device->GetCameraParameters(&code);
    ZelGenParam::Int* const width = camera->GetInt("Width", &code);
    for (int i = 0; i < 20; ++i) {
        device->Release();
        EXPECT_EQ(device->GetInfo()->GetAccessStatus(), 1);
        EXPECT_EQ(width->GetValue(&code), 0);
        EXPECT_EQ(code, ZelErr::kGenTLInvalidHandle);
        EXPECT_EQ(device->GetNumStreams(), 0U);
        EXPECT_EQ(device->GetStreamByIndex(0), nullptr);
        EXPECT_EQ(device->GetCameraParameters(&code), nullptr);
        EXPECT_EQ(code, ZelErr::kGenTLInvalidHandle);
        ASSERT_EQ(world.open(), device);
        EXPECT_EQ(device->GetStreamByIndex(0), stream);
        EXPECT_EQ(device->GetCameraParameters(&code)->GetInt("Width", &code), width);
        EXPECT_EQ(width->GetValue(&code), 16);
    }
    far.openCode = ZelErr::kGenTLAccessDenied;
    device->Release();
    EXPECT_EQ(world.system().openDevice(device->GetInfo(), 2, &code), nullptr);
    EXPECT_EQ(code, ZelErr::kGenTLAccessDenied) << "another process has it";
}

TEST_F(DeviceTest, AnOpenThatFailsHalfWayLeavesTheDeviceClosed)
{
    device->Release();
    far.eventsThrow = true;
    ZelCamErr code = ZelErr::kOk;
    EXPECT_EQ(world.system().openDevice(device->GetInfo(), 2, &code), nullptr);
    EXPECT_EQ(code, ZelErr::kGenTLResourceExhausted);
    EXPECT_EQ(far.opened, 0);
    far.eventsThrow = false;
    EXPECT_EQ(world.open(), device);
}

TEST_F(DeviceTest, StreamsByIndexAndId)
{
    far.streams = 2;
    EXPECT_EQ(device->GetNumStreams(), 2U);
    ZelCam::Stream* const second = device->GetStreamById("S1");
    EXPECT_NE(second, nullptr);
    EXPECT_EQ(device->GetStreamByIndex(1), second);
    EXPECT_NE(device->GetStreamByIndex(0), second);
    EXPECT_EQ(device->GetStreamByIndex(2), nullptr);
    EXPECT_EQ(device->GetStreamByIndex(~0U), nullptr);
    EXPECT_EQ(device->GetStreamById("S2"), nullptr);
    EXPECT_EQ(device->GetStreamById(nullptr), nullptr);
}

TEST_F(DeviceTest, MemoryIsReadAndWrittenInItsLimits)
{
    std::uint64_t value = 0;
    EXPECT_EQ(device->ReadMem(0, &value, 8), ZelErr::kOk);
    EXPECT_EQ(value, 16U);
    std::int64_t written = -1;
    value = 77;
    EXPECT_EQ(device->WriteMem(std::int64_t{FakeCamera::kOffsetX} * 8, &value, 8, &written),
              ZelErr::kOk);
    EXPECT_EQ(written, 8);
    EXPECT_EQ(far.camera.value(FakeCamera::kOffsetX), 77U);
    EXPECT_EQ(device->ReadMem(1 << 20, &value, 8), ZelErr::kGenTLInvalidAddress);
    EXPECT_EQ(device->WriteMem(1 << 20, &value, 8, &written), ZelErr::kGenTLInvalidAddress);
    EXPECT_EQ(written, 0);
    EXPECT_EQ(device->ReadMem(-8, &value, 8), ZelErr::kInvalidArgument);
    EXPECT_EQ(device->ReadMem(0, &value, -1), ZelErr::kInvalidArgument);
    EXPECT_EQ(device->WriteMem(0, nullptr, 8, nullptr), ZelErr::kInvalidArgument);
    device->Release();
    EXPECT_EQ(device->ReadMem(0, &value, 8), ZelErr::kGenTLInvalidHandle);
}

TEST_F(DeviceTest, EventsComeInOrderAndNoneIsLost)
{
    constexpr std::size_t kEvents = 100'000;
    Inbox inbox;
    for (int twice = 0; twice < 2; ++twice) {
        EXPECT_EQ(device->RegisterEvent(0x9001, &Inbox::receive, &inbox), ZelErr::kOk);
    }
    for (std::size_t i = 0; i < kEvents; ++i) {
        far.postEvent(0x9001, std::to_string(i));
        far.postEvent(0x9002, "not registered");
    }
    ASSERT_TRUE(inbox.waitFor(kEvents));
    EXPECT_EQ(device->UnRegisterEvent(0x9001, &Inbox::receive, &inbox), ZelErr::kOk);
    EXPECT_EQ(device->UnRegisterEvent(0x9001, &Inbox::receive, &inbox), ZelErr::kGenTLInvalidId);
    ASSERT_EQ(inbox.messages.size(), kEvents);
    for (std::size_t i = 0; i < kEvents; i += 997) {
        EXPECT_EQ(inbox.messages[i], std::to_string(i));
    }
}

TEST_F(DeviceTest, EventDataIsReadableInTheCallbackAndAThrowHarmsNobody)
{
    struct Context {
        ZelCam::Device* device;
        std::promise<std::int64_t> value;
    } context{device, {}};
    const auto read = [](const void* /*data*/, std::uint64_t /*size*/, void* pointer) {
        auto& self = *static_cast<Context*>(pointer);
        self.value.set_value(
            self.device->GetCameraParameters(nullptr)->GetIntegerValue("EventTestValue", nullptr));
    };
    const auto thrower = [](const void*, std::uint64_t, void*) {
        throw std::runtime_error("of a callback");
    };
    ASSERT_EQ(device->RegisterEvent(0x9001, thrower, nullptr), ZelErr::kOk);
    ASSERT_EQ(device->RegisterEvent(0x9001, read, &context), ZelErr::kOk);
    EXPECT_EQ(device->RegisterEvent(0x9001, nullptr, nullptr), ZelErr::kInvalidArgument);
    far.postEvent(0x9001, "*");
    auto value = context.value.get_future();
    ASSERT_EQ(value.wait_for(20s), std::future_status::ready);
    EXPECT_EQ(value.get(), '*');
}

TEST_F(DeviceTest, UnregisteringNeverDeadlocksWithACallback)
{
    // The caller holds a lock that the callback waits for, as an interpreter does.
    struct Context {
        std::mutex interpreter;
        std::atomic<bool> inside{false};
        std::atomic<bool> left{false};
    } context;
    const auto callback = [](const void*, std::uint64_t, void* pointer) {
        auto& self = *static_cast<Context*>(pointer);
        self.inside = true;
        const std::lock_guard<std::mutex> lock(self.interpreter);
        self.left = true;
    };
    for (const bool byRelease : {false, true}) {
        context.inside = context.left = false;
        ASSERT_EQ(device->RegisterEvent(7, callback, &context), ZelErr::kOk);
        {
            const std::lock_guard<std::mutex> lock(context.interpreter);
            far.postEvent(7, "");
            while (!context.inside) {
                std::this_thread::yield();
            }
            if (byRelease) {
                device->Release();
            } else {
                EXPECT_EQ(device->UnRegisterEvent(7, callback, &context), ZelErr::kOk);
            }
            EXPECT_FALSE(context.left);
        }
        while (!context.left) {
            std::this_thread::yield();
        }
    }

    // Without such a lock the callback has ended when unregistering returns.
    ASSERT_EQ(world.open(), device);
    std::atomic<int> state{0};
    const auto slow = [](const void*, std::uint64_t, void* pointer) {
        auto& value = *static_cast<std::atomic<int>*>(pointer);
        value = 1;
        std::this_thread::sleep_for(5ms);
        value = 2;
    };
    ASSERT_EQ(device->RegisterEvent(7, slow, &state), ZelErr::kOk);
    far.postEvent(7, "");
    while (state == 0) {
        std::this_thread::yield();
    }
    EXPECT_EQ(device->UnRegisterEvent(7, slow, &state), ZelErr::kOk);
    EXPECT_EQ(state, 2);
}

TEST_F(DeviceTest, ACallbackMayUnregisterItselfAndCloseTheDevice)
{
    struct Context {
        ZelCam::Device* device;
        ZelCam::EventCallback callback;
        std::atomic<int> calls{0};
        std::promise<void> closed;
    } context{device, nullptr, {}, {}};
    context.callback = [](const void*, std::uint64_t, void* pointer) {
        auto& self = *static_cast<Context*>(pointer);
        ++self.calls;
        EXPECT_EQ(self.device->UnRegisterEvent(1, self.callback, pointer), ZelErr::kOk);
        self.device->Release();
        self.closed.set_value();
    };
    device->RegisterEvent(1, context.callback, &context);
    device->RegisterEvent(2, context.callback, &context);
    far.postEvent(1, "");
    far.postEvent(2, "");
    ASSERT_EQ(context.closed.get_future().wait_for(20s), std::future_status::ready);
    ASSERT_EQ(world.open(), device);
    far.postEvent(2, "");
    letWait();
    EXPECT_EQ(context.calls, 1) << "registrations end with the device";
}

TEST_F(DeviceTest, ALostDeviceSaysSoOnceAndAnswersWithOneCodeWhateverTheReason)
{
    Inbox inbox;
    device->RegisterEvent(ZelCam::kEventDeviceLost, &Inbox::receive, &inbox);
    ZelCamErr code = ZelErr::kOk;
    ZelGenParam::Int* const width = device->GetCameraParameters(&code)->GetInt("Width", &code);
    ZelCam::Stream* const stream = device->GetStreamByIndex(0);
    ASSERT_EQ(stream->AllocBufferQueue(nullptr, 2), ZelErr::kOk);
    ASSERT_EQ(stream->StartAcquisition(ZelCam::kInfinite, 0), ZelErr::kOk);
    far.lose(ZelErr::kNoDevice);
    far.lose(ZelErr::kGenTLIo);
    ASSERT_TRUE(inbox.waitFor(1));
    std::memcpy(&code, inbox.messages.front().data(), sizeof code);
    EXPECT_EQ(code, ZelErr::kGenTLIo);
    while (width->GetValue(&code) != 0 || code == ZelErr::kOk) { // The news travels.
    }
    EXPECT_EQ(code, ZelErr::kGenTLIo);
    ZelGenParam::Array* const none = nullptr;
    EXPECT_EQ(device->GetCameraParameters(&code), none);
    EXPECT_EQ(code, ZelErr::kGenTLIo);
    EXPECT_EQ(device->GetTransportParameters(&code), none);
    EXPECT_EQ(code, ZelErr::kGenTLIo);
    EXPECT_EQ(device->GetStreamByIndex(0), nullptr);
    EXPECT_EQ(stream->CreateBuffer(128, nullptr, &code), nullptr);
    EXPECT_EQ(code, ZelErr::kGenTLIo);
    EXPECT_EQ(stream->GetBuffer(1000, &code), nullptr);
    EXPECT_EQ(code, ZelErr::kGenTLIo);
    for (const ZelCamErr answer :
         {device->ReadMem(0, &code, 4), device->WriteMem(0, &code, 4, nullptr),
          device->SaveConfiguration("x"), device->LoadConfiguration("x"),
          device->RegisterEvent(1, &Inbox::receive, &inbox), stream->QueueBuffer(nullptr),
          stream->RevokeBuffer(nullptr), stream->CancelBuffer(),
          stream->FlushBuffers(ZelCam::kFlushAllDiscard), stream->StopAcquisition(0),
          stream->StartAcquisition(1, 0), stream->AllocBufferQueue(nullptr, 1),
          stream->ReleaseBufferQueue()}) {
        EXPECT_EQ(answer, ZelErr::kGenTLIo);
    }
    EXPECT_EQ(far.started, 0) << "the host side was stopped all the same";
    device->Release();
    letWait();
    EXPECT_EQ(inbox.messages.size(), 1U);
    ASSERT_EQ(world.open(), device) << "it was plugged in again";
    EXPECT_EQ(width->GetValue(&code), 16);
}

TEST_F(DeviceTest, AForkedChildIsKeptAwayFromTheCamera)
{
    ZelCam::Stream* const stream = device->GetStreamByIndex(0);
    ASSERT_EQ(stream->AllocBufferQueue(nullptr, 2), ZelErr::kOk);
    ASSERT_EQ(stream->StartAcquisition(ZelCam::kInfinite, 0), ZelErr::kOk);
    core::FrameInfo frame;
    frame.frameId = 8;
    far.deliver(frame);
    ZelCam::Buffer* const buffer = stream->GetBuffer(0, nullptr);
    ASSERT_NE(buffer, nullptr);
    const pid_t child = fork();
    if (child == 0) {
        ZelCamErr code = ZelErr::kOk;
        const bool kept = stream->StopAcquisition(0) == ZelErr::kInvalidState &&
                          stream->QueueBuffer(buffer) == ZelErr::kInvalidState &&
                          buffer->GetFrameID() == 0 && buffer->GetBufferPtr() == nullptr &&
                          buffer->IsIncomplete() && stream->GetBuffer(1000, &code) == nullptr &&
                          code == ZelErr::kInvalidState &&
                          device->GetCameraParameters(&code) == nullptr &&
                          world.system().GetInterfaceList(255) == nullptr;
        device->Release();
        _exit(kept ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_EQ(far.started, 1);
    EXPECT_EQ(stream->StopAcquisition(0), ZelErr::kOk);
}

} // namespace
} // namespace core_test
