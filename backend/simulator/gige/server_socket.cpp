#include "simulator/gige/server_socket.h"

#include <linux/filter.h>
#include <sys/socket.h>

#include <cerrno>
#include <system_error>

namespace simulator::gige
{

sockaddr_in Endpoint::toSocket() const
{
    sockaddr_in socket{};
    socket.sin_family = AF_INET;
    socket.sin_addr.s_addr = htonl(address);
    socket.sin_port = htons(port);
    return socket;
}

Endpoint Endpoint::of(const sockaddr_in& address)
{
    return {ntohl(address.sin_addr.s_addr), ntohs(address.sin_port)};
}

ServerSocket::ServerSocket(Endpoint local, bool shared, const std::string& device)
    : fd_(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0))
{
    const auto require = [](bool good, const char* what) {
        if (!good) {
            throw std::system_error(errno, std::generic_category(), what);
        }
    };
    require(isOpen(), "socket");
    const int yes = 1;
    if (shared) {
        ::setsockopt(fd(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    }
    if (!device.empty()) { // not permitted everywhere, and only a filter
        ::setsockopt(fd(), SOL_SOCKET, SO_BINDTODEVICE, device.c_str(),
                     static_cast<socklen_t>(device.size()));
    }
    const sockaddr_in address = local.toSocket();
    require(::bind(fd(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0, "bind");
    sockaddr_in bound{};
    socklen_t size = sizeof bound;
    require(::getsockname(fd(), reinterpret_cast<sockaddr*>(&bound), &size) == 0, "getsockname");
    local_ = Endpoint::of(bound);
    const in_addr multicast{htonl(local.address)};
    ::setsockopt(fd(), IPPROTO_IP, IP_MULTICAST_IF, &multicast, sizeof multicast);
}

bool ServerSocket::send(const Endpoint& to, wire::Bytes data) const
{
    const sockaddr_in address = to.toSocket();
    return ::sendto(fd(), data.data, data.size, MSG_NOSIGNAL,
                    reinterpret_cast<const sockaddr*>(&address), sizeof address) >= 0;
}

bool ServerSocket::receive(std::uint8_t* data, std::size_t capacity, std::size_t* size,
                           Endpoint* from) const
{
    sockaddr_in address{};
    socklen_t addressSize = sizeof address;
    const ssize_t got = ::recvfrom(fd(), data, capacity, MSG_DONTWAIT,
                                   reinterpret_cast<sockaddr*>(&address), &addressSize);
    if (got < 0) {
        return false;
    }
    *size = static_cast<std::size_t>(got);
    *from = Endpoint::of(address);
    return true;
}

void ServerSocket::allowBroadcast() const
{
    const int yes = 1;
    ::setsockopt(fd(), SOL_SOCKET, SO_BROADCAST, &yes, sizeof yes);
}

void ServerSocket::dropInput() const
{
    sock_filter nothing = {BPF_RET | BPF_K, 0, 0, 0};
    const sock_fprog program{1, &nothing};
    ::setsockopt(fd(), SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program);
}

void ServerSocket::setDoNotFragment(bool drop) const
{
    const int mode = drop ? IP_PMTUDISC_DO : IP_PMTUDISC_DONT;
    ::setsockopt(fd(), IPPROTO_IP, IP_MTU_DISCOVER, &mode, sizeof mode);
}

} // namespace simulator::gige
