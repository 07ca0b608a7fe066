#include "vision/gvcp_socket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>

namespace vision
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

constexpr std::uint32_t kLimitedBroadcast = 0xFFFFFFFF;

} // namespace

GvcpSocket::GvcpSocket(std::uint32_t localAddress, std::uint16_t port)
    : fd_(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0))
{
    const int on = 1;
    const sockaddr_in local = endpoint(localAddress, port);
    if (fd_ >= 0 && (::setsockopt(fd_, SOL_SOCKET, SO_BROADCAST, &on, sizeof(on)) != 0 ||
                     ::bind(fd_, reinterpret_cast<const sockaddr*>(&local), sizeof(local)) != 0)) {
        ::close(fd_);
        fd_ = -1;
    }
}

GvcpSocket::~GvcpSocket()
{
    if (fd_ >= 0) {
        ::close(fd_);
    }
}

std::uint16_t GvcpSocket::localPort() const
{
    sockaddr_in local{};
    socklen_t size = sizeof(local);
    return ::getsockname(fd_, reinterpret_cast<sockaddr*>(&local), &size) == 0
               ? ntohs(local.sin_port)
               : std::uint16_t{0};
}

std::uint16_t GvcpSocket::nextId()
{
    // Id 0 is not allowed in a command that wants an answer.
    id_ = id_ == 0xFFFF ? std::uint16_t{1} : static_cast<std::uint16_t>(id_ + 1);
    return id_;
}

bool GvcpSocket::send(const gvcp::Bytes& packet, std::uint32_t address, std::uint16_t port)
{
    const sockaddr_in to = endpoint(address, port);
    return fd_ >= 0 && ::sendto(fd_, packet.data(), packet.size(), MSG_NOSIGNAL,
                                reinterpret_cast<const sockaddr*>(&to),
                                sizeof(to)) == static_cast<ssize_t>(packet.size());
}

bool GvcpSocket::receive(Clock::time_point deadline, gvcp::Bytes* buffer, gvcp::Packet* packet,
                         std::uint32_t* from, std::uint16_t* fromPort)
{
    while (fd_ >= 0) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd wait{fd_, POLLIN, 0};
        // One millisecond is added because the division rounds down and a wait must not be short.
        if (left < 0 || ::poll(&wait, 1, static_cast<int>(left) + 1) <= 0) {
            return false;
        }
        buffer->resize(2048);
        sockaddr_in sender{};
        socklen_t size = sizeof(sender);
        const ssize_t got = ::recvfrom(fd_, buffer->data(), buffer->size(), 0,
                                       reinterpret_cast<sockaddr*>(&sender), &size);
        if (got <= 0 || !gvcp::parse(buffer->data(), static_cast<std::size_t>(got), packet)) {
            continue;
        }
        if (from != nullptr) {
            *from = ntohl(sender.sin_addr.s_addr);
        }
        if (fromPort != nullptr) {
            *fromPort = ntohs(sender.sin_port);
        }
        return true;
    }
    return false;
}

void GvcpSocket::broadcastTo(std::uint32_t broadcast, const gvcp::Bytes& packet)
{
    // The limited broadcast leaves by the adapter that the socket is bound to; cameras of another
    // subnet hear it too. Some listen only to the directed one.
    send(packet, kLimitedBroadcast, gvcp::kPort);
    if (broadcast != 0) {
        send(packet, broadcast, gvcp::kPort);
    }
}

std::vector<gvcp::DiscoveryRecord> GvcpSocket::discover(std::uint32_t broadcast,
                                                        std::chrono::milliseconds wait)
{
    std::vector<gvcp::DiscoveryRecord> found;
    const gvcp::Bytes request = gvcp::makeCommand(
        gvcp::Command::Discovery, gvcp::kFlagAckRequired | gvcp::kFlagBroadcastAck, nextId());
    const Clock::time_point start = Clock::now();
    gvcp::Bytes buffer;
    gvcp::Packet packet;
    for (const Clock::time_point deadline : {start + wait / 2, start + wait}) {
        broadcastTo(broadcast, request);
        while (receive(deadline, &buffer, &packet)) {
            gvcp::DiscoveryRecord record;
            const auto same = [&record](const gvcp::DiscoveryRecord& other) {
                return other.mac == record.mac && other.address == record.address &&
                       other.serialNumber == record.serialNumber;
            };
            if (gvcp::parseDiscovery(packet, &record) &&
                std::none_of(found.begin(), found.end(), same)) {
                found.push_back(record);
            }
        }
    }
    return found;
}

bool GvcpSocket::readRegister(std::uint32_t device, std::uint32_t address, std::uint32_t* value)
{
    gvcp::Bytes buffer;
    gvcp::Packet packet;
    for (int attempt = 0; attempt < kRegisterTries; ++attempt) {
        const std::uint16_t id = nextId();
        if (!send(gvcp::makeReadRegister(id, address), device, gvcp::kPort)) {
            return false;
        }
        const Clock::time_point deadline = Clock::now() + kRegisterTimeout;
        while (receive(deadline, &buffer, &packet)) {
            if (packet.command == gvcp::Command::ReadRegisterAck && packet.id == id) {
                if (packet.status != 0 || packet.size < 4) {
                    return false;
                }
                *value = gvcp::load32(packet.payload);
                return true;
            }
        }
    }
    return false;
}

ZelCamErr GvcpSocket::forceIp(std::uint32_t broadcast, const gvcp::MacAddress& mac,
                              std::uint32_t address, std::uint32_t mask, std::uint32_t gateway,
                              std::chrono::milliseconds wait)
{
    const std::uint16_t id = nextId();
    const gvcp::Bytes request = gvcp::makeForceIp(id, mac, address, mask, gateway);
    const Clock::time_point start = Clock::now();
    gvcp::Bytes buffer;
    gvcp::Packet packet;
    for (const Clock::time_point deadline : {start + wait / 2, start + wait}) {
        broadcastTo(broadcast, request);
        while (receive(deadline, &buffer, &packet)) {
            if (packet.command == gvcp::Command::ForceIpAck && packet.id == id) {
                return gvcp::codeOf(packet.status);
            }
        }
    }
    return ZelErr::kGenTLTimeout;
}

} // namespace vision
