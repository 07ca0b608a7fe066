#include "gvcp_responder.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

namespace
{

using Clock = std::chrono::steady_clock;

constexpr std::uint16_t kPort = 3956;
constexpr std::array<std::uint8_t, 6> kMac{0x02, 0x5a, 0x43, 0x10, 0x20, 0x30};

int openSocket(std::uint32_t address)
{
    const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const int on = 1;
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_addr.s_addr = htonl(address);
    local.sin_port = htons(kPort);
    ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    if (::bind(fd, reinterpret_cast<const sockaddr*>(&local), sizeof(local)) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

void put32(std::uint8_t* at, std::uint32_t value)
{
    const std::uint32_t big = htonl(value);
    std::memcpy(at, &big, sizeof(big));
}

std::uint32_t get32(const std::uint8_t* at)
{
    std::uint32_t big = 0;
    std::memcpy(&big, at, sizeof(big));
    return ntohl(big);
}

/// Header of an acknowledge with room for `size` bytes.
std::vector<std::uint8_t> acknowledge(std::uint16_t status, std::uint8_t command, std::uint8_t size,
                                      const std::uint8_t* id)
{
    std::vector<std::uint8_t> bytes(8U + size, 0);
    bytes[0] = static_cast<std::uint8_t>(status >> 8U);
    bytes[1] = static_cast<std::uint8_t>(status & 0xFFU);
    bytes[3] = command;
    bytes[5] = size;
    bytes[6] = id[0];
    bytes[7] = id[1];
    return bytes;
}

} // namespace

GvcpResponder::GvcpResponder(std::uint32_t address, const Manners& manners)
    : manners_(manners), address_(address), broadcast_(openSocket(INADDR_BROADCAST)),
      own_(openSocket(address)), ready_(broadcast_ >= 0 && own_ >= 0), thread_([this] { run(); })
{
}

GvcpResponder::~GvcpResponder()
{
    ending_ = true;
    thread_.join();
    ::close(broadcast_);
    ::close(own_);
}

void GvcpResponder::run()
{
    while (!ending_) {
        std::array<pollfd, 2> wait{pollfd{broadcast_, POLLIN, 0}, pollfd{own_, POLLIN, 0}};
        if (::poll(wait.data(), wait.size(), 20) <= 0) {
            continue;
        }
        for (const pollfd& ready : wait) {
            if ((ready.revents & POLLIN) != 0) {
                handle(ready.fd);
            }
        }
    }
}

void GvcpResponder::handle(int socket)
{
    std::array<std::uint8_t, 1024> packet{};
    sockaddr_in from{};
    socklen_t size = sizeof(from);
    const ssize_t got = ::recvfrom(socket, packet.data(), packet.size(), 0,
                                   reinterpret_cast<sockaddr*>(&from), &size);
    if (got < 8 || packet[0] != 0x42 || Clock::now() < backAt_) {
        return;
    }
    const bool forced =
        packet[3] == 0x04 && got == 64 && std::equal(kMac.begin(), kMac.end(), &packet[10]);
    std::vector<std::uint8_t> answer;
    if (packet[3] == 0x02) { // discovery
        answer = acknowledge(0, 0x03, 0xF8, &packet[6]);
        std::copy(kMac.begin(), kMac.end(), answer.begin() + 8 + 0x0A);
        put32(&answer[8 + 0x24], address_);
        put32(&answer[8 + 0x34], mask_);
        put32(&answer[8 + 0x44], gateway_);
        std::memcpy(&answer[8 + 0x48], "Zelcam", 6);
        std::memcpy(&answer[8 + 0x68], "Responder", 9);
        std::memcpy(&answer[8 + 0xD8], "RESP1", 5);
    } else if (packet[3] == 0x80) { // one register
        answer = acknowledge(0, 0x81, 4, &packet[6]);
        put32(&answer[8], manners_.privilege);
    } else if (forced) {
        ++forceIps_;
        if (manners_.answers) {
            answer = acknowledge(manners_.status, 0x05, 0, &packet[6]);
        }
    }
    if (!answer.empty()) {
        ::sendto(own_, answer.data(), answer.size(), 0, reinterpret_cast<const sockaddr*>(&from),
                 size);
    }
    if (forced && manners_.moves && manners_.status == 0) {
        address_ = get32(&packet[28]);
        mask_ = get32(&packet[44]);
        gateway_ = get32(&packet[60]);
        ::close(own_);
        own_ = openSocket(address_);
        backAt_ = Clock::now() + manners_.away;
    }
}
