#include "gige/message_channel.h"

#include "base/fork_guard.h"
#include "base/log.h"
#include "base/operation_guard.h"
#include "base/thread.h"
#include "gige/wire/bootstrap.h"

#include <sys/eventfd.h>

#include <algorithm>

namespace gige
{

namespace
{

constexpr std::uint32_t kAnswerTimeoutMs = 300;
constexpr std::uint32_t kRetries = 3;
constexpr std::chrono::seconds kWait{60};

} // namespace

MessageChannel::MessageChannel(ControlChannel& control, Handler handler)
    : control_(control), wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      handler_(std::move(handler))
{
    if (!wake_ || !open()) {
        base::log(base::LogChannel::Gige, "no message channel");
        return;
    }
    thread_ = base::startThread("zel-gige-event", [this] {
        base::contained("the receiver of events", [this] { receive(); });
    });
}

bool MessageChannel::open()
{
    constexpr std::uint32_t kEvents = wire::capability::kEvent | wire::capability::kEventData;
    std::uint32_t capability = 0;
    if (control_.readRegister(wire::reg::kControlCapability, &capability) != ZelErr::kOk ||
        (capability & kEvents) == 0) {
        return false;
    }
    socket_ = UdpSocket(control_.localAddress());
    if (!socket_.isOpen() ||
        control_.writeRegister(wire::reg::kMessageDestination, control_.localAddress()) !=
            ZelErr::kOk ||
        control_.writeRegister(wire::reg::kMessagePort, socket_.localPort()) != ZelErr::kOk) {
        return false;
    }
    // Without these some cameras send each event once and want no answer. Not every camera has
    // them.
    control_.writeRegister(wire::reg::kMessageTimeout, kAnswerTimeoutMs);
    control_.writeRegister(wire::reg::kMessageRetries, kRetries);
    return true;
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
    ::eventfd_write(wake_.get(), 1);
    thread_.join();
    static_cast<void>(control_.writeRegister(wire::reg::kMessagePort, 0));
}

void MessageChannel::receive()
{
    std::array<std::uint8_t, kLongestControlPacket> buffer;
    wire::CommandPacket packet;
    Sender sender;
    while (!ending_) {
        const wire::Bytes got =
            socket_.receive(Clock::now() + kWait, buffer.data(), &sender, wake_.get());
        if (sender.address == control_.device() && wire::parseCommand(got, &packet) &&
            (packet.is(wire::Command::Event) || packet.is(wire::Command::EventData))) {
            answer(packet, sender);
        }
    }
}

void MessageChannel::answer(const wire::CommandPacket& packet, const Sender& sender)
{
    wire::EventReader events(packet);
    // Handed on first: an event that was acknowledged may be relied on.
    wire::Event event;
    const bool fresh = events.sound() && isNew(packet.id);
    while (fresh && events.next(&event)) {
        handler_(event);
    }
    if (packet.wantsAck()) {
        const auto code = static_cast<std::uint16_t>(packet.code + 1U);
        const wire::Datagram ack = wire::makeAck(code, packet.id,
                                                 events.sound() ? wire::status::kSuccess
                                                                : wire::status::kInvalidParameter);
        socket_.sendTo(ack.bytes(), sender.address, sender.port);
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

} // namespace gige
