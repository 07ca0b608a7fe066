// A frame as the packets that carry it.
#pragma once

#include "gige/wire/gvsp.h"
#include "simulator/camera_model.h"
#include "simulator/network_faults.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

namespace simulator::gige
{

namespace wire = ::gige::wire;

using FrameMemory = std::vector<unsigned char>;

/// How the packets of a stream look.
struct PacketForm {
    std::uint32_t packetSize = 0; ///< Of the register: with the headers of IP and UDP.
    bool extended = false;        ///< 64-bit block ids.
    bool allIn = false;           ///< A frame that fits is a single packet.
    bool multiPart = false;       ///< Image and chunks are parts of a multi-part payload.
};

/// Header and contents of one packet; the contents borrow from the frame.
struct PacketView {
    std::array<std::uint8_t, wire::kExtendedStreamHeader + wire::kPartPrefix> header;
    std::size_t headerSize = 0;
    wire::Bytes body;

    std::size_t size() const { return headerSize + body.size; }
};

/// Leader 0, payload packets from 1 on, then the trailer; or all in one packet 0. Immutable but for
/// the count of what was sent, so that any thread may send packets of it.
class SentFrame
{
public:
    SentFrame(std::shared_ptr<const FrameMemory> memory, const FrameLayout& layout,
              const FramePlan& plan, PacketForm form, const NetworkFaults& lies);

    std::uint64_t blockId() const { return blockId_; }
    bool isExtended() const { return form_.extended; }
    std::size_t size() const { return size_; }
    /// The last packet.
    std::uint32_t trailerId() const { return isAllIn() ? 0 : lastOf(partCount_ - 1) + 1; }
    /// Whether the packet exists; of an incomplete frame payload packets are missing.
    bool has(std::uint32_t packetId) const;
    /// A packet below trailerId() + 1. `resent`: it is sent again.
    void packet(std::uint32_t packetId, bool resent, PacketView* view) const;

    /// Packets from the first on that were sent already.
    std::uint32_t sentPackets() const { return sent_.load(std::memory_order_acquire); }
    void setSentPackets(std::uint32_t count) { sent_.store(count, std::memory_order_release); }

private:
    /// Bytes of the memory that go out in packets of their own.
    struct Part {
        std::size_t offset = 0;
        std::size_t size = 0;
        std::uint32_t first = 1; ///< Of its packets.
    };
    static constexpr std::size_t kMostParts = 2;

    void layParts(const FrameLayout& layout);
    void makeLeader(const FrameLayout& layout, LeaderLie lie);
    void makeTrailer(const FrameLayout& layout, std::uint32_t lines, TrailerLie lie);
    void packAllIn();
    bool isAllIn() const { return !allIn_.empty(); }
    std::uint32_t packetsFor(std::size_t bytes) const
    {
        return static_cast<std::uint32_t>((bytes + data_ - 1) / data_);
    }
    std::uint32_t lastOf(std::size_t part) const
    {
        return parts_[part].first + packetsFor(parts_[part].size) - 1;
    }
    void payloadPacket(wire::StreamHeader header, PacketView* view) const;

    std::shared_ptr<const FrameMemory> memory_;
    std::size_t size_ = 0;
    std::uint64_t blockId_ = 0;
    PacketForm form_;
    std::uint32_t data_ = 0; ///< Bytes in a payload packet.
    std::array<Part, kMostParts> parts_{};
    std::size_t partCount_ = 1;
    std::uint32_t lastPayload_ = 0; ///< That is there.
    std::array<std::uint8_t, 128> leader_{};
    std::array<std::uint8_t, 64> trailer_{};
    std::vector<std::uint8_t> allIn_; ///< Leader, trailer and data, when they are one packet.
    std::size_t leaderSize_ = 0;
    std::size_t trailerSize_ = 0;
    bool trailerIsFar_ = false;
    std::atomic<std::uint32_t> sent_{0};
};

/// The answer to a request for a packet that cannot be sent again, or a test packet with block 0.
PacketView emptyPacket(std::uint16_t status, std::uint64_t blockId, std::uint32_t packetId,
                       bool extended);

/// The number of a frame on the wire, counted from 1; 16 bits wrap from 65535 to 1.
std::uint64_t blockIdOf(std::uint64_t frameId, bool extended);

} // namespace simulator::gige
