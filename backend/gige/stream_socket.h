// The sockets at which a stream's packets arrive.
#pragma once

#include "gige/udp_socket.h"
#include "zel_err.h"

#include <utility>

namespace gige
{

/// A socket for the camera's packets alone, and one at the same port that counts what others send.
/// One thread at a time.
class StreamSocket
{
public:
    /// `bufferSize` bytes are asked from the system. -1020: no descriptor.
    ZelCamErr open(std::uint32_t localAddress, std::uint32_t camera, int bufferSize);
    void close();
    bool isOpen() const { return socket_.isOpen(); }
    int descriptor() const { return socket_.descriptor(); }
    std::uint16_t localPort() const { return socket_.localPort(); }
    /// Bytes that the system grants, as it counts them.
    int bufferSize() const { return granted_; }
    bool gotLess() const { return granted_ < wanted_; }

    /// The camera sends from this port. Until it is known the first packet of the camera's address
    /// that makes sense tells.
    void setCameraPort(std::uint16_t port);
    std::uint16_t cameraPort() const { return port_; }
    /// Whether every packet's sender still has to be looked at.
    bool mustCheck() const { return checking_; }
    /// Whether a packet is the camera's; learns its port from the first one that `makesSense`.
    bool admits(const Sender& sender, bool makesSense);
    /// Nothing waits that came before the sender was fixed.
    void setDrained() { checking_ = checking_ && port_ == 0; }

    /// Drops that are news, of the system's count since the socket was opened.
    std::uint32_t countDrops(std::uint32_t total) { return total - std::exchange(dropped_, total); }

    /// Throws away what waits.
    void discard();
    /// Opens the way for the camera's packets through firewalls that remember who asked.
    void traverse();
    /// Packets from others since the last call, as far as there was room to count them.
    std::uint64_t takeStrangers();

private:
    void watchStrangers();

    UdpSocket socket_;
    UdpSocket others_;
    std::uint32_t local_ = 0;
    std::uint32_t camera_ = 0;
    std::uint16_t port_ = 0; ///< 0: not known.
    bool checking_ = true;
    int wanted_ = 0;
    int granted_ = 0;
    std::uint32_t dropped_ = 0;
    std::uint32_t othersDropped_ = 0;
};

} // namespace gige
