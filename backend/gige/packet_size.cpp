#include "gige/packet_size.h"

#include "base/log.h"
#include "gige/wire/bootstrap.h"
#include "gige/wire/gvsp.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>

namespace gige
{

namespace
{

constexpr std::uint32_t kUnit = 4;
constexpr std::uint32_t kMost = 65532;
// Larger packets save nothing any more.
constexpr std::uint32_t kMostWorthwhile = 16384;
constexpr std::uint32_t kFloor = 1500;
constexpr std::uint32_t kCloseEnough = 64;
constexpr std::chrono::milliseconds kWait{100};
constexpr std::chrono::milliseconds kLoopbackWait{15};
constexpr int kFloorTries = 3;
constexpr int kTries = 2;

std::uint32_t roundDown(std::uint32_t size) { return size / kUnit * kUnit; }

/// Asks for test packets at a socket of its own.
class Prober
{
public:
    Prober(ControlChannel& control, std::uint32_t flags, bool loopback)
        : control_(control), socket_(control.localAddress()), flags_(flags),
          wait_(loopback ? kLoopbackWait : kWait), buffer_(kMost + 4)
    {
        const std::uint32_t port = socket_.isOpen() ? socket_.localPort() : 0;
        open_ = port != 0 && write(wire::stream::kDestination, control.localAddress()) &&
                write(wire::stream::kPort, port);
    }
    ~Prober() { write(wire::stream::kPort, 0); }
    Prober(const Prober&) = delete;
    Prober& operator=(const Prober&) = delete;

    bool isOpen() const { return open_; }

    /// Whether a packet of this size arrives; `*size` becomes what the device made of it.
    bool arrives(std::uint32_t* size, int tries)
    {
        for (int i = 0; i < tries; ++i) {
            std::uint32_t now = 0;
            if (!write(wire::stream::kPacketSize,
                       flags_ | wire::kFireTestPacket | wire::kDoNotFragment | *size) ||
                control_.readRegister(at(wire::stream::kPacketSize), &now) != ZelErr::kOk) {
                return false; // Too large, or no test packets.
            }
            *size = now & wire::kPacketSizeMask;
            if (await(*size)) {
                return true;
            }
        }
        return false;
    }

private:
    static std::uint32_t at(std::uint32_t offset) { return wire::streamRegister(0, offset); }
    bool write(std::uint32_t offset, std::uint32_t value)
    {
        return control_.writeRegister(at(offset), value) == ZelErr::kOk;
    }
    /// Late packets of other sizes are passed over.
    bool await(std::uint32_t size)
    {
        const Clock::time_point end = Clock::now() + wait_;
        while (waitReadable(socket_.descriptor(), -1, end)) {
            sockaddr_in from{};
            socklen_t length = sizeof from;
            const ssize_t got =
                ::recvfrom(socket_.descriptor(), buffer_.data(), buffer_.size(), MSG_DONTWAIT,
                           reinterpret_cast<sockaddr*>(&from), &length);
            if (got >= 0 && ntohl(from.sin_addr.s_addr) == control_.device() &&
                static_cast<std::size_t>(got) + wire::kDatagramOverhead == size) {
                return true;
            }
            if (Clock::now() >= end) {
                break;
            }
        }
        return false;
    }

    ControlChannel& control_;
    UdpSocket socket_;
    const std::uint32_t flags_;
    const std::chrono::milliseconds wait_;
    std::vector<std::uint8_t> buffer_;
    bool open_ = false;
};

/// The largest size that arrives, between one that does and one that does not.
std::uint32_t bisect(Prober& prober, std::uint32_t good, std::uint32_t bad)
{
    while (bad > good + kCloseEnough) {
        const std::uint32_t middle = roundDown(good + (bad - good) / 2);
        std::uint32_t size = middle;
        if (prober.arrives(&size, kTries) && size > good) {
            good = size;
        } else {
            bad = middle;
        }
    }
    return good;
}

} // namespace

std::uint32_t largestPacket(const NetworkAdapter& adapter, std::uint32_t device)
{
    std::uint32_t largest = std::min(adapter.mtu, kMost);
    UdpSocket socket(0);
    int known = 0; // Smaller where the system has learnt of a narrower path.
    socklen_t size = sizeof known;
    if (socket.isOpen() && socket.connectTo(device, wire::kControlPort) &&
        ::getsockopt(socket.descriptor(), IPPROTO_IP, IP_MTU, &known, &size) == 0 && known > 0) {
        largest = std::min(largest, static_cast<std::uint32_t>(known));
    }
    return roundDown(largest);
}

ZelCamErr negotiatePacketSize(ControlChannel& control, std::uint32_t largest, bool loopback)
{
    const std::uint32_t address = wire::streamRegister(0, wire::stream::kPacketSize);
    std::uint32_t before = 0;
    ZelCamErr code = control.readRegister(address, &before);
    if (code != ZelErr::kOk) {
        return code;
    }
    const std::uint32_t flags = before & wire::kBigEndianPixels;
    const std::uint32_t bound = std::min(largest, kMostWorthwhile);
    // What is left when no test packet arrives.
    std::uint32_t result =
        (before & ~wire::kPacketSizeMask) | std::min(before & wire::kPacketSizeMask, largest);
    {
        Prober prober(control, flags, loopback);
        std::uint32_t floor = std::min(bound, kFloor);
        if (prober.isOpen() && prober.arrives(&floor, kFloorTries)) {
            std::uint32_t top = bound;
            const bool all = bound <= floor || prober.arrives(&top, kTries);
            const std::uint32_t best = all ? std::max(top, floor) : bisect(prober, floor, bound);
            result = flags | wire::kDoNotFragment | std::min(best, bound);
        }
    }
    // The register holds the last size that was tried.
    code = control.writeRegister(address, result);
    base::log(base::LogChannel::Gige, "packet size %u: %d", result & wire::kPacketSizeMask, code);
    return control.isLost() ? ZelErr::kGenTLIo : ZelErr::kOk;
}

} // namespace gige
