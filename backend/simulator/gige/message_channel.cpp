#include "simulator/gige/message_channel.h"

#include "gige/wire/bootstrap.h"

#include <algorithm>

namespace simulator::gige
{

namespace
{

namespace reg = wire::reg;

constexpr std::size_t kMostAtOnce = 64; ///< Events that nobody acknowledges, in one go.
constexpr std::uint32_t kLongestTimeoutMs = 60000;
constexpr std::uint32_t kMostTries = 100;

} // namespace

MessageChannel::MessageChannel(CameraModel& camera, std::uint32_t address)
    : camera_(camera), socket_({address, 0}, false)
{
    camera_.setBootstrap(reg::kMessageSourcePort, socket_.local().port);
}

void MessageChannel::post(std::uint16_t id, std::uint64_t timestamp, std::uint64_t blockId,
                          const std::vector<std::uint8_t>& data)
{
    const base::Lock lock(mutex_);
    if (waiting_.size() < kMostWaiting) {
        waiting_.push_back({id, timestamp, blockId, data});
    }
}

void MessageChannel::clear()
{
    const base::Lock lock(mutex_);
    waiting_.clear();
    present_.reset();
}

bool MessageChannel::next()
{
    const base::Lock lock(mutex_);
    if (waiting_.empty()) {
        return false;
    }
    present_ = std::move(waiting_.front());
    waiting_.pop_front();
    return true;
}

void MessageChannel::takeAcknowledges()
{
    std::uint8_t bytes[wire::Datagram::kCapacity];
    std::size_t size = 0;
    Endpoint from;
    for (std::size_t i = 0; i < kMostAtOnce; ++i) {
        if (!socket_.receive(bytes, sizeof bytes, &size, &from)) {
            return;
        }
        wire::AckPacket ack;
        const bool sound = from.address == to_.address && wire::parseAck({bytes, size}, &ack);
        if (sound && present_ && ack.id == request_) {
            present_.reset();
        }
    }
}

void MessageChannel::sendPresent(bool ackRequired)
{
    wire::Event event;
    event.id = present_->id;
    event.channel = 0;
    event.blockId = present_->blockId;
    event.timestamp = present_->timestamp;
    event.data = {present_->data.data(), present_->data.size()};
    socket_.send(to_, wire::makeEvent(request_, event, false, ackRequired).bytes());
}

std::optional<MessageChannel::Clock::time_point> MessageChannel::service(Clock::time_point now)
{
    takeAcknowledges();
    const std::uint32_t timeoutMs =
        std::min(camera_.bootstrap(reg::kMessageTimeout), kLongestTimeoutMs);
    if (present_ && now >= again_) {
        if (triesLeft_ == 0) {
            present_.reset();
        } else {
            --triesLeft_;
            again_ = now + std::chrono::milliseconds(timeoutMs);
            sendPresent(true);
        }
    }
    for (std::size_t i = 0; i < kMostAtOnce && !present_; ++i) {
        to_ = {camera_.bootstrap(reg::kMessageDestination),
               static_cast<std::uint16_t>(camera_.bootstrap(reg::kMessagePort) & wire::kPortMask)};
        if (to_.port == 0 || to_.address == 0) {
            clear();
            return std::nullopt;
        }
        if (!next()) {
            return std::nullopt;
        }
        request_ = static_cast<std::uint16_t>(request_ == 0xFFFF ? 1 : request_ + 1);
        sendPresent(timeoutMs != 0);
        if (timeoutMs == 0) {
            present_.reset();
            continue;
        }
        triesLeft_ = std::min(camera_.bootstrap(reg::kMessageRetries), kMostTries);
        again_ = now + std::chrono::milliseconds(timeoutMs);
    }
    return present_ ? again_ : now;
}

} // namespace simulator::gige
