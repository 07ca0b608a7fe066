#include "usb3/control_channel.h"

#include "base/endian.h"
#include "base/log.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <thread>

namespace usb3
{

namespace
{

using std::chrono::milliseconds;

constexpr std::size_t kPacket = 1024; // of SuperSpeed; transfers in are whole packets
constexpr std::size_t kSmallestPiece = 8;
constexpr std::size_t kLargestPiece = 65528;
constexpr unsigned kLeastResponseMs = 500;
constexpr unsigned kMostResponseMs = 10000;
constexpr milliseconds kMostPatience{30000};
constexpr milliseconds kBusyFor{1000};
constexpr unsigned kSliceMs = 100; // so that a lost device ends a wait
constexpr int kReadTries = 3;
constexpr int kMostStrangers = 64;

std::size_t pieceOf(std::uint32_t transfer, std::size_t overhead)
{
    const std::size_t room = transfer > overhead ? transfer - overhead : 0;
    return room < kSmallestPiece ? std::size_t{64} : std::min(room / 8 * 8, kLargestPiece);
}

bool leavesAddresses(std::uint64_t address, std::size_t size)
{
    return size > 0 && size - 1 > ~std::uint64_t{0} - address;
}

} // namespace

ControlChannel::ControlChannel(ControlPipe& pipe, std::function<void()> lost)
    : pipe_(pipe), onLost_(std::move(lost))
{
}

void ControlChannel::setLimits(const ControlLimits& limits)
{
    readPiece_ = pieceOf(limits.maxAnswer, wire::kControlHeader);
    writePiece_ = pieceOf(limits.maxCommand, wire::kWriteOverhead);
    responseMs_ = std::clamp(limits.responseMs, kLeastResponseMs, kMostResponseMs);
}

std::uint16_t ControlChannel::nextId()
{
    lastId_ = static_cast<std::uint16_t>(lastId_ == 0xFFFF ? 1 : lastId_ + 1);
    return lastId_;
}

ControlChannel::Outcome ControlChannel::failure(UsbResult result)
{
    if (result == UsbResult::Gone && !lost_.exchange(true)) {
        onLost_();
    }
    Outcome outcome;
    outcome.code = codeOf(result);
    outcome.noAnswer = result == UsbResult::Timeout;
    return outcome;
}

ControlChannel::Outcome ControlChannel::send(const wire::Bytes& bytes)
{
    const unsigned timeout = responseMs_;
    UsbResult result = pipe_.send(bytes.data(), bytes.size(), timeout);
    if (result == UsbResult::Stalled) {
        // The camera took nothing of the command, so it may be sent again.
        pipe_.clearHalts();
        result = pipe_.send(bytes.data(), bytes.size(), timeout);
    }
    return result == UsbResult::Ok ? Outcome{} : failure(result);
}

ControlChannel::Outcome ControlChannel::await(const Request& request, std::uint16_t id)
{
    const std::size_t most = std::max<std::size_t>(readPiece_ + wire::kControlHeader, kPacket);
    answer_.resize((most + kPacket - 1) / kPacket * kPacket);
    const Clock::time_point end = Clock::now() + kMostPatience;
    Clock::time_point deadline = Clock::now() + request.patience;
    bool cleared = false;
    for (int strangers = 0; strangers < kMostStrangers;) {
        const Clock::time_point now = Clock::now();
        if (now >= deadline || lost_) {
            break;
        }
        const auto left = std::chrono::duration_cast<milliseconds>(deadline - now).count() + 1;
        std::size_t received = 0;
        const UsbResult result =
            pipe_.receive(answer_.data(), answer_.size(),
                          std::min(kSliceMs, static_cast<unsigned>(left)), &received);
        if (result == UsbResult::Stalled && !cleared) {
            pipe_.clearHalts();
            cleared = true;
            continue;
        }
        if (result == UsbResult::Timeout) {
            continue;
        }
        if (result != UsbResult::Ok) {
            return failure(result);
        }
        const wire::Answer answer = wire::readAnswer(answer_.data(), received, request.command, id);
        if (answer.kind == wire::Answer::Kind::Pending) {
            deadline = std::min(end, Clock::now() + milliseconds(answer.milliseconds) +
                                         milliseconds(responseMs_));
        }
        if (answer.kind != wire::Answer::Kind::Final) {
            ++strangers;
            continue;
        }
        Outcome outcome;
        outcome.status = answer.status;
        if (answer.status == 0 && request.in != nullptr) {
            if (answer.size != request.size) {
                outcome.code = ZelErr::kGenTLIo;
                return outcome;
            }
            std::memcpy(request.in, answer.data, request.size);
        }
        return outcome;
    }
    return failure(lost_ ? UsbResult::Gone : UsbResult::Timeout);
}

ControlChannel::Outcome ControlChannel::attempt(const Request& request)
{
    const std::uint16_t id = nextId();
    const Outcome sent = send(request.out != nullptr
                                  ? wire::makeWrite(id, request.address, request.out, request.size)
                                  : wire::makeRead(id, request.address, request.size));
    return sent.code == ZelErr::kOk ? await(request, id) : sent;
}

ZelCamErr ControlChannel::run(const Request& request)
{
    const base::Lock lock(mutex_);
    const Clock::time_point busyEnd =
        Clock::now() + std::min<Clock::duration>(kBusyFor, 2 * request.patience);
    for (int tries = 1;;) {
        if (lost_) {
            return ZelErr::kGenTLIo;
        }
        const Outcome outcome = attempt(request);
        if (outcome.code == ZelErr::kOk && outcome.status == wire::kStatusBusy &&
            Clock::now() < busyEnd) {
            std::this_thread::sleep_for(milliseconds(5));
            continue;
        }
        if (outcome.noAnswer && request.in != nullptr && tries < kReadTries) {
            ++tries;
            continue;
        }
        return outcome.code != ZelErr::kOk ? outcome.code : wire::codeOfStatus(outcome.status);
    }
}

ZelCamErr ControlChannel::readPiece(std::uint64_t address, void* data, std::size_t size)
{
    const auto ask = [this](std::uint64_t from, void* to, std::size_t count) {
        return run(
            {wire::Command::ReadMemory, from, to, nullptr, count, milliseconds(responseMs_)});
    };
    const ZelCamErr code = ask(address, data, size);
    const std::size_t before = static_cast<std::size_t>(address % 4);
    const std::size_t words = (before + size + 3) / 4 * 4;
    if (code != ZelErr::kGenTLInvalidAddress || words == size ||
        leavesAddresses(address - before, words)) {
        return code;
    }
    // Some cameras move whole words only.
    wire::Bytes whole(words);
    const ZelCamErr again = ask(address - before, whole.data(), words);
    if (again == ZelErr::kOk) {
        std::memcpy(data, whole.data() + before, size);
    }
    return again == ZelErr::kOk ? again : code;
}

ZelCamErr ControlChannel::read(std::uint64_t address, void* data, std::size_t size)
{
    if (leavesAddresses(address, size)) {
        return ZelErr::kGenTLInvalidAddress;
    }
    auto* bytes = static_cast<std::uint8_t*>(data);
    while (size > 0) {
        const std::size_t piece = std::min<std::size_t>(size, readPiece_);
        const ZelCamErr code = readPiece(address, bytes, piece);
        if (code != ZelErr::kOk) {
            return code;
        }
        address += piece;
        bytes += piece;
        size -= piece;
    }
    return lost_ ? ZelErr::kGenTLIo : ZelErr::kOk;
}

ZelCamErr ControlChannel::write(std::uint64_t address, const void* data, std::size_t size)
{
    if (leavesAddresses(address, size)) {
        return ZelErr::kGenTLInvalidAddress;
    }
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    while (size > 0) {
        const std::size_t piece = std::min<std::size_t>(size, writePiece_);
        const ZelCamErr code = run({wire::Command::WriteMemory, address, nullptr, bytes, piece,
                                    milliseconds(responseMs_)});
        if (code != ZelErr::kOk) {
            return code;
        }
        address += piece;
        bytes += piece;
        size -= piece;
    }
    return lost_ ? ZelErr::kGenTLIo : ZelErr::kOk;
}

ZelCamErr ControlChannel::read32(std::uint64_t address, std::uint32_t* value)
{
    std::array<std::uint8_t, 4> bytes{};
    const ZelCamErr code = read(address, bytes.data(), bytes.size());
    *value = code == ZelErr::kOk ? base::loadLittle<std::uint32_t>(bytes.data()) : 0;
    return code;
}

ZelCamErr ControlChannel::read64(std::uint64_t address, std::uint64_t* value)
{
    std::array<std::uint8_t, 8> bytes{};
    const ZelCamErr code = read(address, bytes.data(), bytes.size());
    *value = code == ZelErr::kOk ? base::loadLittle<std::uint64_t>(bytes.data()) : 0;
    return code;
}

ZelCamErr ControlChannel::write32(std::uint64_t address, std::uint32_t value)
{
    return write32Within(address, value, milliseconds(responseMs_));
}

ZelCamErr ControlChannel::write32Within(std::uint64_t address, std::uint32_t value,
                                        milliseconds limit)
{
    std::array<std::uint8_t, 4> bytes{};
    base::storeLittle(bytes.data(), value);
    return run({wire::Command::WriteMemory, address, nullptr, bytes.data(), bytes.size(), limit});
}

} // namespace usb3
