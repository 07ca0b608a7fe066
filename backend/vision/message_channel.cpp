#include "vision/message_channel.h"

#include "base/fork_guard.h"
#include "base/log.h"
#include "base/thread.h"

#include <algorithm>

namespace vision
{

namespace
{

constexpr std::size_t kRecord = 16;
constexpr std::size_t kExtendedRecord = 24;
constexpr std::chrono::milliseconds kEndCheck{100};
constexpr std::uint32_t kAnswerTimeoutMs = 300;
constexpr std::uint32_t kRetries = 3;
// Capability register: the camera has EVENT, EVENTDATA.
constexpr std::uint64_t kCapability = 0x0934;
constexpr std::uint32_t kEventCapability = 0x18;

bool writeRegister(ArvDevice* device, std::uint64_t address, std::uint32_t value)
{
    ArvError error;
    return arv_device_write_register(device, address, value, error.out()) != FALSE;
}

bool hasEvents(ArvDevice* device)
{
    ArvError error;
    guint32 value = 0;
    return arv_device_read_register(device, kCapability, &value, error.out()) &&
           (value & kEventCapability) != 0;
}

} // namespace

MessageChannel::MessageChannel(ArvDevice* device, std::uint32_t localAddress,
                               std::uint32_t cameraAddress, Handler handler)
    : device_(device), cameraAddress_(cameraAddress), socket_(localAddress),
      handler_(std::move(handler))
{
    if (!socket_.isOpen() || !hasEvents(device_) ||
        !writeRegister(device_, gvcp::kMessageChannelDestination, localAddress) ||
        !writeRegister(device_, gvcp::kMessageChannelPort, socket_.localPort())) {
        base::log(base::LogChannel::Vision, "no message channel");
        return;
    }
    // Without these some cameras send each event once and want no answer. Not every camera has
    // them.
    writeRegister(device_, gvcp::kMessageChannelTimeout, kAnswerTimeoutMs);
    writeRegister(device_, gvcp::kMessageChannelRetries, kRetries);
    thread_ = base::startThread("zel-gige-event", [this] { receive(); });
}

MessageChannel::~MessageChannel()
{
    if (!thread_.joinable()) {
        return;
    }
    if (base::inForkedChild()) {
        thread_.detach();
        return;
    }
    ending_ = true;
    thread_.join();
    if (!gone_) {
        writeRegister(device_, gvcp::kMessageChannelPort, 0);
    }
}

void MessageChannel::receive()
{
    gvcp::Bytes buffer;
    gvcp::Packet packet;
    std::uint32_t from = 0;
    std::uint16_t port = 0;
    while (!ending_) {
        if (socket_.receive(GvcpSocket::Clock::now() + kEndCheck, &buffer, &packet, &from, &port) &&
            from == cameraAddress_ && gvcp::isCommand(packet) &&
            (packet.command == gvcp::Command::Event ||
             packet.command == gvcp::Command::EventData)) {
            answer(packet, port);
        }
    }
}

void MessageChannel::answer(const gvcp::Packet& packet, std::uint16_t port)
{
    const std::size_t header =
        (gvcp::flagsOf(packet) & gvcp::kFlagExtendedId) != 0 ? kExtendedRecord : kRecord;
    const bool data = packet.command == gvcp::Command::EventData;
    const bool sound =
        data ? packet.size >= header : packet.size >= header && packet.size % header == 0;
    // Handed on first: an event that was acknowledged may be relied on.
    if (sound && isNew(packet.id)) {
        handle(packet, header);
    }
    if ((gvcp::flagsOf(packet) & gvcp::kFlagAckRequired) != 0) {
        socket_.send(gvcp::makeAck(data ? gvcp::Command::EventDataAck : gvcp::Command::EventAck,
                                   packet.id, sound ? gvcp::kSuccess : gvcp::kInvalidParameter),
                     cameraAddress_, port);
    }
}

// A packet that comes twice was sent again because our answer got lost or came late, perhaps after
// the next ones were sent.
bool MessageChannel::isNew(std::uint16_t id)
{
    if (id == 0) {
        return true;
    }
    if (std::find(recentIds_.begin(), recentIds_.end(), id) != recentIds_.end()) {
        return false;
    }
    recentIds_[nextRecent_] = id;
    nextRecent_ = (nextRecent_ + 1) % recentIds_.size();
    return true;
}

void MessageChannel::handle(const gvcp::Packet& packet, std::size_t header)
{
    // An EVENT packet may carry several records; EVENTDATA carries one, and its data.
    const std::size_t step = packet.command == gvcp::Command::Event ? header : packet.size;
    for (std::size_t at = 0; at + header <= packet.size; at += step) {
        handler_(gvcp::load16(packet.payload + at + 2), packet.payload + at, step);
    }
}

} // namespace vision
