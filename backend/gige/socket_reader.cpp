#include "gige/socket_reader.h"

#include "base/log.h"

#include <netinet/in.h>
#include <netinet/udp.h>

#include <algorithm>
#include <cerrno>

#ifndef UDP_GRO
#define UDP_GRO 104
#endif

namespace gige
{

namespace
{

using wire::Bytes;

constexpr std::size_t kLongestDatagram = 65536;
constexpr std::size_t kControl = CMSG_SPACE(sizeof(std::uint32_t)) + CMSG_SPACE(sizeof(int));
// After so many packets that were not joined the network does not join.
constexpr int kGiveUpJoining = 400;
// What the system counts for a packet, by experience: its own structures and rounding.
constexpr std::size_t kMemoryPerByte = 4;

} // namespace

/// Memory of the calls; allocated once.
struct SocketReader::Buffers {
    struct alignas(cmsghdr) Control {
        std::array<char, kControl> bytes;
    };
    std::array<std::array<std::uint8_t, wire::kExtendedStreamHeader>, kMost> headers;
    std::array<iovec, 3 * kMost + 1> pieces;
    std::array<mmsghdr, kMost> messages;
    std::array<Control, kMost> controls;
    std::vector<std::uint8_t> overflow; ///< What does not go into frames.
    std::vector<std::uint8_t> gathered; ///< What did, and does not belong there.
};

SocketReader::SocketReader(StreamSocket& socket, ReceiveMethod method, std::size_t packetSize)
    : socket_(socket), method_(method == ReceiveMethod::Automatic ? ReceiveMethod::Joined : method),
      automatic_(method == ReceiveMethod::Automatic),
      slot_((std::max<std::size_t>(packetSize, 1500) + 63) / 64 * 64),
      buffers_(std::make_unique<Buffers>())
{
    const std::size_t memory = std::max(kLongestDatagram, slot_ * kMost);
    buffers_->overflow.resize(memory);
    buffers_->gathered.resize(memory);
    setJoining(method_ == ReceiveMethod::Joined);
}

SocketReader::~SocketReader() { setJoining(false); }

void SocketReader::setJoining(bool on)
{
    if (!socket_.setJoining(on) && on) {
        method_ = ReceiveMethod::Batch;
    }
}

std::size_t SocketReader::capacity(std::size_t packetSize) const
{
    return static_cast<std::size_t>(std::max(socket_.bufferSize(), 0)) /
           (kMemoryPerByte * std::max<std::size_t>(packetSize, 512));
}

bool SocketReader::drain(FrameAssembler& assembler, StreamNumbers& numbers, int most)
{
    Clock::time_point now = Clock::now();
    int timed = 0; // Packets that were taken when the clock was asked.
    for (int taken = 0; taken < most;) {
        if (taken >= timed + kMost) {
            timed = taken;
            now = Clock::now();
        }
        int got = 0;
        if (socket_.mustCheck()) {
            got = receiveChecked(assembler, numbers, now);
        } else if (method_ == ReceiveMethod::Joined) {
            got = receiveJoined(assembler, numbers, now);
        } else {
            got = receiveBatch(assembler, numbers, now);
        }
        if (got < 0) {
            if (errno == ECONNREFUSED || errno == EINTR) {
                continue; // Somebody told of an earlier packet of ours.
            }
            socket_.setDrained();
            return true;
        }
        taken += std::max(got, 1);
    }
    return false;
}

void SocketReader::readControl(msghdr* message, StreamNumbers& numbers, std::size_t* joined)
{
    for (cmsghdr* part = CMSG_FIRSTHDR(message); part != nullptr;
         part = CMSG_NXTHDR(message, part)) {
        if (part->cmsg_level == SOL_SOCKET && part->cmsg_type == SO_RXQ_OVFL) {
            std::uint32_t dropped = 0;
            std::memcpy(&dropped, CMSG_DATA(part), sizeof dropped);
            numbers.dropped += socket_.countDrops(dropped);
        } else if (part->cmsg_level == SOL_UDP && part->cmsg_type == UDP_GRO) {
            int size = 0;
            std::memcpy(&size, CMSG_DATA(part), sizeof size);
            *joined = size > 0 ? static_cast<std::size_t>(size) : 0;
        }
    }
}

/// While the camera's port is not known: one packet, whose sender is looked at.
int SocketReader::receiveChecked(FrameAssembler& assembler, StreamNumbers& numbers,
                                 Clock::time_point now)
{
    sockaddr_in from{};
    iovec data{buffers_->overflow.data(), kLongestDatagram};
    msghdr message{};
    message.msg_name = &from;
    message.msg_namelen = sizeof from;
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    message.msg_control = buffers_->controls[0].bytes.data();
    message.msg_controllen = kControl;
    const ssize_t got = ::recvmsg(descriptor(), &message, MSG_DONTWAIT);
    if (got < 0) {
        return -1;
    }
    const auto size = static_cast<std::size_t>(got);
    std::size_t joined = size;
    readControl(&message, numbers, &joined);
    const Sender sender{ntohl(from.sin_addr.s_addr), ntohs(from.sin_port), 0};
    const Bytes whole(buffers_->overflow.data(), size);
    if (!socket_.admits(sender, whole.first(joined))) {
        ++numbers.strangers;
        return 1;
    }
    int count = 0;
    for (std::size_t at = 0; at < size && joined > 0; at += joined) {
        assembler.take(whole.from(at).first(joined), now);
        ++count;
    }
    return count;
}

/// Lays out where the next packets are put: pairs of header and data, then the overflow. Answers
/// how many packets have a place.
int SocketReader::foresee(const FrameAssembler::Ahead& ahead, int most)
{
    int count = 0;
    std::size_t offset = 0;
    std::size_t total = 0;
    while (ahead.memory != nullptr && count < most && offset < ahead.size) {
        const std::size_t data = std::min(ahead.packetData, ahead.size - offset);
        if (total + ahead.header + data > kLongestDatagram) {
            break;
        }
        const auto at = static_cast<std::size_t>(count);
        buffers_->pieces[2 * at] = {buffers_->headers[at].data(), ahead.header};
        buffers_->pieces[2 * at + 1] = {ahead.memory + offset, data};
        offset += data;
        total += ahead.header + data;
        ++count;
    }
    foreseen_ = count;
    return count;
}

/// Whether the packet that was put into header and data at `pieces` is the one meant to be there.
bool SocketReader::isForeseen(const FrameAssembler::Ahead& ahead, const iovec* pieces, int index,
                              std::size_t size) const
{
    wire::StreamHeader header;
    return index < foreseen_ && size >= ahead.header && size <= ahead.header + pieces[1].iov_len &&
           wire::parseStreamHeader({pieces[0].iov_base, ahead.header}, &header) &&
           header.extended == ahead.extended && header.blockId == ahead.rawId &&
           header.format == wire::Format::Payload && !header.isError() &&
           header.packetId == ahead.firstPacket + static_cast<std::uint32_t>(index);
}

/// Copies `size` bytes that were scattered over `pieces`, from the byte `skip` on.
std::size_t SocketReader::gather(const iovec* pieces, std::size_t count, std::size_t skip,
                                 std::size_t size, std::uint8_t* to) const
{
    std::size_t copied = 0;
    for (std::size_t i = 0; i < count && copied < size; ++i) {
        const std::size_t length = pieces[i].iov_len;
        if (skip >= length) {
            skip -= length;
            continue;
        }
        const std::size_t part = std::min(length - skip, size - copied);
        std::memcpy(to + copied, static_cast<const std::uint8_t*>(pieces[i].iov_base) + skip, part);
        copied += part;
        skip = 0;
    }
    return copied;
}

int SocketReader::receiveJoined(FrameAssembler& assembler, StreamNumbers& numbers,
                                Clock::time_point now)
{
    const FrameAssembler::Ahead ahead = assembler.ahead();
    // Every place costs the system time, also those that stay empty.
    const int most = std::min(kMost, usual_ + 1 + usual_ / 4);
    const auto places = static_cast<std::size_t>(foresee(ahead, most));
    buffers_->pieces[2 * places] = {buffers_->overflow.data(), kLongestDatagram};
    msghdr message{};
    message.msg_iov = buffers_->pieces.data();
    message.msg_iovlen = 2 * places + 1;
    message.msg_control = buffers_->controls[0].bytes.data();
    message.msg_controllen = kControl;
    const ssize_t got = ::recvmsg(descriptor(), &message, MSG_DONTWAIT);
    if (got < 0) {
        return -1;
    }
    const auto size = static_cast<std::size_t>(got);
    std::size_t joined = 0;
    readControl(&message, numbers, &joined);
    noteSingles(joined == 0);
    const std::size_t segment = joined != 0 ? joined : std::max<std::size_t>(size, 1);
    std::size_t at = 0;
    int count = 0;
    const auto pair = [&message](int index) {
        return message.msg_iov + 2 * static_cast<std::size_t>(index);
    };
    // As long as they are what was foreseen they lie where they belong.
    while (at < size && (count == 0 || segment == ahead.header + ahead.packetData) &&
           isForeseen(ahead, pair(count), count, std::min(segment, size - at))) {
        const iovec* const pieces = pair(count);
        assembler.take(Bytes(pieces[0].iov_base, ahead.header),
                       Bytes(pieces[1].iov_base, std::min(segment, size - at) - ahead.header), now);
        at += segment;
        ++count;
    }
    if (at < size) {
        std::uint8_t* const memory = buffers_->gathered.data();
        const Bytes rest(memory, gather(message.msg_iov, message.msg_iovlen, at,
                                        std::min(size - at, buffers_->gathered.size()), memory));
        for (std::size_t begin = 0; begin < rest.size; begin += segment) {
            assembler.take(rest.from(begin).first(segment), now);
            ++count;
        }
    }
    usual_ = std::max(count, usual_ - (usual_ + 15) / 16);
    return count;
}

void SocketReader::noteSingles(bool single)
{
    singles_ = single ? singles_ + 1 : 0;
    if (automatic_ && singles_ > kGiveUpJoining) {
        base::log(base::LogChannel::Gige, "packets are not joined on their way: taken in batches");
        method_ = ReceiveMethod::Batch;
        setJoining(false);
    }
}

int SocketReader::receiveBatch(FrameAssembler& assembler, StreamNumbers& numbers,
                               Clock::time_point now)
{
    const int most = method_ == ReceiveMethod::Single ? 1 : kMost;
    const FrameAssembler::Ahead ahead = assembler.ahead();
    foresee(ahead, most);
    // Three pieces a packet from here on: the pairs move apart from their end on.
    for (int i = foreseen_ - 1; i >= 0; --i) {
        const auto at = static_cast<std::size_t>(i);
        const iovec header = buffers_->pieces[2 * at];
        const iovec data = buffers_->pieces[2 * at + 1];
        buffers_->pieces[3 * at] = header;
        buffers_->pieces[3 * at + 1] = data;
    }
    for (int i = 0; i < most; ++i) {
        const auto at = static_cast<std::size_t>(i);
        iovec* const pieces = &buffers_->pieces[3 * at];
        if (i >= foreseen_) {
            pieces[0] = {nullptr, 0};
            pieces[1] = {nullptr, 0};
        }
        pieces[2] = {buffers_->overflow.data() + at * slot_, slot_};
        msghdr& message = buffers_->messages[at].msg_hdr;
        message = {};
        message.msg_iov = pieces;
        message.msg_iovlen = 3;
        message.msg_control = buffers_->controls[at].bytes.data();
        message.msg_controllen = kControl;
    }
    int got = -1;
    if (most > 1) {
        got = ::recvmmsg(descriptor(), buffers_->messages.data(), static_cast<unsigned>(most),
                         MSG_DONTWAIT, nullptr);
        if (got < 0 && (errno == ENOSYS || errno == EPERM)) {
            method_ = ReceiveMethod::Single; // Forbidden here.
            return 0;
        }
    } else {
        const ssize_t size = ::recvmsg(descriptor(), &buffers_->messages[0].msg_hdr, MSG_DONTWAIT);
        buffers_->messages[0].msg_len = static_cast<unsigned>(std::max<ssize_t>(size, 0));
        got = size < 0 ? -1 : 1;
    }
    if (got > 0) {
        takeBatch(assembler, numbers, got, now);
    }
    return got;
}

void SocketReader::takeBatch(FrameAssembler& assembler, StreamNumbers& numbers, int count,
                             Clock::time_point now)
{
    const FrameAssembler::Ahead ahead = assembler.ahead();
    int index = 0;
    std::size_t joined = 0;
    readControl(&buffers_->messages[static_cast<std::size_t>(count - 1)].msg_hdr, numbers, &joined);
    const auto size = [this](int i) {
        return std::size_t{buffers_->messages[static_cast<std::size_t>(i)].msg_len};
    };
    const auto pieces = [this](int i) {
        return &buffers_->pieces[3 * static_cast<std::size_t>(i)];
    };
    while (index < count && isForeseen(ahead, pieces(index), index, size(index))) {
        assembler.take(Bytes(pieces(index)[0].iov_base, ahead.header),
                       Bytes(pieces(index)[1].iov_base, size(index) - ahead.header), now);
        ++index;
    }
    // All of the rest is moved out of the way first: one may lie where another belongs.
    const std::size_t room = buffers_->gathered.size() / kMost;
    for (int i = index; i < count; ++i) {
        gather(pieces(i), 3, 0, std::min(size(i), room),
               buffers_->gathered.data() + static_cast<std::size_t>(i) * room);
    }
    for (int i = index; i < count; ++i) {
        const bool cut =
            (buffers_->messages[static_cast<std::size_t>(i)].msg_hdr.msg_flags & MSG_TRUNC) != 0;
        assembler.take(Bytes(buffers_->gathered.data() + static_cast<std::size_t>(i) * room,
                             cut ? 0 : std::min(size(i), room)),
                       now);
    }
}

} // namespace gige
