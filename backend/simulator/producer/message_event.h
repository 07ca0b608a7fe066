// Events that carry a message: errors, feature changes, events of cameras and modules.
#pragma once

#include "simulator/camera_config.h"
#include "simulator/producer/event.h"

#include <deque>
#include <string>

namespace simulator::producer
{

// Raw data of messages, as EventGetData gives them and readEventData() takes them apart.
std::string errorMessage(gentl::Error code, const std::string& text);
std::string featureMessage(const std::string& name, const std::string& value = {});
/// `data` are the bytes of the event's port; what goes beyond kMaxMessageSize is cut off.
std::string deviceMessage(std::uint64_t eventId, const void* data, std::size_t size);
/// An event of the camera with the header of its wire format's event command, number `number`: what
/// other consumers' event adapters take. `data` as in CameraObserver::event().
std::string cameraMessage(WireFormat wire, std::uint16_t number, std::uint64_t eventId,
                          const void* data, std::size_t size);

/// Answers EventGetDataInfo for raw data of an event of `type`. Throws Failure -1009 for data that
/// no such event gives and for unknown commands, -1008 for what this type does not have.
InfoValue readEventData(gentl::EventType type, const void* raw, std::size_t size,
                        std::int32_t command);

constexpr std::size_t kMaxMessageSize = 1024;

/// Queue of messages. When nobody fetches, the oldest give way beyond kMaxMessages.
class MessageEvent : public Event
{
public:
    explicit MessageEvent(gentl::EventType type);
    void post(const std::string& message);

    static constexpr std::size_t kMaxMessages = 4096;

protected:
    std::size_t pending() const override { return messages_.size(); }
    std::uint64_t fired() const override { return fired_; }
    std::size_t nextSize() const override { return messages_.front().size(); }
    std::size_t maxSize() const override { return kMaxMessageSize; }
    void takeNext(void* data) override;
    void discardAll() override { messages_.clear(); }

private:
    std::deque<std::string> messages_;
    std::uint64_t fired_ = 0;
};

} // namespace simulator::producer
