#include "usb3/wire/frame_packet.h"

#include "base/endian.h"

namespace usb3::wire
{

namespace
{

using base::loadLittle;

constexpr std::uint32_t kLeaderMagic = 0x4C563355;  // "U3VL"
constexpr std::uint32_t kTrailerMagic = 0x54563355; // "U3VT"
constexpr std::size_t kShortestLeader = 20;
constexpr std::size_t kLeaderWithTime = 28;
constexpr std::size_t kImageLeader = 50;
constexpr std::size_t kShortestTrailer = 28;
constexpr std::size_t kTrailerWithHeight = 32;

} // namespace

Packet packetOf(const std::uint8_t* bytes, std::size_t size)
{
    const std::uint32_t magic = size >= kShortestLeader ? loadLittle<std::uint32_t>(bytes) : 0;
    if (magic == kLeaderMagic) {
        return Packet::Leader;
    }
    return magic == kTrailerMagic && size >= kShortestTrailer ? Packet::Trailer : Packet::Other;
}

bool readLeader(const std::uint8_t* bytes, std::size_t size, Leader* leader)
{
    *leader = {};
    if (packetOf(bytes, size) != Packet::Leader) {
        return false;
    }
    leader->blockId = loadLittle<std::uint64_t>(bytes + 8);
    leader->payload = loadLittle<std::uint16_t>(bytes + 18);
    if (size >= kLeaderWithTime) {
        leader->timestamp = loadLittle<std::uint64_t>(bytes + 20);
    }
    const bool isImage = leader->payload == static_cast<std::uint16_t>(Payload::Image) ||
                         leader->payload == static_cast<std::uint16_t>(Payload::ExtendedChunk);
    if (isImage && size >= kImageLeader) {
        leader->hasImage = true;
        leader->pixelFormat = loadLittle<std::uint32_t>(bytes + 28);
        leader->width = loadLittle<std::uint32_t>(bytes + 32);
        leader->height = loadLittle<std::uint32_t>(bytes + 36);
        leader->xOffset = loadLittle<std::uint32_t>(bytes + 40);
        leader->yOffset = loadLittle<std::uint32_t>(bytes + 44);
        leader->xPadding = loadLittle<std::uint16_t>(bytes + 48);
    }
    return true;
}

bool readTrailer(const std::uint8_t* bytes, std::size_t size, Trailer* trailer)
{
    *trailer = {};
    if (packetOf(bytes, size) != Packet::Trailer) {
        return false;
    }
    trailer->blockId = loadLittle<std::uint64_t>(bytes + 8);
    trailer->status = loadLittle<std::uint16_t>(bytes + 16);
    trailer->validSize = loadLittle<std::uint64_t>(bytes + 20);
    if (size >= kTrailerWithHeight) {
        trailer->height = loadLittle<std::uint32_t>(bytes + 28);
    }
    return true;
}

} // namespace usb3::wire
