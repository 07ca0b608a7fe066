#include "gige/stream_socket.h"

#include <netinet/in.h>
#include <netinet/udp.h>
#include <sys/socket.h>

#include <array>

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

} // namespace

ZelCamErr StreamSocket::open(std::uint32_t localAddress, std::uint32_t camera, int bufferSize)
{
    close();
    socket_ = UdpSocket(localAddress);
    if (!socket_.isOpen()) {
        return ZelErr::kGenTLResourceExhausted;
    }
    local_ = localAddress;
    camera_ = camera;
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
    if (port != 0 && socket_.connectTo(camera_, port)) {
        port_ = port;
        watchStrangers();
    }
}

bool StreamSocket::admits(const Sender& sender, bool makesSense)
{
    if (sender.address != camera_ || (port_ != 0 && sender.port != port_)) {
        return false;
    }
    if (port_ == 0 && makesSense) {
        setCameraPort(sender.port);
    }
    return true;
}

/// The system gives a packet to the socket that is connected to its sender, and only what others
/// send to the one that is not.
void StreamSocket::watchStrangers()
{
    const std::uint16_t port = socket_.localPort();
    UdpSocket others = UdpSocket::beside(socket_, local_, port);
    if (others.isOpen()) {
        setOption(others.descriptor(), SOL_SOCKET, SO_RCVBUF, kOthersBuffer);
        setOption(others.descriptor(), SOL_SOCKET, SO_RXQ_OVFL, 1);
        others_ = std::move(others);
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
