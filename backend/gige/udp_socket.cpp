#include "gige/udp_socket.h"

#include "gige/wire/gvcp.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace gige
{

namespace
{

sockaddr_in endpoint(std::uint32_t address, std::uint16_t port)
{
    sockaddr_in in{};
    in.sin_family = AF_INET;
    in.sin_addr.s_addr = htonl(address);
    in.sin_port = htons(port);
    return in;
}

/// A datagram, its other end, and the adapter that it comes or goes by, as the system wants them.
class Message
{
public:
    Message(void* data, std::size_t size, const sockaddr_in& peer) : peer_(peer), data_{data, size}
    {
        header_.msg_name = &peer_;
        header_.msg_namelen = sizeof peer_;
        header_.msg_iov = &data_;
        header_.msg_iovlen = 1;
        header_.msg_control = control_.data();
        header_.msg_controllen = control_.size();
    }
    Message(const Message&) = delete;
    Message& operator=(const Message&) = delete;

    msghdr* header() { return &header_; }

    void goBy(int adapter, std::uint32_t from)
    {
        cmsghdr* const part = CMSG_FIRSTHDR(&header_);
        part->cmsg_level = IPPROTO_IP;
        part->cmsg_type = IP_PKTINFO;
        part->cmsg_len = CMSG_LEN(sizeof(in_pktinfo));
        in_pktinfo info{};
        info.ipi_ifindex = adapter;
        info.ipi_spec_dst.s_addr = htonl(from);
        std::memcpy(CMSG_DATA(part), &info, sizeof info);
    }

    Sender cameFrom()
    {
        Sender sender{ntohl(peer_.sin_addr.s_addr), ntohs(peer_.sin_port), 0};
        for (cmsghdr* part = CMSG_FIRSTHDR(&header_); part != nullptr;
             part = CMSG_NXTHDR(&header_, part)) {
            if (part->cmsg_level == IPPROTO_IP && part->cmsg_type == IP_PKTINFO) {
                in_pktinfo info{};
                std::memcpy(&info, CMSG_DATA(part), sizeof info);
                sender.adapter = info.ipi_ifindex;
            }
        }
        return sender;
    }

private:
    sockaddr_in peer_;
    iovec data_;
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(in_pktinfo))> control_{};
    msghdr header_{};
};

timespec until(Clock::time_point deadline)
{
    const auto left = std::max(Clock::duration::zero(), deadline - Clock::now());
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
    timespec time{};
    time.tv_sec = seconds.count();
    time.tv_nsec = std::chrono::duration_cast<std::chrono::nanoseconds>(left - seconds).count();
    return time;
}

sockaddr_in localEnd(int fd)
{
    sockaddr_in local{};
    socklen_t size = sizeof local;
    return ::getsockname(fd, reinterpret_cast<sockaddr*>(&local), &size) == 0 ? local
                                                                              : sockaddr_in{};
}

} // namespace

std::uint32_t localAddressTowards(std::uint32_t address)
{
    UdpSocket socket(0);
    // Connecting sends nothing; it looks the way up.
    return socket.isOpen() && socket.connectTo(address, wire::kControlPort) ? socket.localAddress()
                                                                            : 0;
}

bool waitReadable(int fd, int wake, Clock::time_point deadline)
{
    std::array<pollfd, 2> wait{pollfd{fd, POLLIN, 0}, pollfd{wake, POLLIN, 0}};
    for (;;) {
        const timespec left = until(deadline);
        const int ready = ::ppoll(wait.data(), wait.size(), &left, nullptr);
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        return ready > 0 && wait[1].revents == 0 && wait[0].revents != 0;
    }
}

UdpSocket::UdpSocket(std::uint32_t localAddress, std::uint16_t port)
    : fd_(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0))
{
    const sockaddr_in local = endpoint(localAddress, port);
    if (fd_ && ::bind(fd_.get(), reinterpret_cast<const sockaddr*>(&local), sizeof local) != 0) {
        fd_.reset();
    }
}

UdpSocket UdpSocket::inGroup(std::uint32_t localAddress, std::uint32_t group, std::uint16_t port)
{
    UdpSocket socket;
    socket.fd_ = base::UniqueFd(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const auto set = [&socket](int level, int name, const auto& value) {
        return ::setsockopt(socket.descriptor(), level, name, &value, sizeof value) == 0;
    };
    const sockaddr_in where = endpoint(group, port);
    ip_mreq membership{};
    membership.imr_multiaddr.s_addr = htonl(group);
    membership.imr_interface.s_addr = htonl(localAddress);
    if (!socket.isOpen() || !set(SOL_SOCKET, SO_REUSEADDR, 1) ||
        ::bind(socket.descriptor(), reinterpret_cast<const sockaddr*>(&where), sizeof where) != 0 ||
        !set(IPPROTO_IP, IP_MULTICAST_ALL, 0) || !set(IPPROTO_IP, IP_ADD_MEMBERSHIP, membership)) {
        socket.fd_.reset();
    }
    return socket;
}

UdpSocket UdpSocket::beside(UdpSocket& first, std::uint32_t localAddress, std::uint16_t port)
{
    const auto share = [](int fd, int on) {
        return ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) == 0;
    };
    UdpSocket second;
    second.fd_ = base::UniqueFd(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const sockaddr_in local = endpoint(localAddress, port);
    // Shared for this moment only, so that nobody else can listen there.
    const bool bound =
        second.fd_ && share(first.fd_.get(), 1) && share(second.fd_.get(), 1) &&
        ::bind(second.fd_.get(), reinterpret_cast<const sockaddr*>(&local), sizeof local) == 0;
    share(first.fd_.get(), 0);
    if (bound) {
        share(second.fd_.get(), 0);
    } else {
        second.fd_.reset();
    }
    return second;
}

std::uint16_t UdpSocket::localPort() const { return ntohs(localEnd(fd_.get()).sin_port); }

std::uint32_t UdpSocket::localAddress() const { return ntohl(localEnd(fd_.get()).sin_addr.s_addr); }

bool UdpSocket::connectTo(std::uint32_t address, std::uint16_t port)
{
    const sockaddr_in to = endpoint(address, port);
    return ::connect(fd_.get(), reinterpret_cast<const sockaddr*>(&to), sizeof to) == 0;
}

bool UdpSocket::tellAdapters()
{
    const int on = 1;
    return ::setsockopt(fd_.get(), SOL_SOCKET, SO_BROADCAST, &on, sizeof on) == 0 &&
           ::setsockopt(fd_.get(), IPPROTO_IP, IP_PKTINFO, &on, sizeof on) == 0;
}

bool UdpSocket::send(wire::Bytes datagram) const
{
    // A refusal that an earlier datagram met is reported by the next call, once.
    for (int i = 0; i < 2; ++i) {
        const ssize_t sent = ::send(fd_.get(), datagram.data, datagram.size, MSG_NOSIGNAL);
        if (sent == static_cast<ssize_t>(datagram.size)) {
            return true;
        }
        if (errno != ECONNREFUSED && errno != EINTR) {
            return false;
        }
    }
    return false;
}

bool UdpSocket::sendTo(wire::Bytes datagram, std::uint32_t address, std::uint16_t port) const
{
    const sockaddr_in to = endpoint(address, port);
    return ::sendto(fd_.get(), datagram.data, datagram.size, MSG_NOSIGNAL,
                    reinterpret_cast<const sockaddr*>(&to),
                    sizeof to) == static_cast<ssize_t>(datagram.size);
}

bool UdpSocket::sendBy(int adapter, std::uint32_t from, wire::Bytes datagram, std::uint32_t address,
                       std::uint16_t port) const
{
    Message message(const_cast<std::uint8_t*>(datagram.data), datagram.size,
                    endpoint(address, port));
    message.goBy(adapter, from);
    return ::sendmsg(fd_.get(), message.header(), MSG_NOSIGNAL) ==
           static_cast<ssize_t>(datagram.size);
}

wire::Bytes UdpSocket::receive(Clock::time_point deadline, std::uint8_t* buffer, Sender* sender,
                               int wake)
{
    while (isOpen() && waitReadable(fd_.get(), wake, deadline)) {
        Message message(buffer, kLongestControlPacket, {});
        const ssize_t got = ::recvmsg(fd_.get(), message.header(), MSG_DONTWAIT);
        if (got > 0) {
            if (sender != nullptr) {
                *sender = message.cameFrom();
            }
            return {buffer, static_cast<std::size_t>(got)};
        }
        // Empty datagrams, refusals that an earlier datagram of ours met, signals.
        if (Clock::now() >= deadline) {
            break;
        }
    }
    return {};
}

} // namespace gige
