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
};

/// Header and contents of one packet; the contents borrow from the frame.
struct PacketView {
    std::array<std::uint8_t, wire::kExtendedStreamHeader> header;
    std::size_t headerSize = 0;
    wire::Bytes body;

    std::size_t size() const { return headerSize + body.size; }
};

/// Leader 0, payload packets from 1 on, then the trailer. Immutable but for the count of what was
/// sent, so that any thread may send packets of it.
class SentFrame
{
public:
    SentFrame(std::shared_ptr<const FrameMemory> memory, const FrameLayout& layout,
              const FramePlan& plan, PacketForm form, const NetworkFaults& lies);

    std::uint64_t blockId() const { return blockId_; }
    bool isExtended() const { return form_.extended; }
    std::size_t size() const { return size_; }
    std::uint32_t trailerId() const { return payloadPackets_ + 1; }
    /// Whether the packet exists; of an incomplete frame payload packets are missing.
    bool has(std::uint32_t packetId) const;
    /// A packet below trailerId() + 1. `resent`: it is sent again.
    void packet(std::uint32_t packetId, bool resent, PacketView* view) const;

    /// Packets from the first on that were sent already.
    std::uint32_t sentPackets() const { return sent_.load(std::memory_order_acquire); }
    void setSentPackets(std::uint32_t count) { sent_.store(count, std::memory_order_release); }

private:
    void makeLeader(const FrameLayout& layout, LeaderLie lie);
    void makeTrailer(const FrameLayout& layout, std::uint32_t lines, TrailerLie lie);

    std::shared_ptr<const FrameMemory> memory_;
    std::size_t size_ = 0;
    std::uint64_t blockId_ = 0;
    PacketForm form_;
    std::uint32_t data_ = 0; ///< Bytes in a payload packet.
    std::uint32_t payloadPackets_ = 0;
    std::uint32_t lastPayload_ = 0; ///< That is there.
    std::array<std::uint8_t, 64> leader_{};
    std::array<std::uint8_t, 64> trailer_{};
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
