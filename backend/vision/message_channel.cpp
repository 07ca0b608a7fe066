#include "vision/message_channel.h"

#include "base/fork_guard.h"
#include "base/log.h"
#include "base/thread.h"

#include <sys/socket.h>

namespace vision
{

namespace
{

constexpr std::size_t kRecordSize = 16;
constexpr std::chrono::milliseconds kEndCheck{100};
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

MessageChannel::MessageChannel(ArvDevice* device, std::uint32_t localAddress, Handler handler)
    : device_(device), socket_(localAddress), handler_(std::move(handler))
{
    if (!socket_.isOpen() || !hasEvents(device_) ||
        !writeRegister(device_, gvcp::kMessageChannelDestination, localAddress) ||
        !writeRegister(device_, gvcp::kMessageChannelPort, socket_.localPort())) {
        base::log(base::LogChannel::Vision, "no message channel");
        return;
    }
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
    writeRegister(device_, gvcp::kMessageChannelPort, 0);
}

void MessageChannel::receive()
{
    gvcp::Bytes buffer;
    gvcp::Packet packet;
    std::uint32_t from = 0;
    std::uint16_t port = 0;
    while (!ending_) {
        if (!socket_.receive(GvcpSocket::Clock::now() + kEndCheck, &buffer, &packet, &from,
                             &port)) {
            continue;
        }
        const bool data = packet.command == gvcp::Command::EventData;
        if (!data && packet.command != gvcp::Command::Event) {
            continue;
        }
        // For commands the second byte, low byte of the status field, carries the flags.
        if ((packet.status & gvcp::kFlagAckRequired) != 0) {
            socket_.send(gvcp::makeAck(data ? gvcp::Command::EventDataAck : gvcp::Command::EventAck,
                                       packet.id),
                         from, port);
        }
        // A packet that comes twice was sent again because our answer got lost.
        if (packet.id == 0 || packet.id != lastId_) {
            lastId_ = packet.id;
            handle(packet);
        }
    }
}

void MessageChannel::handle(const gvcp::Packet& packet)
{
    if (packet.command == gvcp::Command::EventData) {
        if (packet.size >= kRecordSize) {
            handler_(gvcp::load16(packet.payload + 2), packet.payload, packet.size);
        }
        return;
    }
    // An EVENT packet may carry several records.
    for (std::size_t at = 0; at + kRecordSize <= packet.size; at += kRecordSize) {
        handler_(gvcp::load16(packet.payload + at + 2), packet.payload + at, kRecordSize);
    }
}

} // namespace vision
