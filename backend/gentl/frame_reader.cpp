// What a producer tells of a filled buffer, in the words of core.
#include "gentl/frame_reader.h"

#include "gentl/info.h"

#include <algorithm>
#include <vector>

namespace gentl
{

namespace
{

constexpr std::uint64_t kNanosecondsPerSecond = 1'000'000'000;
constexpr std::size_t kMaxChunks = 1024;
constexpr std::uint32_t kMaxParts = 64;

// All that is asked of a frame.
constexpr std::array<std::int32_t, 20> kQuestions = {
    kBufferInfoSizeFilled,
    kBufferInfoDataSize,
    kBufferInfoNewData,
    kBufferInfoFrameId,
    kBufferInfoTimestampNs,
    kBufferInfoTimestamp,
    kBufferInfoIsIncomplete,
    kBufferInfoDataLargerThanBuffer,
    kBufferInfoPayloadType,
    kBufferInfoContainsChunkData,
    kBufferInfoWidth,
    kBufferInfoHeight,
    kBufferInfoDeliveredImageHeight,
    kBufferInfoXOffset,
    kBufferInfoYOffset,
    kBufferInfoXPadding,
    kBufferInfoYPadding,
    kBufferInfoImageOffset,
    kBufferInfoPixelFormat,
    kBufferInfoPixelFormatNamespace,
};
// No producer may answer this: a question with it was not looked at.
constexpr Error kUntouched = 1;

// Codes of the 32-bit convention; the old ones of GigE Vision are the same numbers. Others are not
// told, and the camera's PixelFormat stands in.
std::uint32_t pfnc(std::uint64_t format, std::optional<std::uint64_t> numbering)
{
    const std::uint64_t space = numbering.value_or(kNamespacePfnc32);
    const bool known = space == kNamespacePfnc32 || space == kNamespaceGev;
    return known && format <= UINT32_MAX ? static_cast<std::uint32_t>(format) : 0;
}

std::uint64_t imageSize(const core::FrameInfo& frame)
{
    const std::uint64_t bits = (frame.pixelFormat >> 16U) & 0xFFU;
    const std::uint64_t sane = 1ULL << 20U;
    if (bits == 0 || frame.width == 0 || frame.width > sane || frame.height > sane ||
        frame.xPadding < 0 || frame.yPadding < 0) {
        return 0;
    }
    const std::uint64_t pixels = (frame.width * frame.height * bits + 7) / 8;
    return pixels + frame.height * static_cast<std::uint64_t>(frame.xPadding) +
           static_cast<std::uint64_t>(frame.yPadding);
}

} // namespace

core::FrameInfo FrameReader::read(Handle buffer, const void* base, std::size_t size)
{
    answered_ = askAllAtOnce(buffer);
    core::FrameInfo frame;
    const std::uint64_t filled = number(buffer, kBufferInfoSizeFilled)
                                     .value_or(number(buffer, kBufferInfoDataSize).value_or(size));
    const auto newData = number(buffer, kBufferInfoNewData);
    frame.empty = newData ? *newData == 0 : filled == 0;
    if (frame.empty) {
        return frame;
    }
    frame.frameId = number(buffer, kBufferInfoFrameId).value_or(0);
    frame.timestamp = timestamp(buffer);
    frame.incomplete = number(buffer, kBufferInfoIsIncomplete).value_or(0) != 0 ||
                       number(buffer, kBufferInfoDataLargerThanBuffer).value_or(0) != 0;
    const auto payload = number(buffer, kBufferInfoPayloadType);
    if (payload && *payload == kPayloadMultiPart && readFirstImagePart(buffer, base, size, frame)) {
        return frame;
    }
    readImage(buffer, frame);
    frame.deliveredSize = filled > frame.imageOffset ? filled - frame.imageOffset : 0;
    if (number(buffer, kBufferInfoContainsChunkData).value_or(1) != 0) {
        readChunks(buffer, frame);
    }
    if (!frame.chunks.empty()) {
        // The bytes behind the image are not pixels.
        const std::uint64_t image = imageSize(frame);
        frame.deliveredSize =
            image > 0 ? std::min(frame.deliveredSize, image) : frame.deliveredSize;
    }
    return frame;
}

// What a single question fails with is in its own result; the call's tells of the first such one.
bool FrameReader::askAllAtOnce(Handle buffer)
{
    if (!stackImplemented_) {
        return false;
    }
    std::array<std::array<unsigned char, sizeof(std::uint64_t)>, kQuestions.size()> values{};
    std::array<BufferInfoStacked, kQuestions.size()> stack{};
    for (std::size_t i = 0; i < stack.size(); ++i) {
        stack[i] = {kQuestions[i], kTypeUnknown, values[i].data(), values[i].size(), kUntouched};
    }
    const Error code = api_.call<&FunctionTable::DSGetBufferInfoStacked>(
        "DSGetBufferInfoStacked", stream_, buffer, stack.data(), stack.size());
    stackImplemented_ = code != err::kNotImplemented &&
                        std::none_of(stack.begin(), stack.end(), [](const BufferInfoStacked& each) {
                            return each.result == kUntouched;
                        });
    for (std::size_t i = 0; i < stack.size() && stackImplemented_; ++i) {
        answers_[static_cast<std::size_t>(kQuestions[i])] =
            stack[i].result == err::kSuccess
                ? decodeNumber(stack[i].type, values[i].data(), stack[i].size)
                : std::nullopt;
    }
    return stackImplemented_;
}

std::optional<std::uint64_t> FrameReader::number(Handle buffer, std::int32_t command)
{
    if (answered_) {
        return answers_[static_cast<std::size_t>(command)];
    }
    const std::uint32_t bit = 1U << static_cast<unsigned>(command);
    if ((unimplemented_ & bit) != 0) {
        return std::nullopt;
    }
    return askNumber([&](std::int32_t* type, void* data, std::size_t* size) {
        const Error code = api_.call<&FunctionTable::DSGetBufferInfo>(
            "DSGetBufferInfo", stream_, buffer, command, type, data, size);
        unimplemented_ |= code == err::kNotImplemented ? bit : 0;
        return code;
    });
}

std::optional<std::uint64_t> FrameReader::part(Handle buffer, std::uint32_t index,
                                               std::int32_t command) const
{
    return askNumber([&](std::int32_t* type, void* data, std::size_t* size) {
        return api_.call<&FunctionTable::DSGetBufferPartInfo>(
            "DSGetBufferPartInfo", stream_, buffer, index, command, type, data, size);
    });
}

void FrameReader::readImage(Handle buffer, core::FrameInfo& frame)
{
    const auto ask = [&](std::int32_t command) { return number(buffer, command).value_or(0); };
    frame.width = ask(kBufferInfoWidth);
    frame.height = ask(kBufferInfoHeight);
    const std::uint64_t delivered = ask(kBufferInfoDeliveredImageHeight);
    if (delivered > 0 && (frame.height == 0 || delivered < frame.height)) {
        frame.height = delivered;
    }
    frame.xOffset = static_cast<std::int64_t>(ask(kBufferInfoXOffset));
    frame.yOffset = static_cast<std::int64_t>(ask(kBufferInfoYOffset));
    frame.xPadding = static_cast<std::int64_t>(ask(kBufferInfoXPadding));
    frame.yPadding = static_cast<std::int64_t>(ask(kBufferInfoYPadding));
    frame.imageOffset = ask(kBufferInfoImageOffset);
    frame.pixelFormat =
        pfnc(ask(kBufferInfoPixelFormat), number(buffer, kBufferInfoPixelFormatNamespace));
}

bool FrameReader::readFirstImagePart(Handle buffer, const void* base, std::size_t size,
                                     core::FrameInfo& frame) const
{
    std::uint32_t parts = 0;
    if (api_.call<&FunctionTable::DSGetNumBufferParts>("DSGetNumBufferParts", stream_, buffer,
                                                       &parts) != err::kSuccess) {
        return false;
    }
    for (std::uint32_t index = 0; index < std::min(parts, kMaxParts); ++index) {
        const auto ask = [&](std::int32_t command) {
            return part(buffer, index, command).value_or(0);
        };
        const auto start = reinterpret_cast<std::uintptr_t>(base);
        const std::uint64_t place = ask(kPartInfoBase);
        if (ask(kPartInfoDataType) != kPart2DImage || place < start || place - start > size) {
            continue;
        }
        frame.imageOffset = place - start;
        frame.deliveredSize = ask(kPartInfoDataSize);
        frame.width = ask(kPartInfoWidth);
        frame.height = ask(kPartInfoHeight);
        const std::uint64_t delivered = ask(kPartInfoDeliveredImageHeight);
        if (delivered > 0 && delivered < frame.height) {
            frame.height = delivered;
        }
        frame.xOffset = static_cast<std::int64_t>(ask(kPartInfoXOffset));
        frame.yOffset = static_cast<std::int64_t>(ask(kPartInfoYOffset));
        frame.xPadding = static_cast<std::int64_t>(ask(kPartInfoXPadding));
        frame.pixelFormat =
            pfnc(ask(kPartInfoDataFormat), part(buffer, index, kPartInfoDataFormatNamespace));
        return true;
    }
    return false;
}

std::uint64_t FrameReader::timestamp(Handle buffer)
{
    if (const auto nanoseconds = number(buffer, kBufferInfoTimestampNs)) {
        return *nanoseconds;
    }
    const std::uint64_t ticks = number(buffer, kBufferInfoTimestamp).value_or(0);
    if (tickFrequency_ == 0 || tickFrequency_ == kNanosecondsPerSecond) {
        return ticks;
    }
    // In two steps, because the product of ticks and 10^9 leaves 64 bits.
    return ticks / tickFrequency_ * kNanosecondsPerSecond +
           static_cast<std::uint64_t>(static_cast<double>(ticks % tickFrequency_) *
                                      static_cast<double>(kNanosecondsPerSecond) /
                                      static_cast<double>(tickFrequency_));
}

void FrameReader::readChunks(Handle buffer, core::FrameInfo& frame)
{
    if (!chunksImplemented_) {
        return;
    }
    std::size_t count = 0;
    const Error counted = api_.call<&FunctionTable::DSGetBufferChunkData>(
        "DSGetBufferChunkData", stream_, buffer, static_cast<ChunkData*>(nullptr), &count);
    chunksImplemented_ = counted != err::kNotImplemented;
    if (counted != err::kSuccess || count == 0 || count > kMaxChunks) {
        return;
    }
    std::vector<ChunkData> chunks(count, ChunkData{});
    if (api_.call<&FunctionTable::DSGetBufferChunkData>("DSGetBufferChunkData", stream_, buffer,
                                                        chunks.data(), &count) != err::kSuccess) {
        return;
    }
    chunks.resize(std::min(count, chunks.size()));
    for (const ChunkData& chunk : chunks) {
        if (chunk.offset >= 0) {
            frame.chunks.push_back(
                {chunk.id, static_cast<std::uint64_t>(chunk.offset), chunk.length});
        }
    }
}

} // namespace gentl
