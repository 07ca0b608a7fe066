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
    /// Host integers.
    struct Ends {
        std::uint32_t local = 0; ///< Address of ours that the camera reaches.
        std::uint32_t camera = 0;
        std::uint32_t group = 0; ///< Multicast address that the packets go to; 0: to us alone.
        std::uint16_t port = 0;  ///< 0: any that is free.
    };

    /// `bufferSize` bytes are asked from the system. -1020: no descriptor, or the port is taken.
    ZelCamErr open(const Ends& ends, int bufferSize);
    void close();
    bool isOpen() const { return socket_.isOpen(); }
    int descriptor() const { return socket_.descriptor(); }
    std::uint16_t localPort() const { return socket_.localPort(); }
    std::uint32_t camera() const { return ends_.camera; }
    /// Where the camera sends to.
    std::uint32_t destination() const { return ends_.group != 0 ? ends_.group : ends_.local; }
    /// Bytes that the system grants, as it counts them.
    int bufferSize() const { return granted_; }
    bool gotLess() const { return granted_ < wanted_; }

    /// The camera sends from this port. Until it is known the first packet of the camera's address
    /// that makes sense tells.
    void setCameraPort(std::uint16_t port);
    std::uint16_t cameraPort() const { return port_; }
    /// Whether every packet's sender still has to be looked at.
    bool mustCheck() const { return checking_; }
    /// Whether a packet is the camera's; learns its port from the first leader.
    bool admits(const Sender& sender, wire::Bytes packet);
    /// Packets that the network has joined are handed over as they are. False: the system cannot.
    bool setJoining(bool on);
    /// The camera's packets are thrown away here: they are taken elsewhere.
    void setDeaf(bool deaf);
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
    Ends ends_;
    std::uint16_t port_ = 0; ///< 0: not known.
    bool checking_ = true;
    int wanted_ = 0;
    int granted_ = 0;
    std::uint32_t dropped_ = 0;
    std::uint32_t othersDropped_ = 0;
};

} // namespace gige
