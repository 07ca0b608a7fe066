#include "gige/stream_socket.h"

#include "gige/wire/leader.h"

#include <linux/filter.h>
#include <netinet/in.h>
#include <netinet/udp.h>
#include <sys/socket.h>

#include <array>

#ifndef UDP_GRO
#define UDP_GRO 104
#endif

namespace gige
{

namespace
{

constexpr int kMostDiscarded = 1 << 20;
constexpr int kMostCounted = 4096;
constexpr int kOthersBuffer = 65536;

void setOption(int fd, int level, int name, int value)
{
    ::setsockopt(fd, level, name, &value, sizeof value);
}

/// Whether a packet is a leader as cameras send them: nothing else tells where a camera sends from.
bool beginsFrame(wire::Bytes packet)
{
    wire::StreamHeader header;
    wire::Leader leader;
    return wire::parseStreamHeader(packet, &header) && header.format == wire::Format::Leader &&
           wire::readLeader(header, packet.from(header.size()), &leader) &&
           wire::leaderSize(leader.payloadType) != 0;
}

/// Nothing that is sent from this address to the group reaches the socket, nor counts as an error.
bool block(const UdpSocket& socket, const StreamSocket::Ends& ends)
{
    ip_mreq_source source{};
    source.imr_multiaddr.s_addr = htonl(ends.group);
    source.imr_interface.s_addr = htonl(ends.local);
    source.imr_sourceaddr.s_addr = htonl(ends.camera);
    return ::setsockopt(socket.descriptor(), IPPROTO_IP, IP_BLOCK_SOURCE, &source, sizeof source) ==
           0;
}

} // namespace

ZelCamErr StreamSocket::open(const Ends& ends, int bufferSize)
{
    close();
    socket_ = ends.group != 0 ? UdpSocket::inGroup(ends.local, ends.group, ends.port)
                              : UdpSocket(ends.local, ends.port);
    if (!socket_.isOpen()) {
        return ZelErr::kGenTLResourceExhausted;
    }
    ends_ = ends;
    const int fd = socket_.descriptor();
    setOption(fd, SOL_SOCKET, SO_RCVBUF, bufferSize);
    // The system counts its own memory for each packet too, and doubles what it is asked for.
    wanted_ = 2 * bufferSize;
    socklen_t size = sizeof granted_;
    ::getsockopt(fd, SOL_SOCKET, SO_RCVBUF, &granted_, &size);
    if (gotLess()) {
        setOption(fd, SOL_SOCKET, SO_RCVBUFFORCE, bufferSize); // With the right to.
        ::getsockopt(fd, SOL_SOCKET, SO_RCVBUF, &granted_, &size);
    }
    setOption(fd, SOL_SOCKET, SO_RXQ_OVFL, 1);
    return ZelErr::kOk;
}

void StreamSocket::close()
{
    socket_ = {};
    others_ = {};
    port_ = 0;
    checking_ = true;
    dropped_ = othersDropped_ = 0;
}

void StreamSocket::setCameraPort(std::uint16_t port)
{
    if (port != 0 && socket_.connectTo(ends_.camera, port)) {
        port_ = port;
        watchStrangers();
    }
}

bool StreamSocket::admits(const Sender& sender, wire::Bytes packet)
{
    if (sender.address != ends_.camera || (port_ != 0 && sender.port != port_)) {
        return false;
    }
    if (port_ == 0 && beginsFrame(packet)) {
        setCameraPort(sender.port);
    }
    return true;
}

void StreamSocket::setDeaf(bool deaf)
{
    sock_filter nothing{BPF_RET | BPF_K, 0, 0, 0};
    const sock_fprog program{1, &nothing};
    const int none = 0;
    if (isOpen()) {
        ::setsockopt(descriptor(), SOL_SOCKET, deaf ? SO_ATTACH_FILTER : SO_DETACH_FILTER,
                     deaf ? static_cast<const void*>(&program) : &none,
                     deaf ? sizeof program : sizeof none);
        setJoining(deaf); // Nothing is cut to pieces that are thrown away.
    }
}

bool StreamSocket::setJoining(bool on)
{
    const int value = on ? 1 : 0;
    return ::setsockopt(descriptor(), SOL_UDP, UDP_GRO, &value, sizeof value) == 0;
}

/// The system gives a packet to the socket that is connected to its sender, and only what others
/// send to the one that is not. Packets to a group go to all of its sockets.
void StreamSocket::watchStrangers()
{
    const std::uint16_t port = socket_.localPort();
    UdpSocket others = ends_.group != 0 ? UdpSocket::inGroup(ends_.local, ends_.group, port)
                                        : UdpSocket::beside(socket_, ends_.local, port);
    if (others.isOpen() && (ends_.group == 0 || block(others, ends_))) {
        setOption(others.descriptor(), SOL_SOCKET, SO_RCVBUF, kOthersBuffer);
        setOption(others.descriptor(), SOL_SOCKET, SO_RXQ_OVFL, 1);
        others_ = std::move(others);
        static_cast<void>(takeStrangers()); // Of the group, until now.
    }
}

void StreamSocket::discard()
{
    std::uint8_t byte = 0;
    for (int i = 0; i < kMostDiscarded &&
                    ::recv(descriptor(), &byte, sizeof byte, MSG_DONTWAIT | MSG_TRUNC) >= 0;
         ++i) {
    }
    checking_ = port_ == 0;
}

void StreamSocket::traverse()
{
    const std::array<std::uint8_t, 8> nothing{};
    if (port_ != 0) {
        socket_.send({nothing.data(), nothing.size()});
    }
}

std::uint64_t StreamSocket::takeStrangers()
{
    if (!others_.isOpen()) {
        return 0;
    }
    std::uint64_t count = 0;
    for (int i = 0; i < kMostCounted; ++i) {
        std::uint8_t byte = 0;
        iovec data{&byte, sizeof byte};
        alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(std::uint32_t))> control{};
        msghdr message{};
        message.msg_iov = &data;
        message.msg_iovlen = 1;
        message.msg_control = control.data();
        message.msg_controllen = control.size();
        if (::recvmsg(others_.descriptor(), &message, MSG_DONTWAIT) < 0) {
            break;
        }
        ++count;
        const cmsghdr* const part = CMSG_FIRSTHDR(&message);
        if (part != nullptr && part->cmsg_level == SOL_SOCKET && part->cmsg_type == SO_RXQ_OVFL) {
            std::uint32_t dropped = 0;
            std::memcpy(&dropped, CMSG_DATA(part), sizeof dropped);
            count += dropped - othersDropped_;
            othersDropped_ = dropped;
        }
    }
    return count;
}

} // namespace gige
