// Buffers of a data stream: their states, the flush operations, starting, what is told of a frame.
#include "producer_harness.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <thread>

namespace producer_test
{

class ProducerBuffer : public ProducerTest
{
protected:
    /// One buffer in each state, of a stream that is acquiring (a frame of ten seconds).
    struct States {
        Session session;
        Handle announced = nullptr;
        Handle input = nullptr;
        Handle filling = nullptr;
        Handle output = nullptr;
        Handle delivered = nullptr;
    };

    /// The camera exposes a frame into the buffer queued first and does not finish it soon.
    void beginLongFrame(const Session& session)
    {
        EXPECT_EQ(session.camera.write("AcquisitionStop", 1), err::kSuccess);
        EXPECT_EQ(session.camera.writeReal("ExposureTime", 1e7), err::kSuccess);
        EXPECT_EQ(start(session), err::kSuccess);
    }

    States oneOfEach()
    {
        States states;
        states.session = openStream("Three", 2);
        const Session& session = states.session;
        EXPECT_EQ(start(session, 2), err::kSuccess);
        states.delivered = nextBuffer(session);
        while (streamSize(session, kStreamInfoNumAwaitDelivery) != 1) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        EXPECT_EQ(f.DSStopAcquisition(session.stream, 0), err::kSuccess);
        states.output = session.buffers[session.buffers[0] == states.delivered ? 1 : 0];
        for (Handle* more : {&states.announced, &states.filling, &states.input}) {
            EXPECT_EQ(f.DSAllocAndAnnounceBuffer(session.stream, kPayload, nullptr, more),
                      err::kSuccess);
        }
        EXPECT_EQ(f.DSQueueBuffer(session.stream, states.filling), err::kSuccess);
        EXPECT_EQ(f.DSQueueBuffer(session.stream, states.input), err::kSuccess);
        beginLongFrame(session);
        while (!bufferFlag(session, states.filling, kBufferInfoIsAcquiring)) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return states;
    }

    Error queue(const Session& session, Handle buffer) const
    {
        return f.DSQueueBuffer(session.stream, buffer);
    }
    Error revoke(const Session& session, Handle buffer) const
    {
        return f.DSRevokeBuffer(session.stream, buffer, nullptr, nullptr);
    }
};

TEST_F(ProducerBuffer, StateDecidesOnQueueAndRevoke)
{
    const States states = oneOfEach();
    const Session& session = states.session;
    struct Row {
        Handle buffer;
        Error queue;
        Error revoke;
        bool isQueued;
        bool hasNewData;
    };
    const Row rows[] = {{states.announced, err::kSuccess, err::kSuccess, false, false},
                        {states.input, err::kResourceInUse, err::kBusy, true, false},
                        {states.filling, err::kResourceInUse, err::kBusy, true, false},
                        {states.output, err::kResourceInUse, err::kBusy, true, true},
                        {states.delivered, err::kSuccess, err::kSuccess, false, true}};
    for (const Row& row : rows) {
        EXPECT_EQ(bufferFlag(session, row.buffer, kBufferInfoIsQueued), row.isQueued);
        EXPECT_EQ(bufferFlag(session, row.buffer, kBufferInfoNewData), row.hasNewData);
        EXPECT_EQ(bufferFlag(session, row.buffer, kBufferInfoIsAcquiring),
                  row.buffer == states.filling);
    }
    EXPECT_EQ(streamSize(session, kStreamInfoNumAnnounced), 5U);
    EXPECT_EQ(streamSize(session, kStreamInfoNumQueued), 2U);
    EXPECT_EQ(streamSize(session, kStreamInfoNumAwaitDelivery), 1U);
    for (const Row& row : rows) {
        EXPECT_EQ(queue(session, row.buffer), row.queue);
    }
    // What is out of the queues goes, and its handle with it; queued again it stays.
    EXPECT_EQ(revoke(session, states.announced), err::kBusy);
    EXPECT_EQ(f.DSFlushQueue(session.stream, kQueueAllDiscard), err::kSuccess);
    for (const Row& row : rows) {
        EXPECT_EQ(revoke(session, row.buffer), err::kSuccess);
        EXPECT_EQ(revoke(session, row.buffer), err::kInvalidHandle);
        EXPECT_EQ(queue(session, row.buffer), err::kInvalidHandle);
    }
    EXPECT_EQ(streamSize(session, kStreamInfoNumAnnounced), 0U);
}

TEST_F(ProducerBuffer, QueuedBuffersCannotBeRevoked)
{
    const States states = oneOfEach();
    for (const Handle buffer : {states.input, states.filling, states.output}) {
        EXPECT_EQ(revoke(states.session, buffer), err::kBusy);
    }
    for (const Handle buffer : {states.announced, states.delivered}) {
        EXPECT_EQ(revoke(states.session, buffer), err::kSuccess);
    }
}

struct FlushRow {
    std::int32_t operation;
    std::size_t queued;
    std::size_t awaiting;
    bool fillingStays;
};

class ProducerFlush : public ProducerBuffer, public testing::WithParamInterface<FlushRow>
{
};

TEST_P(ProducerFlush, MovesBuffersToTheLetter)
{
    const States states = oneOfEach();
    const Session& session = states.session;
    const FlushRow row = GetParam();
    EXPECT_EQ(f.DSFlushQueue(session.stream, row.operation), err::kSuccess);
    EXPECT_EQ(streamSize(session, kStreamInfoNumQueued), row.queued);
    EXPECT_EQ(streamSize(session, kStreamInfoNumAwaitDelivery), row.awaiting);
    EXPECT_EQ(streamSize(session, kStreamInfoNumAnnounced), 5U);
    EXPECT_EQ(askFor<std::size_t>(kTypeSizeT, f.EventGetInfo, session.event,
                                  std::int32_t{kEventInfoNumInQueue}),
              row.awaiting);
    EXPECT_EQ(bufferFlag(session, states.filling, kBufferInfoIsAcquiring), row.fillingStays);
    // Frames come before the empty buffers; a buffer that was flushed into the input pool or out
    // of the queues does not come.
    std::vector<Handle> fetched;
    Handle buffer = nullptr;
    while (tryBuffer(session, 0, &buffer) == err::kSuccess) {
        fetched.push_back(buffer);
    }
    std::vector<Handle> expected;
    if (row.awaiting >= 1) {
        expected.push_back(states.output);
    }
    if (row.awaiting == 2) {
        expected.push_back(states.input);
        EXPECT_FALSE(bufferFlag(session, states.input, kBufferInfoNewData));
        EXPECT_EQ(bufferInfo<std::size_t>(session, states.input, kBufferInfoSizeFilled, kTypeSizeT),
                  0U);
    }
    EXPECT_EQ(fetched, expected);
}

INSTANTIATE_TEST_SUITE_P(Operations, ProducerFlush,
                         testing::Values(FlushRow{kQueueInputToOutput, 1, 2, true},
                                         FlushRow{kQueueOutputDiscard, 2, 0, true},
                                         FlushRow{kQueueAllToInput, 5, 0, true},
                                         FlushRow{kQueueUnqueuedToInput, 4, 1, true},
                                         FlushRow{kQueueAllDiscard, 0, 0, false}));

TEST_F(ProducerBuffer, AnnouncingHasItsRules)
{
    const Session session = openStream("Three", 0);
    std::vector<unsigned char> memory(kPayload);
    int user = 0;
    Handle buffer = nullptr;
    Handle second = nullptr;
    EXPECT_EQ(f.DSAnnounceBuffer(session.stream, nullptr, kPayload, nullptr, &buffer),
              err::kInvalidParameter);
    EXPECT_EQ(f.DSAnnounceBuffer(session.stream, memory.data(), 0, nullptr, &buffer),
              err::kInvalidParameter);
    EXPECT_EQ(f.DSAllocAndAnnounceBuffer(session.stream, ~std::size_t{0}, nullptr, &buffer),
              err::kOutOfMemory);
    ASSERT_EQ(f.DSAnnounceBuffer(session.stream, memory.data(), memory.size(), &user, &buffer),
              err::kSuccess);
    EXPECT_EQ(f.DSAnnounceBuffer(session.stream, memory.data(), memory.size(), nullptr, &second),
              err::kResourceInUse);
    EXPECT_EQ(f.DSAllocAndAnnounceBuffer(session.stream, kPayload, nullptr, &second),
              err::kResourceInUse);
    EXPECT_EQ(bufferInfo<void*>(session, buffer, kBufferInfoBase, kTypePtr), memory.data());
    EXPECT_EQ(bufferInfo<void*>(session, buffer, kBufferInfoUserPtr, kTypePtr), &user);
    EXPECT_EQ(bufferInfo<std::size_t>(session, buffer, kBufferInfoSize, kTypeSizeT), kPayload);
    // Without a frame there is nothing to tell of one.
    EXPECT_EQ(
        ask<std::size_t>(f.DSGetBufferInfo, session.stream, buffer, std::int32_t{kBufferInfoWidth})
            .code,
        err::kNotAvailable);
    EXPECT_EQ(f.DSGetBufferID(session.stream, 0, &second), err::kSuccess);
    EXPECT_EQ(second, buffer);
    EXPECT_EQ(f.DSGetBufferID(session.stream, 1, &second), err::kInvalidIndex);
    void* base = nullptr;
    void* userBack = nullptr;
    EXPECT_EQ(f.DSRevokeBuffer(session.stream, buffer, &base, &userBack), err::kSuccess);
    EXPECT_EQ(base, memory.data());
    EXPECT_EQ(userBack, &user);
    // The producer's own memory is not given away.
    ASSERT_EQ(f.DSAllocAndAnnounceBuffer(session.stream, kPayload, &user, &buffer), err::kSuccess);
    EXPECT_EQ(f.DSRevokeBuffer(session.stream, buffer, &base, &userBack), err::kSuccess);
    EXPECT_EQ(base, nullptr);
}

TEST_F(ProducerBuffer, StartAndStopHaveTheirRules)
{
    const Session session = openStream("Three", 0);
    const auto startWith = [&](std::int32_t flags, std::uint64_t frames) {
        return f.DSStartAcquisition(session.stream, flags, frames);
    };
    EXPECT_EQ(f.DSStopAcquisition(session.stream, 0), err::kResourceInUse);
    EXPECT_EQ(startWith(0, 0), err::kInvalidParameter);
    EXPECT_EQ(startWith(1, 1), err::kInvalidParameter);
    EXPECT_EQ(startWith(0, 1), err::kInvalidBuffer);
    Handle small = nullptr;
    ASSERT_EQ(f.DSAllocAndAnnounceBuffer(session.stream, kPayload - 1, nullptr, &small),
              err::kSuccess);
    EXPECT_EQ(startWith(0, 1), err::kBufferTooSmall);
    EXPECT_EQ(revoke(session, small), err::kSuccess);
    Handle buffer = nullptr;
    ASSERT_EQ(f.DSAllocAndAnnounceBuffer(session.stream, kPayload, nullptr, &buffer),
              err::kSuccess);
    EXPECT_EQ(queue(session, buffer), err::kSuccess);
    // The count runs out; the stream is started until it is stopped.
    EXPECT_EQ(start(session, 1), err::kSuccess);
    EXPECT_EQ(startWith(0, 1), err::kResourceInUse);
    EXPECT_EQ(nextBuffer(session), buffer);
    EXPECT_EQ(queue(session, buffer), err::kSuccess);
    Handle none = nullptr;
    EXPECT_EQ(tryBuffer(session, 100, &none), err::kTimeout);
    EXPECT_EQ(streamInfo<Bool8>(session, kStreamInfoIsGrabbing, kTypeBool8), 1);
    EXPECT_EQ(session.camera.writeEntry("PixelFormat", "Mono16"), err::kAccessDenied);
    EXPECT_EQ(f.DSStopAcquisition(session.stream, 2), err::kInvalidParameter);
    EXPECT_EQ(f.DSStopAcquisition(session.stream, 0), err::kSuccess);
    EXPECT_EQ(f.DSStopAcquisition(session.stream, 0), err::kResourceInUse);
    EXPECT_EQ(streamInfo<Bool8>(session, kStreamInfoIsGrabbing, kTypeBool8), 0);
    EXPECT_EQ(session.camera.write("AcquisitionStop", 1), err::kSuccess);
    EXPECT_EQ(session.camera.writeEntry("PixelFormat", "Mono16"), err::kSuccess);
}

TEST_F(ProducerBuffer, WhoDefinesThePayloadSize)
{
    // A frame grabber does; over a network the camera does.
    const Session grabber = openStream("Three", 0);
    EXPECT_EQ(streamInfo<Bool8>(grabber, kStreamInfoDefinesPayloadSize, kTypeBool8), 1);
    EXPECT_EQ(streamSize(grabber, kStreamInfoPayloadSize), kPayload);
    EXPECT_EQ(grabber.camera.write("Height", 24), err::kSuccess);
    EXPECT_EQ(streamSize(grabber, kStreamInfoPayloadSize), kPayload / 2);
    const Session network = openStream("One", 0);
    EXPECT_EQ(streamInfo<Bool8>(network, kStreamInfoDefinesPayloadSize, kTypeBool8), 0);
    EXPECT_EQ(
        ask<std::size_t>(f.DSGetInfo, network.stream, std::int32_t{kStreamInfoPayloadSize}).code,
        err::kNotAvailable);
    EXPECT_EQ(network.camera.read("PayloadSize"), kPayload);
}

TEST_F(ProducerBuffer, AFrameIsDescribedWhole)
{
    Session session = openStream("One", 0);
    EXPECT_EQ(session.camera.write("Width", 32), err::kSuccess);
    EXPECT_EQ(session.camera.write("Height", 16), err::kSuccess);
    EXPECT_EQ(session.camera.write("OffsetX", 8), err::kSuccess);
    EXPECT_EQ(session.camera.write("OffsetY", 4), err::kSuccess);
    std::vector<unsigned char> memory(2000, 0xee);
    Handle buffer = nullptr;
    ASSERT_EQ(f.DSAnnounceBuffer(session.stream, memory.data(), 1000, nullptr, &buffer),
              err::kSuccess);
    ASSERT_EQ(queue(session, buffer), err::kSuccess);
    ASSERT_EQ(start(session, 1), err::kSuccess);
    ASSERT_EQ(nextBuffer(session), buffer);
    const auto size = [&](BufferInfo command) {
        return bufferInfo<std::size_t>(session, buffer, command, kTypeSizeT);
    };
    const auto number = [&](BufferInfo command) {
        return bufferInfo<std::uint64_t>(session, buffer, command, kTypeUint64);
    };
    EXPECT_EQ(size(kBufferInfoWidth), 32U);
    EXPECT_EQ(size(kBufferInfoHeight), 16U);
    EXPECT_EQ(size(kBufferInfoDeliveredImageHeight), 16U);
    EXPECT_EQ(size(kBufferInfoXOffset), 8U);
    EXPECT_EQ(size(kBufferInfoYOffset), 4U);
    EXPECT_EQ(size(kBufferInfoXPadding), 0U);
    EXPECT_EQ(size(kBufferInfoImageOffset), 0U);
    EXPECT_EQ(size(kBufferInfoSizeFilled), 512U);
    EXPECT_EQ(size(kBufferInfoDataSize), 512U);
    EXPECT_EQ(size(kBufferInfoPayloadType), std::size_t{kPayloadImage});
    EXPECT_EQ(number(kBufferInfoPixelFormat), 0x01080001U);
    EXPECT_EQ(number(kBufferInfoPixelFormatNamespace), std::uint64_t{kNamespacePfnc32});
    EXPECT_EQ(number(kBufferInfoFrameId), 0U);
    EXPECT_GT(number(kBufferInfoTimestampNs), 0U);
    EXPECT_EQ(number(kBufferInfoTimestamp), number(kBufferInfoTimestampNs));
    EXPECT_EQ(askText(f.DSGetBufferInfo, session.stream, buffer, std::int32_t{kBufferInfoTlType}),
              "GEV");
    EXPECT_TRUE(bufferFlag(session, buffer, kBufferInfoImagePresent));
    for (const BufferInfo flag :
         {kBufferInfoIsIncomplete, kBufferInfoDataLargerThanBuffer, kBufferInfoContainsChunkData,
          kBufferInfoIsQueued, kBufferInfoIsComposite}) {
        EXPECT_FALSE(bufferFlag(session, buffer, flag)) << flag;
    }
    EXPECT_TRUE(std::all_of(memory.begin() + 512, memory.end(),
                            [](unsigned char byte) { return byte == 0xee; }));

    // No chunks, no parts, no file: each says so.
    std::size_t count = 0;
    std::uint32_t parts = 0;
    EXPECT_EQ(f.DSGetBufferChunkData(session.stream, buffer, nullptr, &count), err::kNoData);
    EXPECT_EQ(f.DSGetNumBufferParts(session.stream, buffer, &parts), err::kNoData);
    EXPECT_EQ(
        f.DSGetBufferPartInfo(session.stream, buffer, 0, kPartInfoBase, nullptr, nullptr, &count),
        err::kNoData);
    EXPECT_EQ(
        f.DSGetBufferInfo(session.stream, buffer, kBufferInfoFileName, nullptr, nullptr, &count),
        err::kNoData);
    EXPECT_EQ(f.DSGetBufferInfo(session.stream, buffer, 77, nullptr, nullptr, &count),
              err::kInvalidParameter);

    // Stacked questions are answered one by one.
    std::size_t width = 0;
    char one = 0;
    BufferInfoStacked questions[3] = {{kBufferInfoWidth, 0, &width, sizeof width, 1},
                                      {kBufferInfoHeight, 0, &one, sizeof one, 1},
                                      {kBufferInfoImagePresent, 0, &one, sizeof one, 1}};
    EXPECT_EQ(f.DSGetBufferInfoStacked(session.stream, buffer, questions, 3), err::kBufferTooSmall);
    EXPECT_EQ(questions[0].result, err::kSuccess);
    EXPECT_EQ(questions[1].result, err::kBufferTooSmall);
    EXPECT_EQ(questions[2].result, err::kSuccess);
    EXPECT_EQ(questions[2].type, kTypeBool8);
    EXPECT_EQ(width, 32U);
    EXPECT_EQ(f.DSGetBufferInfoStacked(session.stream, buffer, questions, 1), err::kSuccess);
    BufferPartInfoStacked part{0, kPartInfoBase, 0, 0, nullptr, 0};
    EXPECT_EQ(f.DSGetBufferPartInfoStacked(session.stream, buffer, &part, 1), err::kNoData);
    EXPECT_EQ(part.result, err::kNoData);
}

TEST_F(ProducerBuffer, ChunksLieBehindTheImage)
{
    const Session plain = openStream("Two", 0);
    EXPECT_EQ(plain.camera.write("ChunkModeActive", 1), err::kSuccess);
    const std::size_t payload = plain.camera.read("PayloadSize");
    ASSERT_GT(payload, kPayload);
    Handle buffer = nullptr;
    ASSERT_EQ(f.DSAllocAndAnnounceBuffer(plain.stream, payload, nullptr, &buffer), err::kSuccess);
    ASSERT_EQ(queue(plain, buffer), err::kSuccess);
    ASSERT_EQ(start(plain, 1), err::kSuccess);
    ASSERT_EQ(nextBuffer(plain), buffer);
    EXPECT_TRUE(bufferFlag(plain, buffer, kBufferInfoContainsChunkData));
    std::size_t count = 0;
    ASSERT_EQ(f.DSGetBufferChunkData(plain.stream, buffer, nullptr, &count), err::kSuccess);
    std::vector<ChunkData> chunks(count);
    std::size_t fewer = count - 1;
    EXPECT_EQ(f.DSGetBufferChunkData(plain.stream, buffer, chunks.data(), &fewer),
              err::kBufferTooSmall);
    ASSERT_EQ(f.DSGetBufferChunkData(plain.stream, buffer, chunks.data(), &count), err::kSuccess);
    const auto* base = bufferInfo<unsigned char*>(plain, buffer, kBufferInfoBase, kTypePtr);
    const auto timestamp =
        bufferInfo<std::uint64_t>(plain, buffer, kBufferInfoTimestampNs, kTypeUint64);
    std::size_t total = 0;
    bool foundTimestamp = false;
    for (const ChunkData& chunk : chunks) {
        ASSERT_GE(static_cast<std::size_t>(chunk.offset), kPayload);
        ASSERT_LE(static_cast<std::size_t>(chunk.offset) + chunk.length, payload);
        total += chunk.length;
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < chunk.length; ++i) {
            value = value << 8 | base[static_cast<std::size_t>(chunk.offset) + i];
        }
        foundTimestamp = foundTimestamp || value == timestamp;
    }
    EXPECT_TRUE(foundTimestamp);
    EXPECT_LE(total, bufferInfo<std::size_t>(plain, buffer, kBufferInfoDeliveredChunkPayloadSize,
                                             kTypeSizeT));
    EXPECT_NE(bufferInfo<std::uint64_t>(plain, buffer, kBufferInfoChunkLayoutId, kTypeUint64), 0U);
}

TEST_F(ProducerBuffer, IncompleteFramesSayWhatArrived)
{
    Session session = openStream("One", 0);
    std::vector<unsigned char> memory(kPayload, 0xee);
    Handle buffer = nullptr;
    ASSERT_EQ(f.DSAnnounceBuffer(session.stream, memory.data(), memory.size(), nullptr, &buffer),
              err::kSuccess);
    ASSERT_EQ(queue(session, buffer), err::kSuccess);
    EXPECT_EQ(session.camera.write("SimulatorIncompleteLines", 10), err::kSuccess);
    EXPECT_EQ(session.camera.write("SimulatorIncompleteFrames", 1), err::kSuccess);
    ASSERT_EQ(start(session), err::kSuccess);
    ASSERT_EQ(nextBuffer(session), buffer);
    const auto size = [&](BufferInfo command) {
        return bufferInfo<std::size_t>(session, buffer, command, kTypeSizeT);
    };
    EXPECT_TRUE(bufferFlag(session, buffer, kBufferInfoIsIncomplete));
    EXPECT_TRUE(bufferFlag(session, buffer, kBufferInfoNewData));
    EXPECT_FALSE(bufferFlag(session, buffer, kBufferInfoDataLargerThanBuffer));
    EXPECT_EQ(size(kBufferInfoSizeFilled), 640U);
    EXPECT_EQ(size(kBufferInfoDataSize), kPayload);
    EXPECT_EQ(size(kBufferInfoHeight), 48U);
    EXPECT_EQ(size(kBufferInfoDeliveredImageHeight), 10U);
    EXPECT_TRUE(std::all_of(memory.begin() + 640, memory.end(),
                            [](unsigned char byte) { return byte == 0xee; }));
    ASSERT_EQ(queue(session, buffer), err::kSuccess);
    ASSERT_EQ(nextBuffer(session), buffer);
    EXPECT_FALSE(bufferFlag(session, buffer, kBufferInfoIsIncomplete));
    EXPECT_EQ(Registers(f, session.stream).read("StreamIncompleteFrameCount"), 1U);

    // A buffer announced too small while frames run holds what fits.
    std::vector<unsigned char> small(1000, 0xee);
    ASSERT_EQ(f.DSAnnounceBuffer(session.stream, small.data(), 700, nullptr, &buffer),
              err::kSuccess);
    ASSERT_EQ(queue(session, buffer), err::kSuccess);
    ASSERT_EQ(nextBuffer(session), buffer);
    EXPECT_TRUE(bufferFlag(session, buffer, kBufferInfoIsIncomplete));
    EXPECT_TRUE(bufferFlag(session, buffer, kBufferInfoDataLargerThanBuffer));
    EXPECT_EQ(size(kBufferInfoSizeFilled), 700U);
    EXPECT_EQ(size(kBufferInfoDeliveredImageHeight), 10U);
    EXPECT_EQ(small[700], 0xee);
}

TEST_F(ProducerBuffer, StopGivesUpTheFrameUnderWayAndKillDeliversWhatThereIs)
{
    using Clock = std::chrono::steady_clock;
    const Session session = openStream("Three", 2);
    EXPECT_EQ(session.camera.writeReal("ExposureTime", 1e7), err::kSuccess);
    const auto waitForExposure = [&](Handle buffer) {
        while (!bufferFlag(session, buffer, kBufferInfoIsAcquiring)) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    };
    auto begin = Clock::now();
    ASSERT_EQ(start(session), err::kSuccess);
    waitForExposure(session.buffers[0]);
    EXPECT_EQ(f.DSStopAcquisition(session.stream, kAcqStopDefault), err::kSuccess);
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(5));
    EXPECT_EQ(streamSize(session, kStreamInfoNumAwaitDelivery), 0U);
    EXPECT_EQ(streamSize(session, kStreamInfoNumQueued), 2U);
    EXPECT_EQ(streamCount(session, kStreamInfoNumStarted), 1U);
    EXPECT_EQ(Registers(f, session.stream).read("StreamLostFrameCount"), 1U);

    EXPECT_EQ(session.camera.write("AcquisitionStop", 1), err::kSuccess);
    begin = Clock::now();
    ASSERT_EQ(start(session), err::kSuccess);
    waitForExposure(session.buffers[0]);
    EXPECT_EQ(f.DSStopAcquisition(session.stream, kAcqStopKill), err::kSuccess);
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(5));
    ASSERT_EQ(nextBuffer(session), session.buffers[0]);
    EXPECT_TRUE(bufferFlag(session, session.buffers[0], kBufferInfoIsIncomplete));
    EXPECT_LT(
        bufferInfo<std::size_t>(session, session.buffers[0], kBufferInfoSizeFilled, kTypeSizeT),
        kPayload);
}

TEST_F(ProducerBuffer, HandlingModesChooseTheFrames)
{
    const auto firstFrameId = [this](const char* mode) {
        const Session session = openStream("Two", 3);
        const Registers stream(f, session.stream);
        EXPECT_EQ(stream.writeEntry("StreamBufferHandlingMode", mode), err::kSuccess);
        EXPECT_EQ(session.camera.writeReal("ExposureTime", 100.0), err::kSuccess);
        EXPECT_EQ(start(session), err::kSuccess);
        while (stream.read("StreamStartedFrameCount") < 12) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        EXPECT_EQ(f.DSStopAcquisition(session.stream, 0), err::kSuccess);
        const std::uint64_t last = stream.read("StreamStartedFrameCount") - 1;
        const std::uint64_t underruns = streamCount(session, kStreamInfoNumUnderrun);
        const Handle buffer = nextBuffer(session);
        const auto first =
            bufferInfo<std::uint64_t>(session, buffer, kBufferInfoFrameId, kTypeUint64);
        EXPECT_EQ(f.DevClose(session.device), err::kSuccess);
        return std::array<std::uint64_t, 3>{first, last, underruns};
    };
    // The stop may come while the last one that was started is under way, which is given up then.
    const auto oldest = firstFrameId("OldestFirst");
    EXPECT_EQ(oldest[0], 0U);
    EXPECT_LE(oldest[1] - 2 - oldest[2], 1U);
    const auto overwritten = firstFrameId("OldestFirstOverwrite");
    EXPECT_LE(overwritten[1] - 2 - overwritten[0], 1U);
    EXPECT_EQ(overwritten[2], 0U);
    const auto newest = firstFrameId("NewestOnly");
    EXPECT_LE(newest[1] - newest[0], 1U);
    EXPECT_EQ(newest[2], 0U);
}

} // namespace producer_test
