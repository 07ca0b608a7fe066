// Waits for frames over a transport in memory, and calls from many threads at once.
#include "stream_fixture.h"

#include <pthread.h>

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <functional>
#include <future>
#include <random>
#include <thread>
#include <vector>

namespace core_test
{
namespace
{

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

using StreamWaitTest = StreamTest;

TEST_F(StreamWaitTest, AWaitEndsWithEveryReasonToEndIt)
{
    struct Case {
        const char* name;
        std::function<void()> end;
        ZelCamErr code;
    };
    const Case cases[] = {
        {"cancel", [&] { stream->CancelBuffer(); }, ZelErr::kGenTLAbort},
        {"stop", [&] { stream->StopAcquisition(0); }, ZelErr::kGenTLAbort},
        {"broken", [&] { far.breakStream(ZelErr::kGenTLIo); }, ZelErr::kGenTLIo},
        {"stream release", [&] { stream->Release(); }, ZelErr::kGenTLAbort},
        {"lost", [&] { far.lose(ZelErr::kNoDevice); }, ZelErr::kGenTLIo},
        {"device release", [&] { device->Release(); }, ZelErr::kGenTLAbort},
    };
    for (const Case& c : cases) {
        device->Release();
        SetUp();
        startWith(2);
        std::array<std::future<ZelCamErr>, 3> waits;
        for (auto& wait : waits) {
            wait = std::async(std::launch::async, [&] { return fetchCode(~0ULL); });
        }
        letWait();
        c.end();
        for (auto& wait : waits) {
            ASSERT_EQ(wait.wait_for(5s), std::future_status::ready) << c.name;
            EXPECT_EQ(wait.get(), c.code) << c.name;
        }
    }
}

TEST_F(StreamWaitTest, ACancelWithNobodyWaitingIsNotRemembered)
{
    startWith(2);
    EXPECT_EQ(stream->CancelBuffer(), ZelErr::kOk);
    EXPECT_EQ(fetchCode(20), ZelErr::kGenTLTimeout);
    EXPECT_EQ(stream->CancelBuffer(), ZelErr::kOk);
    far.deliver();
    EXPECT_EQ(fetchCode(0), ZelErr::kOk);
}

TEST_F(StreamWaitTest, TimeoutsAreNeverEarlyAndReadyFramesNeedNoTime)
{
    startWith(2);
    EXPECT_EQ(fetchCode(0), ZelErr::kGenTLTimeout);
    for (const int ms : {1, 7, 40}) {
        const auto begin = Clock::now();
        EXPECT_EQ(fetchCode(static_cast<std::uint64_t>(ms)), ZelErr::kGenTLTimeout);
        EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(ms));
    }
    far.deliver();
    EXPECT_EQ(fetchCode(0), ZelErr::kOk);
    // A frame that is ready is delivered whatever has happened since.
    far.deliver();
    far.lose(ZelErr::kNoDevice);
    EXPECT_EQ(fetchCode(0), ZelErr::kOk);
    EXPECT_EQ(fetchCode(0), ZelErr::kGenTLIo);
}

TEST_F(StreamWaitTest, AWaitGetsTheFrameThatComesAndMayBeginBeforeTheStart)
{
    auto wait = std::async(std::launch::async, [&] { return fetchCode(~0ULL); });
    letWait();
    startWith(1);
    far.deliver();
    ASSERT_EQ(wait.wait_for(5s), std::future_status::ready);
    EXPECT_EQ(wait.get(), ZelErr::kOk);
}

TEST_F(StreamWaitTest, AHandledSignalEndsTheWaitOfItsThread)
{
    struct sigaction action = {};
    struct sigaction before = {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, &before);
    for (const std::uint64_t timeout : {ZelCam::kInfinite, std::uint64_t{60'000}}) {
        std::atomic<pthread_t> id{};
        std::promise<void> running;
        auto wait = std::async(std::launch::async, [&] {
            id = pthread_self();
            running.set_value();
            return fetchCode(timeout);
        });
        running.get_future().wait();
        letWait();
        pthread_kill(id, SIGUSR1);
        ASSERT_EQ(wait.wait_for(5s), std::future_status::ready);
        EXPECT_EQ(wait.get(), ZelErr::kGenTLAbort);
    }
    sigaction(SIGUSR1, &before, nullptr);
}

TEST_F(StreamWaitTest, RandomCallsFromManyThreads)
{
    std::atomic<bool> stop{false};
    std::thread source([&] {
        for (std::uint64_t id = 0; !stop; ++id) {
            core::FrameInfo info = frame(id);
            info.deliveredSize = 16;
            info.chunks = {{FakeCamera::kChunkId, 32, 2}};
            far.deliver(std::move(info));
            far.postEvent(id % 4, "x");
        }
    });
    const auto storm = [&](unsigned seed) {
        std::mt19937 random(seed);
        ZelCam::Buffer* buffer = nullptr;
        for (int i = 0; i < 1500; ++i) {
            switch (random() % 16) {
            case 0:
                stream->AllocBufferQueue(nullptr, 1 + random() % 4);
                break;
            case 1:
                stream->ReleaseBufferQueue();
                break;
            case 2:
                stream->StartAcquisition(ZelCam::kInfinite, 0);
                break;
            case 3:
                stream->StopAcquisition(static_cast<std::int64_t>(random() % 2));
                break;
            case 4:
                stream->FlushBuffers(static_cast<std::int64_t>(random() % 6));
                break;
            case 5:
                buffer = stream->CreateBuffer(static_cast<std::int64_t>(64 + random() % 128),
                                              nullptr, nullptr);
                break;
            case 6:
                stream->RevokeBuffer(buffer);
                break;
            case 7:
                stream->CancelBuffer();
                break;
            case 8:
                stream->Release();
                break;
            case 9:
                if (random() % 8 == 0) {
                    device->Release();
                }
                break;
            case 10:
                world.system().openDevice(nullptr, 2, nullptr);
                break;
            case 11:
                device->GetStreamByIndex(0);
                break;
            case 12:
                if (auto* const parameters = device->GetTransportParameters(nullptr)) {
                    parameters->SetEnumValue("StreamBufferHandlingMode",
                                             static_cast<std::int64_t>(random() % 3));
                    parameters->GetIntegerValue("StreamLostFrameCount", nullptr);
                }
                break;
            case 13:
                if (auto* const parameters = device->GetCameraParameters(nullptr)) {
                    parameters->GetIntegerValue("ChunkTestValue", nullptr);
                }
                break;
            default:
                buffer = stream->GetBuffer(random() % 2, nullptr);
                if (buffer != nullptr) {
                    buffer->GetFrameID();
                    buffer->GetBufferSize();
                    stream->QueueBuffer(buffer);
                }
            }
        }
    };
    std::vector<std::thread> threads;
    for (unsigned seed = 1; seed <= 4; ++seed) {
        threads.emplace_back(storm, seed);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    stop = true;
    source.join();
    device->Release();
    EXPECT_EQ(far.opened, 0);
    SetUp();
    startWith(2);
    far.deliver();
    EXPECT_EQ(fetchCode(0), ZelErr::kOk) << "everything still works";
}

} // namespace
} // namespace core_test
