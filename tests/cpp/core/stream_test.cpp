// Streams of the SDK over a transport in memory: frames, buffers, starting, counters, stale
// handles.
#include "stream_fixture.h"
#include "zel_image/image.h"

#include <cstdint>
#include <thread>
#include <utility>
#include <vector>

namespace core_test
{
namespace
{

TEST_F(StreamTest, FramesComeInOrderWithWhatTheTransportTold)
{
    startWith(3);
    core::FrameInfo told;
    told.frameId = 41;
    told.timestamp = 0xFFFFFFFFFFFFFFF0;
    told.width = 10;
    told.height = 4;
    told.xOffset = 3;
    told.yPadding = 2;
    told.imageOffset = 8;
    told.deliveredSize = 40;
    told.pixelFormat = 0x01080001;
    told.incomplete = true;
    ASSERT_TRUE(far.deliver(told));
    ASSERT_TRUE(far.deliver(frame(42)));

    ZelCamErr code = ZelErr::kUnknown;
    ZelCam::Buffer* const first = stream->GetBuffer(0, &code);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->GetFrameID(), 41U);
    EXPECT_EQ(first->GetTimestamp(), 0xFFFFFFFFFFFFFFF0U);
    EXPECT_EQ(first->GetWidth(), 10U);
    EXPECT_EQ(first->GetHeight(), 4U);
    EXPECT_EQ(first->GetXOffset(), 3);
    EXPECT_EQ(first->GetYPadding(), 2);
    EXPECT_EQ(first->GetImageOffset(), 8);
    EXPECT_EQ(first->GetBufferSize(), 40U);
    EXPECT_TRUE(first->IsIncomplete());
    const ZelImage* const image = first->GetImage();
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->pixelType, ZelPixel::kMono8);
    EXPECT_EQ(image->data, static_cast<char*>(first->GetBufferPtr()) + 8);
    EXPECT_EQ(image->stride, 10U);
    EXPECT_EQ(image->dataSize, 40U);

    // What the transport does not tell is what the camera said at the start.
    ZelCam::Buffer* const second = stream->GetBuffer(0, &code);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(second->GetWidth(), 16U);
    EXPECT_EQ(second->GetHeight(), 8U);
    EXPECT_EQ(second->GetPixelFormat(), 0x01080001U);
    EXPECT_EQ(static_cast<unsigned char*>(second->GetBufferPtr())[127], 42U);

    EXPECT_EQ(counter("StreamDeliveredFrameCount"), 2);
    EXPECT_EQ(counter("StreamIncompleteFrameCount"), 1);
    EXPECT_EQ(counter("StreamLostFrameCount"), 5);
    EXPECT_EQ(counter("StreamUnderrunFrameCount"), 7);
    EXPECT_EQ(counter("StreamAnnouncedBufferCount"), 3);
    EXPECT_EQ(counter("StreamInputBufferCount"), 1);
    EXPECT_EQ(counter("StreamOutputBufferCount"), 0);
}

TEST_F(StreamTest, HandlingModesDecideWhichFramesWait)
{
    struct Case {
        const char* mode;
        std::size_t taken; ///< Of six frames that the camera has for three buffers.
        std::vector<std::uint64_t> fetched;
    };
    for (const Case& c : {Case{"OldestFirst", 3, {1, 2, 3}},
                          Case{"OldestFirstOverwrite", 6, {5, 6}}, Case{"NewestOnly", 6, {6}}}) {
        device->Release();
        ASSERT_EQ(world.open(), device);
        ZelGenParam::Array* const parameters = device->GetTransportParameters(nullptr);
        EXPECT_STREQ(parameters->GetEnumValueStr("StreamBufferHandlingMode", nullptr),
                     "OldestFirst");
        ASSERT_EQ(parameters->SetEnumValueStr("StreamBufferHandlingMode", c.mode), ZelErr::kOk)
            << "before there is a stream";
        stream = device->GetStreamByIndex(0);
        EXPECT_STREQ(device->GetTransportParameters(nullptr)->GetEnumValueStr(
                         "StreamBufferHandlingMode", nullptr),
                     c.mode);
        startWith(3);
        std::size_t taken = 0;
        for (std::uint64_t id = 1; id <= 6; ++id) {
            taken += far.deliver(frame(id)) ? 1 : 0;
        }
        EXPECT_EQ(taken, c.taken) << c.mode;
        EXPECT_EQ(counter("StreamSkippedFrameCount"),
                  static_cast<std::int64_t>(taken - c.fetched.size()))
            << c.mode;
        std::vector<ZelCam::Buffer*> held;
        for (const std::uint64_t id : c.fetched) {
            held.push_back(stream->GetBuffer(0, nullptr));
            ASSERT_NE(held.back(), nullptr) << c.mode;
            EXPECT_EQ(held.back()->GetFrameID(), id) << c.mode;
        }
        EXPECT_EQ(fetchCode(0), ZelErr::kGenTLTimeout) << c.mode;
        for (ZelCam::Buffer* const buffer : held) {
            EXPECT_EQ(stream->QueueBuffer(buffer), ZelErr::kOk);
        }
        EXPECT_EQ(far.queued(), 3U) << c.mode;
    }
}

TEST_F(StreamTest, AModeThatComesLateHoldsForWhatWaitsAlready)
{
    startWith(4);
    for (std::uint64_t id = 1; id <= 4; ++id) {
        far.deliver(frame(id));
    }
    ASSERT_EQ(device->GetTransportParameters(nullptr)->SetEnumValueStr("StreamBufferHandlingMode",
                                                                       "NewestOnly"),
              ZelErr::kOk);
    ZelCam::Buffer* const buffer = stream->GetBuffer(0, nullptr);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(buffer->GetFrameID(), 4U);
    EXPECT_EQ(stream->QueueBuffer(buffer), ZelErr::kOk);
    EXPECT_EQ(far.queued(), 4U) << "those that were passed over, too";
}

TEST_F(StreamTest, CountersNeverGoBackBeforeTheNextStart)
{
    startWith(2);
    far.deliver(frame(1));
    EXPECT_EQ(counter("StreamLostFrameCount"), 5);
    far.lost = 0; // What was missing turned out to have come.
    EXPECT_EQ(counter("StreamLostFrameCount"), 5);
    far.lost = 6;
    EXPECT_EQ(stream->StopAcquisition(0), ZelErr::kOk);
    stream->Release();
    for (const char* when : {"released", "opened again"}) {
        EXPECT_EQ(counter("StreamLostFrameCount"), 6) << when;
        EXPECT_EQ(counter("StreamUnderrunFrameCount"), 7) << when;
        EXPECT_EQ(counter("StreamDeliveredFrameCount"), 1) << when;
        stream = device->GetStreamByIndex(0);
    }
    far.lost = 0;
    startWith(2);
    EXPECT_EQ(counter("StreamLostFrameCount"), 0);
    EXPECT_EQ(counter("StreamDeliveredFrameCount"), 0);
}

TEST_F(StreamTest, ChunksAreThoseOfTheFrameFetchedLastOrNotAvailable)
{
    startWith(3);
    const auto value = [&](ZelCamErr* code) {
        return device->GetCameraParameters(nullptr)->GetIntegerValue("ChunkTestValue", code);
    };
    core::FrameInfo with = frame(0x2A);
    with.deliveredSize = 100;
    with.chunks = {{FakeCamera::kChunkId, 100, 2}};
    far.deliver(with);
    far.deliver(frame(0x2B));
    ZelCamErr code = ZelErr::kOk;
    static_cast<void>(value(&code));
    EXPECT_EQ(code, ZelErr::kGenTLNotAvailable) << "not fetched yet";
    ASSERT_EQ(fetchCode(0), ZelErr::kOk);
    EXPECT_EQ(value(&code), 0x2A2A);
    EXPECT_EQ(code, ZelErr::kOk);
    ASSERT_EQ(fetchCode(0), ZelErr::kOk);
    static_cast<void>(value(&code));
    EXPECT_EQ(code, ZelErr::kGenTLNotAvailable) << "the next frame came without chunks";
}

TEST_F(StreamTest, StoppingReturnsWhateverTheTransportDoes)
{
    startWith(2);
    far.hangsInStop = true;
    EXPECT_EQ(stream->StopAcquisition(0), ZelErr::kOk);
    EXPECT_EQ(far.started, 1) << "it is still at it";
    EXPECT_EQ(counter("StreamInputBufferCount"), 2) << "parameters do not wait for it";
    EXPECT_EQ(device->GetStreamByIndex(0), stream);
    std::thread later([&] { far.hangsInStop = false; });
    EXPECT_EQ(stream->StartAcquisition(ZelCam::kInfinite, 0), ZelErr::kOk)
        << "the next operation waits for the stop";
    later.join();
    EXPECT_EQ(far.started, 1);
}

TEST_F(StreamTest, EveryBufferOperationInEveryState)
{
    ZelCamErr code = ZelErr::kUnknown;
    ZelCam::Buffer* const buffer = stream->CreateBuffer(128, nullptr, &code);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(buffer->GetBufferPtr()) % 256, 0U);
    EXPECT_TRUE(buffer->IsIncomplete());
    EXPECT_EQ(buffer->GetWidth(), 0U);
    EXPECT_EQ(buffer->GetImage(), nullptr);

    ASSERT_EQ(stream->QueueBuffer(buffer), ZelErr::kOk); // queued
    EXPECT_EQ(stream->QueueBuffer(buffer), ZelErr::kGenTLResourceInUse);
    EXPECT_EQ(stream->RevokeBuffer(buffer), ZelErr::kGenTLBusy);
    far.deliver(frame(1)); // ready
    EXPECT_EQ(stream->QueueBuffer(buffer), ZelErr::kGenTLResourceInUse);
    EXPECT_EQ(stream->RevokeBuffer(buffer), ZelErr::kGenTLBusy);
    EXPECT_EQ(buffer->GetFrameID(), 0U) << "not fetched yet";
    ASSERT_EQ(stream->GetBuffer(0, &code), buffer); // with the user
    EXPECT_EQ(buffer->GetFrameID(), 1U);
    EXPECT_EQ(stream->RevokeBuffer(buffer), ZelErr::kOk); // gone
    EXPECT_EQ(stream->RevokeBuffer(buffer), ZelErr::kGenTLInvalidBuffer);
    EXPECT_EQ(stream->QueueBuffer(buffer), ZelErr::kGenTLInvalidBuffer);
    EXPECT_EQ(buffer->GetBufferPtr(), nullptr);
    EXPECT_EQ(buffer->GetBufferSize(), 0U);
    EXPECT_TRUE(buffer->IsIncomplete());

    EXPECT_EQ(stream->QueueBuffer(nullptr), ZelErr::kGenTLInvalidParameter);
    EXPECT_EQ(stream->RevokeBuffer(nullptr), ZelErr::kGenTLInvalidParameter);
    auto* const stranger = reinterpret_cast<ZelCam::Buffer*>(&code);
    EXPECT_EQ(stream->QueueBuffer(stranger), ZelErr::kGenTLInvalidBuffer);
    for (const std::int64_t size : {std::int64_t{0}, std::int64_t{-1}, INT64_MIN}) {
        EXPECT_EQ(stream->CreateBuffer(size, nullptr, &code), nullptr);
        EXPECT_EQ(code, ZelErr::kGenTLInvalidParameter);
    }
    EXPECT_EQ(stream->CreateBuffer(INT64_MAX, nullptr, &code), nullptr);
    EXPECT_EQ(code, ZelErr::kGenTLOutOfMemory);
}

TEST_F(StreamTest, FlushModesMoveWhatTheySay)
{
    // One buffer in each place: with the user, ready, queued.
    const auto arrange = [&] {
        ASSERT_EQ(stream->AllocBufferQueue(nullptr, 3), ZelErr::kOk);
        far.deliver();
        ASSERT_EQ(fetchCode(0), ZelErr::kOk);
        far.deliver();
    };
    struct Case {
        std::int64_t mode;
        ZelCamErr code;
        std::size_t input;
        std::int64_t output;
    };
    for (const Case& c : {Case{1, 0, 1, 0}, Case{2, 0, 3, 0}, Case{3, 0, 2, 1}, Case{4, 0, 0, 0},
                          Case{0, -1009, 1, 1}, Case{5, -1009, 1, 1}, Case{-1, -1009, 1, 1}}) {
        arrange();
        EXPECT_EQ(stream->FlushBuffers(c.mode), c.code) << c.mode;
        EXPECT_EQ(far.queued(), c.input) << c.mode;
        EXPECT_EQ(counter("StreamInputBufferCount"), static_cast<std::int64_t>(c.input)) << c.mode;
        EXPECT_EQ(counter("StreamOutputBufferCount"), c.output) << c.mode;
    }
}

TEST_F(StreamTest, BufferQueueRules)
{
    EXPECT_EQ(stream->ReleaseBufferQueue(), ZelErr::kOk);
    EXPECT_EQ(stream->AllocBufferQueue(nullptr, 0), ZelErr::kGenTLInvalidParameter);
    for (const std::uint64_t huge : {std::uint64_t{65'537}, ~std::uint64_t{0}}) {
        EXPECT_EQ(stream->AllocBufferQueue(nullptr, huge), ZelErr::kGenTLOutOfMemory);
    }
    far.camera.set(FakeCamera::kPayload, 1ULL << 50U);
    EXPECT_EQ(stream->AllocBufferQueue(nullptr, 2), ZelErr::kGenTLOutOfMemory);
    far.camera.set(FakeCamera::kPayload, 128);

    ZelCam::Buffer* const own = stream->CreateBuffer(128, nullptr, nullptr);
    ASSERT_EQ(stream->QueueBuffer(own), ZelErr::kOk);
    startWith(4);
    EXPECT_EQ(stream->AllocBufferQueue(nullptr, 2), ZelErr::kGenTLResourceInUse);
    EXPECT_EQ(stream->ReleaseBufferQueue(), ZelErr::kGenTLBusy);
    EXPECT_EQ(stream->StopAcquisition(0), ZelErr::kOk);
    EXPECT_EQ(stream->AllocBufferQueue(nullptr, 2), ZelErr::kOk) << "replaces the first";
    EXPECT_EQ(stream->GetBufferQueueSize(), 2U);
    EXPECT_EQ(stream->ReleaseBufferQueue(), ZelErr::kOk);
    EXPECT_EQ(stream->GetBufferQueueSize(), 0U);
    EXPECT_EQ(far.queued(), 1U) << "the buffer of the user stays queued";
    EXPECT_EQ(counter("StreamAnnouncedBufferCount"), 1);

    far.announceCode = ZelErr::kGenTLResourceExhausted;
    EXPECT_EQ(stream->AllocBufferQueue(nullptr, 2), ZelErr::kGenTLResourceExhausted);
    EXPECT_EQ(counter("StreamAnnouncedBufferCount"), 1);
    far.announceCode = ZelErr::kOk;

    // A transport that keeps hold of memory is not written over.
    ASSERT_EQ(stream->AllocBufferQueue(nullptr, 2), ZelErr::kOk);
    far.revokeCode = ZelErr::kGenTLBusy;
    EXPECT_EQ(stream->ReleaseBufferQueue(), ZelErr::kOk);
    EXPECT_EQ(counter("StreamAnnouncedBufferCount"), 1);
    far.revokeCode = ZelErr::kOk;
    far.discardCode = ZelErr::kGenTLResourceInUse;
    EXPECT_EQ(stream->FlushBuffers(4), ZelErr::kGenTLResourceInUse);
    EXPECT_EQ(counter("StreamInputBufferCount"), 1);
    far.discardCode = ZelErr::kOk;
}

TEST_F(StreamTest, StartLocksStartsAndTakesBackWhatFails)
{
    using Writes = std::vector<std::pair<FakeCamera::Register, std::uint64_t>>;
    EXPECT_EQ(stream->StartAcquisition(ZelCam::kInfinite, 0), ZelErr::kGenTLInvalidBuffer);
    far.minBuffers = 3;
    ASSERT_EQ(stream->AllocBufferQueue(nullptr, 2), ZelErr::kOk);
    EXPECT_EQ(stream->StartAcquisition(ZelCam::kInfinite, 0), ZelErr::kGenTLInvalidBuffer);
    far.minBuffers = 1;
    far.camera.set(FakeCamera::kPayload, 129); // The picture has grown since.
    EXPECT_EQ(stream->StartAcquisition(ZelCam::kInfinite, 0), ZelErr::kGenTLBufferTooSmall);
    far.camera.set(FakeCamera::kPayload, 128);
    EXPECT_EQ(stream->StartAcquisition(0, 0), ZelErr::kGenTLInvalidParameter);
    EXPECT_EQ(stream->StopAcquisition(0), ZelErr::kGenTLResourceInUse);
    EXPECT_TRUE(far.camera.takeWrites().empty());

    far.startCode = ZelErr::kGenTLIo;
    EXPECT_EQ(stream->StartAcquisition(ZelCam::kInfinite, 0), ZelErr::kGenTLIo);
    EXPECT_EQ(far.camera.takeWrites(),
              (Writes{{FakeCamera::kLocked, 1}, {FakeCamera::kLocked, 0}}));
    far.startCode = ZelErr::kOk;
    far.camera.refuse(FakeCamera::kStart, ZelErr::kGenTLAccessDenied);
    EXPECT_EQ(stream->StartAcquisition(ZelCam::kInfinite, 0), ZelErr::kGenTLAccessDenied);
    EXPECT_EQ(far.started, 0);
    EXPECT_EQ(far.camera.value(FakeCamera::kLocked), 0U);
    far.camera.refuse(FakeCamera::kStart, ZelErr::kOk);
    static_cast<void>(far.camera.takeWrites());

    EXPECT_EQ(stream->StartAcquisition(ZelCam::kInfinite, 0), ZelErr::kOk);
    EXPECT_EQ(stream->StartAcquisition(ZelCam::kInfinite, 0), ZelErr::kGenTLResourceInUse);
    EXPECT_EQ(far.started, 1);
    EXPECT_EQ(stream->StopAcquisition(0), ZelErr::kOk);
    EXPECT_EQ(far.started, 0);
    EXPECT_EQ(far.camera.takeWrites(), (Writes{{FakeCamera::kLocked, 1},
                                               {FakeCamera::kStart, 1},
                                               {FakeCamera::kStop, 1},
                                               {FakeCamera::kLocked, 0}}));
}

TEST_F(StreamTest, WhatATransportTellsIsNotTrusted)
{
    startWith(2);
    core::FrameInfo wild;
    wild.width = ~0ULL;
    wild.height = ~0ULL;
    wild.xPadding = INT64_MIN;
    wild.imageOffset = ~0ULL;
    wild.deliveredSize = ~0ULL;
    wild.pixelFormat = 0x01080001;
    wild.chunks = {{1, ~0ULL, 1}, {2, 0, ~0ULL}, {3, 128, 1}};
    ASSERT_TRUE(far.deliver(wild));
    ZelCam::Buffer* const buffer = stream->GetBuffer(0, nullptr);
    ASSERT_NE(buffer, nullptr);
    EXPECT_LE(static_cast<std::uint64_t>(buffer->GetImageOffset()) + buffer->GetBufferSize(), 128U);
    EXPECT_EQ(buffer->GetImage(), nullptr);
    EXPECT_TRUE(buffer->IsIncomplete());

    core::StreamSink* const sink = far.streamSink();
    for (core::BufferToken token = 0; token < 50; ++token) { // Most are unknown, one is not queued.
        sink->bufferDone(token, frame(token));
        sink->bufferDone(token, frame(token));
    }
    EXPECT_EQ(fetchCode(0), ZelErr::kOk) << "the one that was queued";
    EXPECT_EQ(fetchCode(0), ZelErr::kGenTLTimeout);
    core::FrameInfo empty;
    empty.empty = true;
    ASSERT_EQ(stream->QueueBuffer(buffer), ZelErr::kOk);
    ASSERT_TRUE(far.deliver(empty)); // The fake still holds the one that came out of turn.
    ASSERT_TRUE(far.deliver(empty));
    EXPECT_EQ(fetchCode(0), ZelErr::kGenTLTimeout);
    EXPECT_EQ(stream->QueueBuffer(buffer), ZelErr::kOk) << "an unfilled buffer is idle again";
}

TEST_F(StreamTest, AStaleStreamAnswersWithCodes)
{
    startWith(2);
    far.deliver();
    ZelCam::Buffer* const buffer = stream->GetBuffer(0, nullptr);
    const auto expectDead = [&](ZelCamErr code) {
        EXPECT_EQ(fetchCode(0), code);
        EXPECT_EQ(stream->CancelBuffer(), code);
        EXPECT_EQ(stream->QueueBuffer(buffer), code);
        EXPECT_EQ(stream->RevokeBuffer(buffer), code);
        EXPECT_EQ(stream->FlushBuffers(4), code);
        EXPECT_EQ(stream->StartAcquisition(1, 0), code);
        EXPECT_EQ(stream->StopAcquisition(0), code);
        EXPECT_EQ(stream->AllocBufferQueue(nullptr, 1), code);
        EXPECT_EQ(stream->ReleaseBufferQueue(), code);
        EXPECT_EQ(stream->GetBufferSize(), 0U);
        EXPECT_EQ(stream->GetBufferQueueSize(), 0U);
        EXPECT_EQ(buffer->GetBufferPtr(), nullptr);
    };
    stream->Release();
    expectDead(ZelErr::kGenTLInvalidHandle);
    EXPECT_EQ(far.started, 0);
    stream->Release();
    EXPECT_EQ(device->GetStreamByIndex(0), stream) << "opened again";
    startWith(2);
    device->Release();
    expectDead(ZelErr::kGenTLInvalidHandle);
}

} // namespace
} // namespace core_test
