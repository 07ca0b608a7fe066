// Puts packets on the wire, many in one call.
#pragma once

#include "simulator/gige/sent_frame.h"
#include "simulator/gige/server_socket.h"

#include <sys/socket.h>

#include <array>
#include <cstdint>

namespace simulator::gige
{

/// One for each thread that sends.
class PacketSender
{
public:
    explicit PacketSender(const ServerSocket& socket) : socket_(&socket) {}

    /// The kernel cuts runs of equal packets.
    void setSegmented(bool segmented) { segmented_ = segmented; }

    /// Sends the packets [first, end) of a frame that are there, back to back. What the system
    /// refuses is lost.
    void send(const SentFrame& frame, std::uint32_t first, std::uint32_t end, bool resent,
              const Endpoint& to);

    static constexpr std::size_t kMostPackets = 64; ///< In one call of the system.

private:
    union Control {
        cmsghdr header;
        char bytes[CMSG_SPACE(sizeof(std::uint16_t))];
    };
    void sendBatch(std::size_t packets, const Endpoint& to);
    std::size_t groupFrom(std::size_t first, std::size_t packets) const;
    void setSegmentSize(msghdr* message, Control* control, std::size_t size) const;

    const ServerSocket* socket_;
    bool segmented_ = true;
    std::array<PacketView, kMostPackets> views_;
    std::array<iovec, 2 * kMostPackets> parts_{};
    std::array<mmsghdr, kMostPackets> messages_{};
    std::array<Control, kMostPackets> controls_{};
};

} // namespace simulator::gige
