// Memory that the system writes the packets of an adapter into (TPACKET_V3).
#pragma once

#include "base/unique_fd.h"
#include "gige/udp_socket.h"
#include "zel_err.h"

#include <cstddef>
#include <cstdint>

namespace gige
{

/// Whose datagrams are wanted. Host integers; a source port of 0: of any.
struct DatagramFilter {
    std::uint32_t source = 0;
    std::uint16_t sourcePort = 0;
    std::uint32_t destination = 0;
    std::uint16_t destinationPort = 0;
};

/// Whole IPv4 UDP datagrams of one sender, seen where the adapter hands them over; the filter runs
/// in the system, so that nothing else costs a copy. Fragments are left out. Wants the right to
/// open packet sockets (CAP_NET_RAW). One thread at a time.
class PacketRing
{
public:
    /// One datagram, or several of one sender that the network has joined.
    struct Packet {
        wire::Bytes data; ///< After the UDP header; valid until the next call of next().
        /// Bytes of each datagram, the last one may be shorter; 0: not told.
        std::size_t segment = 0;
        std::uint16_t sourcePort = 0;
    };

    PacketRing() = default;
    ~PacketRing();
    PacketRing(const PacketRing&) = delete;
    PacketRing& operator=(const PacketRing&) = delete;

    /// Call once. `bytes` is rounded to whole blocks. -1005: no right to, -1020: no memory or
    /// descriptor.
    ZelCamErr open(int adapter, const DatagramFilter& filter, std::size_t bytes);
    /// From now on only what passes this one.
    bool setFilter(const DatagramFilter& filter);
    /// Readable when a block of packets is there.
    int descriptor() const { return fd_.get(); }

    /// False: nothing waits. Datagrams whose checksum is wrong are passed over.
    bool next(Packet* packet);
    /// Bytes of all blocks.
    std::size_t size() const;
    /// Datagrams that found no room since the last call.
    std::uint32_t takeDrops();

private:
    void* block() const;
    bool parse(const std::uint8_t* header, Packet* packet) const;
    void release();

    base::UniqueFd fd_;
    std::uint8_t* memory_ = nullptr;
    std::size_t blocks_ = 0;
    std::size_t block_ = 0;                ///< The one that is read or waited for.
    const std::uint8_t* packet_ = nullptr; ///< Next one in it.
    std::uint32_t left_ = 0;               ///< Packets in it.
    bool open_ = false;                    ///< It is ours at the moment.
    bool told_ = false;                    ///< The system tells sizes of joined datagrams.
    bool losing_ = false;
};

} // namespace gige
