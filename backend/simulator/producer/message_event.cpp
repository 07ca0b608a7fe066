// Messages as bytes, and their queue.
#include "simulator/producer/message_event.h"

#include "simulator/producer/failure.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace simulator::producer
{

namespace
{

InfoValue newBufferData(std::string_view raw, std::int32_t command)
{
    gentl::NewBufferData data{};
    requireParameter(raw.size() >= sizeof data, "too little data for a new-buffer event");
    std::memcpy(&data, raw.data(), sizeof data);
    if (command == gentl::kEventDataId) {
        return InfoValue::pointer(data.buffer);
    }
    if (command == gentl::kEventDataValue) {
        return InfoValue::pointer(data.userPointer);
    }
    throw Failure(gentl::err::kNoData, "a new-buffer event has no numeric id");
}

InfoValue errorData(std::string_view raw, std::int32_t command)
{
    gentl::Error code = 0;
    requireParameter(raw.size() >= sizeof code, "too little data for an error event");
    std::memcpy(&code, raw.data(), sizeof code);
    if (command == gentl::kEventDataId) {
        return InfoValue::int32(code);
    }
    if (command == gentl::kEventDataValue) {
        return InfoValue::text(raw.substr(sizeof code));
    }
    throw Failure(gentl::err::kNoData, "an error event has no numeric id");
}

InfoValue featureData(gentl::EventType type, std::string_view raw, std::int32_t command)
{
    const std::size_t nameEnd = raw.find('\0');
    requireParameter(nameEnd != std::string_view::npos, "the feature name is not closed");
    if (command == gentl::kEventDataId) {
        return InfoValue::text(raw.substr(0, nameEnd));
    }
    if (command == gentl::kEventDataValue) {
        const bool hasValue = type == gentl::kEventFeatureChange;
        return InfoValue::text(hasValue ? raw.substr(nameEnd + 1) : raw.substr(0, nameEnd));
    }
    throw Failure(gentl::err::kNoData, "a feature event has no numeric id");
}

InfoValue deviceData(std::string_view raw, std::int32_t command)
{
    std::uint64_t id = 0;
    requireParameter(raw.size() >= sizeof id, "too little data for a device event");
    std::memcpy(&id, raw.data(), sizeof id);
    if (command == gentl::kEventDataNumId) {
        return InfoValue::uint64(id);
    }
    if (command == gentl::kEventDataValue) {
        return InfoValue::bytes(raw.data() + sizeof id, raw.size() - sizeof id);
    }
    char hex[17];
    std::snprintf(hex, sizeof hex, "%" PRIX64, id);
    return InfoValue::text(hex);
}

} // namespace

std::string errorMessage(gentl::Error code, const std::string& text)
{
    std::string message(reinterpret_cast<const char*>(&code), sizeof code);
    message.append(text, 0, kMaxMessageSize - message.size() - 1);
    return message.append(1, '\0');
}

std::string featureMessage(const std::string& name, const std::string& value)
{
    return name + '\0' + value + '\0';
}

std::string deviceMessage(std::uint64_t eventId, const void* data, std::size_t size)
{
    std::string message(reinterpret_cast<const char*>(&eventId), sizeof eventId);
    message.append(static_cast<const char*>(data),
                   std::min(size, kMaxMessageSize - message.size()));
    return message;
}

InfoValue readEventData(gentl::EventType type, const void* raw, std::size_t size,
                        std::int32_t command)
{
    requireParameter(raw != nullptr, "the event data are null");
    requireParameter(command >= gentl::kEventDataId && command <= gentl::kEventDataNumId,
                     "unknown event data command");
    const std::string_view bytes(static_cast<const char*>(raw), size);
    switch (type) {
    case gentl::kEventNewBuffer:
        return newBufferData(bytes, command);
    case gentl::kEventError:
        return errorData(bytes, command);
    case gentl::kEventFeatureInvalidate:
    case gentl::kEventFeatureChange:
        return featureData(type, bytes, command);
    case gentl::kEventRemoteDevice:
    case gentl::kEventModule:
        return deviceData(bytes, command);
    }
    throw Failure(gentl::err::kInvalidParameter, "unknown event type");
}

MessageEvent::MessageEvent(gentl::EventType type) : Event(type, std::make_shared<WaitPoint>()) {}

void MessageEvent::post(const std::string& message)
{
    const std::lock_guard lock(waitPoint().mutex);
    if (messages_.size() == kMaxMessages) {
        messages_.pop_front();
    }
    messages_.push_back(message);
    ++fired_;
    waitPoint().changed.notify_all();
}

void MessageEvent::takeNext(void* data)
{
    if (data != nullptr) {
        std::memcpy(data, messages_.front().data(), messages_.front().size());
    }
    messages_.pop_front();
}

} // namespace simulator::producer
