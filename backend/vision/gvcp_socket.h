// A UDP socket for our own GigE Vision control packets.
#pragma once

#include "vision/gvcp_packet.h"

#include <chrono>
#include <cstdint>
#include <vector>

namespace vision
{

/// Milliseconds of one wait for the answer to a register read, and how often it is asked.
constexpr std::chrono::milliseconds kRegisterTimeout{200};
constexpr int kRegisterTries = 3;

/// A socket bound to one adapter's address. One thread at a time.
class GvcpSocket
{
public:
    using Clock = std::chrono::steady_clock;

    /// Port 0: any. Not open when the address is not ours (any more).
    explicit GvcpSocket(std::uint32_t localAddress, std::uint16_t port = 0);
    ~GvcpSocket();
    GvcpSocket(const GvcpSocket&) = delete;
    GvcpSocket& operator=(const GvcpSocket&) = delete;

    bool isOpen() const { return fd_ >= 0; }
    int descriptor() const { return fd_; }
    std::uint16_t localPort() const;

    bool send(const gvcp::Bytes& packet, std::uint32_t address, std::uint16_t port);
    /// Waits for a packet until the deadline; false: none came. `buffer` keeps the bytes that the
    /// packet points into; `from` and `fromPort` (may be null) receive the sender.
    bool receive(Clock::time_point deadline, gvcp::Bytes* buffer, gvcp::Packet* packet,
                 std::uint32_t* from = nullptr, std::uint16_t* fromPort = nullptr);

    /// Asks every device that the adapter reaches, twice because a packet may get lost, and
    /// collects the answers for `wait`.
    std::vector<gvcp::DiscoveryRecord> discover(std::uint32_t broadcast,
                                                std::chrono::milliseconds wait);
    /// Reads a register of a device; false: no answer or refused.
    bool readRegister(std::uint32_t device, std::uint32_t address, std::uint32_t* value);
    /// Sends FORCEIP as a broadcast, twice when the first one is not answered. -1011 when the
    /// device did not answer within `wait`, else what it answered.
    ZelCamErr forceIp(std::uint32_t broadcast, const gvcp::MacAddress& mac, std::uint32_t address,
                      std::uint32_t mask, std::uint32_t gateway, std::chrono::milliseconds wait);

private:
    void broadcastTo(std::uint32_t broadcast, const gvcp::Bytes& packet);
    std::uint16_t nextId();

    int fd_ = -1;
    std::uint16_t id_ = 0;
};

} // namespace vision
