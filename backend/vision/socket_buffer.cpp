#include "vision/socket_buffer.h"

#include <arpa/inet.h>
#include <dirent.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdlib>
#include <memory>

namespace vision
{

namespace
{

bool isUdpSocketOfPort(int fd, std::uint16_t port)
{
    int type = 0;
    socklen_t size = sizeof(type);
    sockaddr_in local{};
    socklen_t localSize = sizeof(local);
    return ::getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && type == SOCK_DGRAM &&
           ::getsockname(fd, reinterpret_cast<sockaddr*>(&local), &localSize) == 0 &&
           local.sin_family == AF_INET && ntohs(local.sin_port) == port;
}

// -1: there is none.
int socketOfPort(std::uint16_t localPort)
{
    const std::unique_ptr<DIR, int (*)(DIR*)> list(::opendir("/proc/self/fd"), ::closedir);
    while (const dirent* entry = list != nullptr ? ::readdir(list.get()) : nullptr) {
        const int fd = std::atoi(entry->d_name);
        if (entry->d_name[0] != '.' && isUdpSocketOfPort(fd, localPort)) {
            return fd;
        }
    }
    return -1;
}

} // namespace

bool enlargeReceiveBuffer(std::uint16_t localPort, int bytes)
{
    // The receiver enlarges its socket only when the first packet came, too late for a frame that
    // does not fit into the system's default.
    const int fd = socketOfPort(localPort);
    if (fd < 0) {
        return false;
    }
    int now = 0;
    socklen_t size = sizeof(now);
    // The system answers with twice what was asked for.
    if (::getsockopt(fd, SOL_SOCKET, SO_RCVBUF, &now, &size) == 0 && now / 2 < bytes &&
        ::setsockopt(fd, SOL_SOCKET, SO_RCVBUFFORCE, &bytes, sizeof(bytes)) != 0) {
        ::setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &bytes, sizeof(bytes));
    }
    return true;
}

void discardReceived(std::uint16_t localPort)
{
    constexpr int kMostPackets = 1 << 17; // More than any buffer holds.
    const int fd = socketOfPort(localPort);
    char byte = 0;
    for (int i = 0; fd >= 0 && i < kMostPackets; ++i) {
        if (::recv(fd, &byte, 1, MSG_DONTWAIT | MSG_TRUNC) < 0) {
            return;
        }
    }
}

} // namespace vision
