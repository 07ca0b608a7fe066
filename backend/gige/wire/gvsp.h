// Packets of a stream channel: their headers, and what stands before the data of a payload packet.
#pragma once

#include "gige/wire/bytes.h"

namespace gige::wire
{

constexpr std::size_t kStreamHeader = 8;
constexpr std::size_t kExtendedStreamHeader = 20;
/// Headers of IP and UDP, which the packet size register counts too.
constexpr std::size_t kDatagramOverhead = 28;
/// Before the data of multi-part, multi-zone and H.264 payload packets.
constexpr std::size_t kPartPrefix = 8;
/// Flag of a packet's format: 64-bit block ids.
constexpr std::uint8_t kExtendedFormat = 0x80;
/// Flags of an extended packet.
constexpr std::uint16_t kPacketResent = 0x1;
constexpr std::uint16_t kPreviousBlockDropped = 0x2;
constexpr std::uint16_t kResendRangeError = 0x4;

enum class Format : std::uint8_t {
    Leader = 1,
    Trailer = 2,
    Payload = 3,
    AllIn = 4,
    H264 = 5,
    MultiZone = 6,
    MultiPart = 7,
    GenDc = 8,
};

/// One header in either form.
struct StreamHeader {
    std::uint16_t status = 0;
    std::uint16_t flags = 0; ///< Extended form only.
    Format format = Format::Payload;
    bool extended = false;
    std::uint8_t count = 0;     ///< Leaders: parts, or additional zones.
    std::uint64_t blockId = 0;  ///< From 1 on; 0: a test packet.
    std::uint32_t packetId = 0; ///< Leader 0; 24 bits in the standard form.

    std::size_t size() const { return extended ? kExtendedStreamHeader : kStreamHeader; }
    /// No data: the answer to a request for a packet that cannot be sent again.
    bool isError() const { return (status & 0x8000U) != 0; }
};

/// False when the header is not whole or of an unknown format.
bool parseStreamHeader(Bytes datagram, StreamHeader* header);
/// Appends size() bytes.
void writeStreamHeader(const StreamHeader& header, Writer* writer);

/// Data bytes of one payload packet at a packet size (of the register) and header form.
constexpr std::size_t packetData(std::size_t packetSize, bool extended)
{
    const std::size_t overhead =
        kDatagramOverhead + (extended ? kExtendedStreamHeader : kStreamHeader);
    return packetSize > overhead ? packetSize - overhead : 0;
}

/// Before the data of a multi-part or multi-zone packet.
struct PartPrefix {
    std::uint8_t part = 0;
    std::uint8_t zone = 0;    ///< Multi-part: 0x40 end of the part, 0x3E zone.
    std::uint64_t offset = 0; ///< 48 bits.
};
bool readPartPrefix(Bytes payload, PartPrefix* prefix);
void writePartPrefix(const PartPrefix& prefix, Writer* writer);

} // namespace gige::wire
