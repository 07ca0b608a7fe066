#include "simulator/gige/packet_sender.h"

#include <netinet/udp.h>
#include <poll.h>

#include <cerrno>
#include <cstring>

namespace simulator::gige
{

namespace
{

/// Of UDP; what one call may hand over in one piece.
constexpr std::size_t kMostBytes = 65000;
constexpr int kLongestWaitMs = 20;

bool waitForRoom(int fd)
{
    pollfd room{fd, POLLOUT, 0};
    return ::poll(&room, 1, kLongestWaitMs) > 0;
}

} // namespace

void PacketSender::send(const SentFrame& frame, std::uint32_t first, std::uint32_t end, bool resent,
                        const Endpoint& to)
{
    std::size_t count = 0;
    for (std::uint32_t id = first; id < end; ++id) {
        if (!frame.has(id)) {
            continue;
        }
        frame.packet(id, resent, &views_[count++]);
        if (count == kMostPackets) {
            sendBatch(count, to);
            count = 0;
        }
    }
    if (count != 0) {
        sendBatch(count, to);
    }
}

/// One past the last packet that goes with the first in one piece: equal sizes, the last may be
/// shorter.
std::size_t PacketSender::groupFrom(std::size_t first, std::size_t packets) const
{
    const std::size_t size = views_[first].size();
    std::size_t bytes = size;
    std::size_t end = first + 1;
    while (segmented_ && end < packets && views_[end].size() <= size &&
           bytes + views_[end].size() <= kMostBytes) {
        bytes += views_[end].size();
        ++end;
        if (views_[end - 1].size() < size) {
            break;
        }
    }
    return end;
}

void PacketSender::setSegmentSize(msghdr* message, Control* control, std::size_t size) const
{
    message->msg_control = control->bytes;
    message->msg_controllen = sizeof control->bytes;
    cmsghdr* const header = CMSG_FIRSTHDR(message);
    header->cmsg_level = SOL_UDP;
    header->cmsg_type = UDP_SEGMENT;
    header->cmsg_len = CMSG_LEN(sizeof(std::uint16_t));
    const auto segment = static_cast<std::uint16_t>(size);
    std::memcpy(CMSG_DATA(header), &segment, sizeof segment);
}

void PacketSender::sendBatch(std::size_t packets, const Endpoint& to)
{
    sockaddr_in address = to.toSocket();
    std::size_t messages = 0;
    for (std::size_t first = 0; first < packets;) {
        const std::size_t end = groupFrom(first, packets);
        msghdr& message = messages_[messages].msg_hdr;
        message = {};
        message.msg_name = &address;
        message.msg_namelen = sizeof address;
        message.msg_iov = &parts_[2 * first];
        message.msg_iovlen = 2 * (end - first);
        for (std::size_t i = first; i < end; ++i) {
            PacketView& view = views_[i];
            parts_[2 * i] = {view.header.data(), view.headerSize};
            parts_[2 * i + 1] = {const_cast<std::uint8_t*>(view.body.data), view.body.size};
        }
        if (end - first > 1) {
            setSegmentSize(&message, &controls_[messages], views_[first].size());
        }
        ++messages;
        first = end;
    }
    for (std::size_t done = 0; done < messages;) {
        const int sent = ::sendmmsg(socket_->fd(), &messages_[done],
                                    static_cast<unsigned>(messages - done), MSG_NOSIGNAL);
        if (sent > 0) {
            done += static_cast<std::size_t>(sent);
        } else if (errno == EINVAL && segmented_ && messages_[done].msg_hdr.msg_controllen != 0) {
            segmented_ = false; // not on this link: packets that it would have to cut again
            return sendBatch(packets, to);
        } else if (errno != EINTR && !(errno == EAGAIN && waitForRoom(socket_->fd()))) {
            ++done; // lost
        }
    }
}

} // namespace simulator::gige
