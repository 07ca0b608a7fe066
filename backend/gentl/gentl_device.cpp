// An opened device of a producer.
#include "gentl/gentl_device.h"

#include "gentl/gentl_stream.h"
#include "gentl/info.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace gentl
{

namespace
{

constexpr std::uint32_t kMaxStreams = 64;
constexpr std::size_t kMaxEventData = 1 << 20;
constexpr int kHexadecimal = 16;
constexpr int kProbes = 3;

// Any kind may be missing.
constexpr std::array<EventType, 4> kEventTypes = {kEventRemoteDevice, kEventModule, kEventError,
                                                  kEventFeatureInvalidate};

} // namespace

GentlDevice::GentlDevice(const Api& api, Handle device, Handle remotePort)
    : api_(api), device_(device), remotePort_(api, remotePort), devicePort_(api, device)
{
    tickFrequency_ = askNumber([&](std::int32_t* type, void* data, std::size_t* size) {
                         return api_.call<&FunctionTable::DevGetInfo>(
                             "DevGetInfo", device_, std::int32_t{kDeviceInfoTimestampFrequency},
                             type, data, size);
                     }).value_or(0);
}

ZelCamErr GentlDevice::create(const Api& api, Handle device,
                              std::unique_ptr<core::TransportDevice>* result)
{
    Handle remotePort = nullptr;
    const Error code = api.call<&FunctionTable::DevGetPort>("DevGetPort", device, &remotePort);
    if (code != err::kSuccess || remotePort == nullptr) {
        api.call<&FunctionTable::DevClose>("DevClose", device);
        return code != err::kSuccess ? code : err::kError;
    }
    try {
        result->reset(new GentlDevice(api, device, remotePort));
    } catch (...) {
        api.call<&FunctionTable::DevClose>("DevClose", device);
        throw;
    }
    return err::kSuccess;
}

GentlDevice::~GentlDevice()
{
    stopEvents();
    api_.call<&FunctionTable::DevClose>("DevClose", device_);
}

std::uint32_t GentlDevice::streamCount()
{
    std::uint32_t count = 0;
    const Error code =
        api_.call<&FunctionTable::DevGetNumDataStreams>("DevGetNumDataStreams", device_, &count);
    return code == err::kSuccess ? std::min(count, kMaxStreams) : 0;
}

std::string GentlDevice::streamId(std::uint32_t index)
{
    return askId([&](char* text, std::size_t* size) {
               return api_.call<&FunctionTable::DevGetDataStreamID>("DevGetDataStreamID", device_,
                                                                    index, text, size);
           })
        .value_or("");
}

ZelCamErr GentlDevice::openStream(std::uint32_t index, core::StreamSink* sink,
                                  std::unique_ptr<core::TransportStream>* stream)
{
    const std::string id = streamId(index);
    Handle handle = nullptr;
    const Error code = api_.call<&FunctionTable::DevOpenDataStream>("DevOpenDataStream", device_,
                                                                    id.c_str(), &handle);
    if (code != err::kSuccess || handle == nullptr) {
        return code != err::kSuccess ? code : err::kError;
    }
    return GentlStream::create(
        api_, handle, tickFrequency_, sink, [this] { return checkGone(); }, stream);
}

void GentlDevice::startEvents(core::DeviceSink* sink)
{
    {
        const std::lock_guard<std::mutex> guard(sinkMutex_);
        sink_ = sink;
    }
    for (const EventType type : kEventTypes) {
        startPump(type);
    }
}

void GentlDevice::stopEvents()
{
    pumps_.clear();
    const std::lock_guard<std::mutex> guard(sinkMutex_);
    sink_ = nullptr;
}

void GentlDevice::startPump(EventType type)
{
    EventPump::Handlers handlers;
    handlers.event = [this, type](Handle event, const void* data, std::size_t size) {
        return decode(type, [=](std::int32_t command) {
            return [=](std::int32_t* infoType, void* out, std::size_t* outSize) {
                return api_.call<&FunctionTable::EventGetDataInfo>(
                    "EventGetDataInfo", event, data, size, command, infoType, out, outSize);
            };
        });
    };
    handlers.trouble = [this](Error) { return checkGone(); };
    Error code = err::kSuccess;
    auto pump = EventPump::start(api_, device_, type, std::move(handlers), &code);
    if (pump != nullptr) {
        pumps_.push_back(std::move(pump));
    }
}

bool GentlDevice::decode(EventType type, const InfoQuestionOf& ask)
{
    switch (type) {
    case kEventError:
        static_cast<void>(checkGone());
        return true;
    case kEventFeatureInvalidate:
        sink_->featuresInvalidated();
        return true;
    default:
        return decodeDeviceEvent(ask);
    }
}

// The id is a number, or hexadecimal text from producers that are older.
bool GentlDevice::decodeDeviceEvent(const InfoQuestionOf& ask)
{
    auto id = askNumber(ask(kEventDataNumId));
    if (!id) {
        const auto text = askText(ask(kEventDataId));
        char* end = nullptr;
        const std::uint64_t parsed =
            text ? std::strtoull(text->c_str(), &end, kHexadecimal) : std::uint64_t{0};
        if (!text || end == text->c_str()) {
            return false;
        }
        id = parsed;
    }
    const InfoQuestion value = ask(kEventDataValue);
    std::int32_t type = kTypeUnknown;
    std::size_t size = 0;
    std::vector<unsigned char> data;
    if (value(&type, nullptr, &size) == err::kSuccess && size > 0 && size <= kMaxEventData) {
        data.resize(size);
        if (value(&type, data.data(), &size) != err::kSuccess) {
            data.clear();
        }
        data.resize(std::min(size, data.size()));
    }
    sink_->event(*id, data.data(), data.size());
    return true;
}

// On the threads of the pumps. A camera that answers is there, whatever else was reported.
bool GentlDevice::checkGone()
{
    if (gone_) {
        return true;
    }
    for (int attempt = 0; attempt < kProbes; ++attempt) {
        switch (remotePort_.probe()) {
        case err::kIo:
        case err::kTimeout:
        case err::kInvalidHandle:
        case err::kInvalidId:
        case err::kNotInitialized:
        case err::kAccessDenied:
            break;
        default:
            return false;
        }
    }
    gone_ = true;
    const std::lock_guard<std::mutex> guard(sinkMutex_);
    if (sink_ != nullptr) {
        sink_->deviceLost(err::kIo);
    }
    return true;
}

} // namespace gentl
