#include "gige/wire/gvsp.h"

namespace gige::wire
{

namespace
{
constexpr std::uint8_t kFirstFormat = 1;
constexpr std::uint8_t kLastFormat = 8;
constexpr std::uint32_t kShortPacketId = 0xFFFFFFU;
} // namespace

bool parseStreamHeader(Bytes datagram, StreamHeader* header)
{
    const std::uint8_t format = datagram.u8(4);
    const auto plain = static_cast<std::uint8_t>(format & 0x7FU);
    if (datagram.size < kStreamHeader || plain < kFirstFormat || plain > kLastFormat) {
        return false;
    }
    header->status = datagram.u16(0);
    header->format = static_cast<Format>(plain);
    header->extended = (format & kExtendedFormat) != 0;
    header->count = datagram.u8(7);
    if (header->extended) {
        header->flags = datagram.u16(2);
        header->blockId = datagram.u64(8);
        header->packetId = datagram.u32(16);
        return datagram.size >= kExtendedStreamHeader;
    }
    header->flags = 0;
    header->blockId = datagram.u16(2);
    header->packetId = datagram.u32(4) & kShortPacketId;
    // A leader's id is 0, and the count stands in its last byte.
    if (header->format == Format::Leader) {
        header->packetId &= ~std::uint32_t{0xFF};
    }
    return true;
}

void writeStreamHeader(const StreamHeader& header, Writer* writer)
{
    const auto format = static_cast<std::uint8_t>(header.format);
    writer->u16(header.status);
    if (header.extended) {
        writer->u16(header.flags).u8(static_cast<std::uint8_t>(format | kExtendedFormat));
        writer->u16(0).u8(header.count).u64(header.blockId).u32(header.packetId);
        return;
    }
    const std::uint32_t id =
        (header.packetId & kShortPacketId) | (header.format == Format::Leader ? header.count : 0U);
    writer->u16(static_cast<std::uint16_t>(header.blockId)).u32(std::uint32_t{format} << 24U | id);
}

bool readPartPrefix(Bytes payload, PartPrefix* prefix)
{
    prefix->part = payload.u8(0);
    prefix->zone = payload.u8(1);
    prefix->offset = payload.u48(2);
    return payload.size >= kPartPrefix;
}

void writePartPrefix(const PartPrefix& prefix, Writer* writer)
{
    writer->u8(prefix.part).u8(prefix.zone).u48(prefix.offset);
}

} // namespace gige::wire
