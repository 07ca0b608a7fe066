// Packets of a stream as a camera sends them.
#pragma once

#include "gige/wire/leader.h"

#include <cstdint>
#include <vector>

namespace stream_maker
{

using Packet = std::vector<std::uint8_t>;
namespace wire = gige::wire;

constexpr std::uint32_t kWidth = 100;
constexpr std::uint32_t kHeight = 50;
constexpr std::size_t kFrame = kWidth * kHeight;
constexpr std::size_t kPacketSize = 576; // 540 bytes of data: ten packets, the last one short
constexpr std::uint32_t kPackets = 10;

inline std::uint8_t pixel(std::uint64_t frame, std::size_t at)
{
    return static_cast<std::uint8_t>(at * 7 + at / 251 + frame * 31 + 1) | 1U; // never 0
}

/// A stream's packets.
struct Maker {
    bool extended = false;

    Packet packet(std::uint64_t block, std::uint32_t id, wire::Format format,
                  const Packet& body) const
    {
        Packet bytes(wire::kExtendedStreamHeader + body.size());
        wire::Writer writer(bytes.data(), bytes.size());
        wire::StreamHeader header;
        header.format = format;
        header.extended = extended;
        header.blockId = block;
        header.packetId = id;
        wire::writeStreamHeader(header, &writer);
        writer.bytes({body.data(), body.size()});
        bytes.resize(writer.size());
        return bytes;
    }
    Packet leader(std::uint64_t block, std::uint16_t type = wire::payload::kImage) const
    {
        Packet body(64);
        wire::Writer writer(body.data(), body.size());
        wire::Leader leader;
        leader.payloadType = type;
        leader.timestamp = block * 1000;
        leader.image = {0x01080001, kWidth, kHeight, 0, 0, 0, 0};
        wire::writeLeader(leader, nullptr, &writer);
        body.resize(writer.size());
        return packet(block, 0, wire::Format::Leader, body);
    }
    Packet payload(std::uint64_t block, std::uint32_t id) const
    {
        const std::size_t data = wire::packetData(kPacketSize, extended);
        Packet body;
        for (std::size_t at = (id - 1) * data; at < std::min(kFrame, id * data); ++at) {
            body.push_back(pixel(block, at));
        }
        return packet(block, id, wire::Format::Payload, body);
    }
    Packet trailer(std::uint64_t block, std::uint32_t id = kPackets + 1) const
    {
        Packet body(8);
        wire::Writer writer(body.data(), body.size());
        wire::Trailer trailer;
        trailer.height = kHeight;
        wire::writeTrailer(trailer, &writer);
        return packet(block, id, wire::Format::Trailer, body);
    }
    /// A part that is no picture follows the one that is.
    std::vector<Packet> multiPart(std::uint64_t block) const
    {
        const std::size_t data = wire::packetData(kPacketSize, extended) - wire::kPartPrefix;
        const wire::PartEntry parts[2] = {
            {wire::kPartImage, kFrame - 100, 0, 0, 0, {0x01080001, kWidth, kHeight - 1}},
            {9, 100, 0, 0, 0, {}}};
        Packet body(200);
        wire::Writer writer(body.data(), body.size());
        wire::Leader leader;
        leader.payloadType = wire::payload::kMultiPart;
        leader.timestamp = block * 1000;
        leader.partCount = 2;
        wire::writeLeader(leader, parts, &writer);
        body.resize(writer.size());
        std::vector<Packet> packets{packet(block, 0, wire::Format::Leader, body)};
        packets[0][7] = 2; // How many.
        std::uint32_t id = 1;
        for (std::size_t part = 0, begin = 0; part < 2; begin += parts[part].length, ++part) {
            for (std::size_t at = 0; at < parts[part].length; at += data) {
                Packet bytes{static_cast<std::uint8_t>(part), 0, 0, 0, 0, 0, 0, 0};
                base::storeBig(&bytes[4], static_cast<std::uint32_t>(at));
                for (std::size_t i = at; i < std::min<std::size_t>(parts[part].length, at + data);
                     ++i) {
                    bytes.push_back(pixel(block, begin + i));
                }
                packets.push_back(packet(block, id++, wire::Format::MultiPart, bytes));
            }
        }
        packets.push_back(packet(block, id, wire::Format::Trailer, Packet(4)));
        base::storeBig(&packets.back()[packets.back().size() - 2], wire::payload::kMultiPart);
        return packets;
    }
    /// All of a frame in one packet.
    Packet allIn(std::uint64_t block) const
    {
        const Packet begin = leader(block);
        const std::size_t header = extended ? wire::kExtendedStreamHeader : wire::kStreamHeader;
        Packet body(begin.begin() + static_cast<std::ptrdiff_t>(header), begin.end());
        const Packet end = trailer(block);
        body.insert(body.end(), end.begin() + static_cast<std::ptrdiff_t>(header), end.end());
        for (std::size_t at = 0; at < kFrame; ++at) {
            body.push_back(pixel(block, at));
        }
        return packet(block, 0, wire::Format::AllIn, body);
    }
    std::vector<Packet> frame(std::uint64_t block) const
    {
        std::vector<Packet> packets{leader(block)};
        for (std::uint32_t id = 1; id <= kPackets; ++id) {
            packets.push_back(payload(block, id));
        }
        packets.push_back(trailer(block));
        return packets;
    }
};

} // namespace stream_maker
