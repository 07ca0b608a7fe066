// A UDP socket for control packets.
#pragma once

#include "base/unique_fd.h"
#include "gige/wire/bytes.h"

#include <chrono>
#include <cstdint>

namespace gige
{

/// Of all times here.
using Clock = std::chrono::steady_clock;

/// Where a datagram came from. Host integers.
struct Sender {
    std::uint32_t address = 0;
    std::uint16_t port = 0;
    int adapter = 0; ///< Number of the adapter by which it came; needs tellAdapters().
};

/// Datagrams above this size are cut: no control packet is larger.
constexpr std::size_t kLongestControlPacket = 2048;

/// Non-blocking and closed on exec. One thread at a time, but for send(). Addresses are host
/// integers.
class UdpSocket
{
public:
    /// Not open, as is one whose opening failed.
    UdpSocket() = default;
    /// Bound to an address of ours (0: any) and a port (0: any).
    explicit UdpSocket(std::uint32_t localAddress, std::uint16_t port = 0);

    /// One at the address and port of `first`, which is connected: it gets what others send there.
    static UdpSocket beside(UdpSocket& first, std::uint32_t localAddress, std::uint16_t port);

    /// At a multicast address and a port (0: any), which others on this host may share, for what
    /// comes by the adapter with the address `localAddress`.
    static UdpSocket inGroup(std::uint32_t localAddress, std::uint32_t group, std::uint16_t port);

    bool isOpen() const { return static_cast<bool>(fd_); }
    int descriptor() const { return fd_.get(); }
    std::uint16_t localPort() const;
    std::uint32_t localAddress() const;

    /// From now on only this sender's datagrams are received.
    bool connectTo(std::uint32_t address, std::uint16_t port);
    /// Broadcasts may be sent, and Sender::adapter is told.
    bool tellAdapters();

    /// To the connected end.
    bool send(wire::Bytes datagram) const;
    bool sendTo(wire::Bytes datagram, std::uint32_t address, std::uint16_t port) const;
    /// Out of the adapter with this number, from this address of ours, whatever the routes say.
    bool sendBy(int adapter, std::uint32_t from, wire::Bytes datagram, std::uint32_t address,
                std::uint16_t port) const;

    /// Waits for a datagram until the deadline, through signals, and puts it into `buffer`
    /// (kLongestControlPacket bytes); empty: none came, or `wake` (a descriptor, -1: none) became
    /// readable.
    wire::Bytes receive(Clock::time_point deadline, std::uint8_t* buffer, Sender* sender = nullptr,
                        int wake = -1);

private:
    base::UniqueFd fd_;
};

/// The address of ours from which packets to `address` are sent; 0: there is no way to it.
std::uint32_t localAddressTowards(std::uint32_t address);

/// Waits until `fd` or `wake` (-1: none) is readable or the deadline passed; true: `fd` is.
bool waitReadable(int fd, int wake, Clock::time_point deadline);

} // namespace gige
