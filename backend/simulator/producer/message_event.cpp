// Messages as bytes, and their queue.
#include "simulator/producer/message_event.h"

#include "base/endian.h"
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

constexpr std::uint32_t kGvcpEventData = 0x420000C2; ///< Key, no flags, command.
constexpr std::size_t kGvcpHeader = 8;
constexpr std::uint32_t kUsb3EventMagic = 0x45563355;
constexpr std::uint16_t kUsb3Event = 0x0C00;
constexpr std::size_t kUsb3EventHeader = 12;

InfoValue hexText(std::uint64_t id)
{
    char hex[17];
    std::snprintf(hex, sizeof hex, "%" PRIX64, id);
    return InfoValue::text(hex);
}

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

/// Bytes of the command header before the entry of a message of the camera; 0: not such a message.
/// The bytes 4 to 7 tell them apart: there are the upper half of an identifier of 32 bits, the
/// length of a GigE Vision command, the code of a USB3 Vision one.
std::size_t commandHeader(std::string_view raw)
{
    if (raw.size() < kUsb3EventHeader || base::loadLittle<std::uint32_t>(raw.data() + 4) == 0) {
        return 0;
    }
    if (base::loadBig<std::uint32_t>(raw.data()) == kGvcpEventData) {
        return kGvcpHeader;
    }
    const bool isUsb3 = base::loadLittle<std::uint32_t>(raw.data()) == kUsb3EventMagic;
    return isUsb3 ? kUsb3EventHeader : 0;
}

InfoValue deviceData(std::string_view raw, std::int32_t command)
{
    std::uint64_t id = 0;
    if (const std::size_t header = commandHeader(raw); header != 0) {
        raw.remove_prefix(header);
        requireParameter(raw.size() >= sizeof(std::uint32_t), "too little data for a device event");
        id = header == kGvcpHeader ? base::loadBig<std::uint16_t>(raw.data() + 2)
                                   : base::loadLittle<std::uint16_t>(raw.data() + 2);
        if (command == gentl::kEventDataNumId) {
            return InfoValue::uint64(id);
        }
        return command == gentl::kEventDataValue ? InfoValue::bytes(raw.data(), raw.size())
                                                 : hexText(id);
    }
    requireParameter(raw.size() >= sizeof id, "too little data for a device event");
    std::memcpy(&id, raw.data(), sizeof id);
    if (command == gentl::kEventDataNumId) {
        return InfoValue::uint64(id);
    }
    if (command == gentl::kEventDataValue) {
        return InfoValue::bytes(raw.data() + sizeof id, raw.size() - sizeof id);
    }
    return hexText(id);
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

std::string cameraMessage(WireFormat wire, std::uint16_t number, std::uint64_t eventId,
                          const void* data, std::size_t size)
{
    requireParameter(size <= kMaxMessageSize - kUsb3EventHeader, "the event is too large");
    const auto length = static_cast<std::uint16_t>(size);
    std::string message;
    if (wire == WireFormat::GigEVision) {
        message.resize(kGvcpHeader);
        base::storeBig(message.data(), kGvcpEventData);
        base::storeBig(message.data() + 4, length);
        base::storeBig(message.data() + 6, number);
    } else if (wire == WireFormat::Usb3Vision) {
        message.resize(kUsb3EventHeader);
        base::storeLittle(message.data(), kUsb3EventMagic);
        base::storeLittle(message.data() + 6, kUsb3Event);
        base::storeLittle(message.data() + 8, length);
        base::storeLittle(message.data() + 10, number);
    } else {
        return deviceMessage(eventId, data, size);
    }
    return message.append(static_cast<const char*>(data), size);
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
