#include "usb3/frame_builder.h"

#include "core/chunk_trailer.h"

#include <algorithm>

namespace usb3
{

namespace
{

/// Bytes of `height` lines; PFNC codes carry the bits per pixel. All ones when no memory has that
/// many.
std::uint64_t imageBytes(const wire::Leader& leader, std::uint64_t height)
{
    const std::uint64_t bits = (leader.pixelFormat >> 16U) & 0xFFU;
    const std::uint64_t pixels = leader.width * height; // both have 32 bits
    if (pixels > ~std::uint64_t{0} / 512) {
        return ~std::uint64_t{0};
    }
    return (pixels * bits + 7) / 8 + leader.xPadding * height;
}

bool isPayload(const wire::Leader& leader, wire::Payload payload)
{
    return leader.payload == static_cast<std::uint16_t>(payload);
}

} // namespace

void FrameBuilder::add(std::size_t wanted, std::size_t got)
{
    broken_ = broken_ || (ended_ && got > 0) || got > wanted;
    ended_ = ended_ || got < wanted;
    if (!broken_) {
        received_ += got;
    }
}

core::FrameInfo FrameBuilder::finish(const wire::Trailer* trailer, const std::uint8_t* memory,
                                     std::size_t capacity) const
{
    core::FrameInfo info;
    info.frameId = leader_.blockId;
    info.timestamp = leader_.timestamp;
    // Cameras fill the last transfer up to their alignment; the trailer tells what counts.
    const std::uint64_t there = std::min<std::uint64_t>(received_, capacity);
    const bool isWhole = hasLeader_ && !broken_ && trailer != nullptr && trailer->status == 0 &&
                         trailer->blockId == leader_.blockId && trailer->validSize <= there &&
                         trailer->validSize > 0;
    const std::uint64_t valid = isWhole ? trailer->validSize : there;
    info.incomplete = !isWhole;
    info.deliveredSize = valid;
    if (leader_.hasImage) {
        info.width = leader_.width;
        info.height = leader_.height;
        info.xOffset = leader_.xOffset;
        info.yOffset = leader_.yOffset;
        info.xPadding = leader_.xPadding;
        info.pixelFormat = leader_.pixelFormat;
    }
    if (!isWhole) {
        return info;
    }
    if (isPayload(leader_, wire::Payload::ExtendedChunk) ||
        isPayload(leader_, wire::Payload::Chunk)) {
        info.chunks = core::chunkPlaces(memory, static_cast<std::size_t>(valid), false);
        info.incomplete = info.chunks.empty();
    }
    describeImage(*trailer, &info);
    return info;
}

void FrameBuilder::describeImage(const wire::Trailer& trailer, core::FrameInfo* info) const
{
    if (!leader_.hasImage) {
        return;
    }
    if (trailer.height > 0 && trailer.height < leader_.height) {
        info->height = trailer.height; // the camera was told to stop in the middle
    }
    const std::uint64_t wanted = imageBytes(leader_, info->height);
    if (!info->chunks.empty()) {
        // The image is a chunk itself, the first one.
        info->imageOffset = info->chunks.front().offset;
        info->deliveredSize = info->chunks.front().size;
    }
    info->incomplete = info->incomplete || info->deliveredSize < wanted;
    if (leader_.payload != static_cast<std::uint16_t>(wire::Payload::Image)) {
        info->deliveredSize = std::min(info->deliveredSize, wanted);
    }
}

} // namespace usb3
