#include "gige/control_channel.h"

#include "base/ipv4.h"
#include "base/log.h"
#include "gige/status_codes.h"

#include <sys/eventfd.h>

#include <algorithm>
#include <thread>

namespace gige
{

namespace
{

constexpr int kBusyTries = 5;
constexpr std::chrono::milliseconds kBusyPause{20};
constexpr std::size_t kSmallestPiece = 32;

} // namespace

/// The right to talk to the device; waits for it no longer than the operation may take.
class ControlChannel::Turn
{
public:
    Turn(ControlChannel& channel, Clock::time_point limit) : channel_(channel)
    {
        base::Lock lock(channel_.mutex_);
        has_ = channel_.free_.wait_until(lock.native(), limit,
                                         [this]() ZEL_NO_THREAD_SAFETY_ANALYSIS {
                                             return !channel_.busy_ || channel_.lost_;
                                         }) &&
               !channel_.busy_;
        channel_.busy_ = channel_.busy_ || has_;
    }
    ~Turn()
    {
        if (has_) {
            const base::Lock lock(channel_.mutex_);
            channel_.busy_ = false;
            channel_.free_.notify_one();
        }
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    explicit operator bool() const { return has_; }

private:
    ControlChannel& channel_;
    bool has_ = false;
};

ZelCamErr ControlChannel::connect(std::uint32_t device)
{
    device_ = device;
    // Without a descriptor left no way is found either, and that is not the camera's fault.
    wake_ = base::UniqueFd(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!wake_ || !UdpSocket(0).isOpen()) {
        return ZelErr::kGenTLResourceExhausted;
    }
    local_ = localAddressTowards(device);
    if (local_ == 0) {
        return ZelErr::kGenTLIo;
    }
    socket_ = UdpSocket(local_);
    if (!socket_.isOpen()) {
        return ZelErr::kGenTLResourceExhausted;
    }
    return socket_.connectTo(device, wire::kControlPort) ? ZelErr::kOk : ZelErr::kGenTLIo;
}

std::uint16_t ControlChannel::nextId()
{
    id_ = id_ == 0xFFFF ? std::uint16_t{1} : static_cast<std::uint16_t>(id_ + 1);
    return id_;
}

void ControlChannel::setLost()
{
    lost_ = true;
    ::eventfd_write(wake_.get(), 1);
    const base::Lock lock(mutex_);
    free_.notify_all();
}

/// Waits for the answer to one sending. `patient`: the device asked for more time.
bool ControlChannel::await(wire::Command code, std::uint16_t id, Clock::time_point limit,
                           wire::AckPacket* ack, bool* patient)
{
    Clock::time_point deadline = std::min(limit, Clock::now() + kAckTimeout);
    for (;;) {
        const wire::Bytes got = socket_.receive(deadline, buffer_.data(), nullptr, wake_.get());
        if (got.empty()) {
            return false;
        }
        if (!wire::parseAck(got, ack) || ack->id != id) {
            continue; // Late answers to earlier commands, and rubbish.
        }
        if (ack->code == wire::kPendingAckCode) {
            *patient = true;
            const std::chrono::milliseconds more(wire::readPendingAck(*ack));
            deadline = std::min(limit, Clock::now() + std::max(more, kAckTimeout));
        } else if (ack->answers(code, id)) {
            return true;
        }
    }
}

ZelCamErr ControlChannel::askOnce(const wire::Datagram& command, wire::Command code,
                                  std::uint16_t id, Clock::time_point limit, wire::AckPacket* ack)
{
    for (int attempt = 0; attempt < kTries && !lost_; ++attempt) {
        bool patient = false;
        socket_.send(command.bytes());
        if (await(code, id, limit, ack, &patient)) {
            return codeOf(ack->status);
        }
        if (patient && !lost_) {
            return ZelErr::kGenTLTimeout;
        }
        if (Clock::now() >= limit) {
            break;
        }
    }
    if (!lost_.exchange(true)) {
        base::log(base::LogChannel::Gige, "%s does not answer", base::formatIpv4(device_).c_str());
        setLost();
        if (silent_) {
            silent_();
        }
    }
    return ZelErr::kGenTLIo;
}

ZelCamErr ControlChannel::ask(const wire::Datagram& command, wire::Command code, std::uint16_t id,
                              Clock::time_point limit, wire::AckPacket* ack)
{
    ZelCamErr result = ZelErr::kGenTLBusy;
    for (int attempt = 0; attempt < kBusyTries && result == ZelErr::kGenTLBusy; ++attempt) {
        if (attempt > 0) {
            if (Clock::now() + kBusyPause >= limit) {
                break;
            }
            std::this_thread::sleep_for(kBusyPause);
        }
        result = askOnce(command, code, id, limit, ack);
    }
    return result;
}

ZelCamErr ControlChannel::readRegister(std::uint32_t address, std::uint32_t* value)
{
    const Clock::time_point limit = Clock::now() + kOperationLimit;
    const Turn turn(*this, limit);
    if (!turn) {
        return lost_ ? ZelErr::kGenTLIo : ZelErr::kGenTLTimeout;
    }
    const std::uint16_t id = nextId();
    wire::AckPacket ack;
    const ZelCamErr code =
        ask(wire::makeReadRegisters(id, &address, 1), wire::Command::ReadRegister, id, limit, &ack);
    if (code == ZelErr::kOk) {
        *value = ack.payload.u32(0);
        return ack.payload.size >= 4 ? ZelErr::kOk : ZelErr::kGenTLIo;
    }
    return code;
}

ZelCamErr ControlChannel::writeRegister(std::uint32_t address, std::uint32_t value)
{
    const Clock::time_point limit = Clock::now() + kOperationLimit;
    const Turn turn(*this, limit);
    if (!turn) {
        return lost_ ? ZelErr::kGenTLIo : ZelErr::kGenTLTimeout;
    }
    const std::uint16_t id = nextId();
    const wire::RegisterValue pair{address, value};
    wire::AckPacket ack;
    return ask(wire::makeWriteRegisters(id, &pair, 1), wire::Command::WriteRegister, id, limit,
               &ack);
}

ZelCamErr ControlChannel::readMemory(std::uint32_t address, void* data, std::size_t size,
                                     std::chrono::milliseconds limit)
{
    const Clock::time_point end = Clock::now() + limit;
    auto* bytes = static_cast<std::uint8_t*>(data);
    while (size > 0) {
        const auto count = static_cast<std::uint16_t>(std::min<std::size_t>(size, piece_));
        const Clock::time_point now = Clock::now();
        const Clock::time_point pieceEnd = std::min(end, now + kOperationLimit);
        const Turn turn(*this, pieceEnd);
        if (!turn || now >= end) {
            return lost_ ? ZelErr::kGenTLIo : ZelErr::kGenTLTimeout;
        }
        const std::uint16_t id = nextId();
        const wire::MemoryRange range{address, count};
        wire::AckPacket ack;
        const ZelCamErr code =
            ask(wire::makeReadMemory(id, range), wire::Command::ReadMemory, id, pieceEnd, &ack);
        if (code == ZelErr::kGenTLInvalidParameter && count > kSmallestPiece) {
            piece_ =
                std::size_t{count} / 8 * 4; // Not every device takes pieces as large as the rest.
            continue;
        }
        if (code != ZelErr::kOk) {
            return code;
        }
        wire::Bytes got;
        if (!wire::readMemoryAck(ack, range, &got)) {
            return ZelErr::kGenTLIo;
        }
        std::memcpy(bytes, got.data, got.size);
        address += count;
        bytes += count;
        size -= count;
    }
    return ZelErr::kOk;
}

ZelCamErr ControlChannel::writeMemory(std::uint32_t address, const void* data, std::size_t size)
{
    const Clock::time_point limit = Clock::now() + kOperationLimit;
    const Turn turn(*this, limit);
    if (!turn) {
        return lost_ ? ZelErr::kGenTLIo : ZelErr::kGenTLTimeout;
    }
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    while (size > 0) {
        const std::size_t count = std::min(size, piece_.load());
        const std::uint16_t id = nextId();
        wire::AckPacket ack;
        const ZelCamErr code = ask(wire::makeWriteMemory(id, address, {bytes, count}),
                                   wire::Command::WriteMemory, id, limit, &ack);
        if (code != ZelErr::kOk) {
            return code;
        }
        address += static_cast<std::uint32_t>(count);
        bytes += count;
        size -= count;
    }
    return ZelErr::kOk;
}

} // namespace gige
