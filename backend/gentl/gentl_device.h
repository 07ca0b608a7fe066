// An opened device of a producer.
#pragma once

#include "core/transport.h"
#include "gentl/event_pump.h"
#include "gentl/info.h"
#include "gentl/module_port.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace gentl
{

/// Owns the device handle. The camera is the remote port, the host's side the device's own port.
class GentlDevice final : public core::TransportDevice
{
public:
    /// Takes over the open handle, also when it fails.
    static ZelCamErr create(const Api& api, Handle device,
                            std::unique_ptr<core::TransportDevice>* result);
    ~GentlDevice() override;

    genapi::FeatureSource* camera() override { return &remotePort_; }
    std::vector<genapi::FeatureSource*> transportFeatures() override { return {&devicePort_}; }
    std::uint32_t streamCount() override;
    std::string streamId(std::uint32_t index) override;
    ZelCamErr openStream(std::uint32_t index, core::StreamSink* sink,
                         std::unique_ptr<core::TransportStream>* stream) override;
    void startEvents(core::DeviceSink* sink) override;
    void stopEvents() override;

private:
    /// EventGetDataInfo with the event bound: gives the question for a command.
    using InfoQuestionOf = std::function<InfoQuestion(std::int32_t command)>;

    GentlDevice(const Api& api, Handle device, Handle remotePort);
    void startPump(EventType type);
    bool decode(EventType type, const InfoQuestionOf& ask);
    bool decodeDeviceEvent(const InfoQuestionOf& ask);
    bool checkGone();

    const Api& api_;
    const Handle device_;
    ModulePort remotePort_;
    ModulePort devicePort_;
    std::uint64_t tickFrequency_ = 0;

    std::mutex sinkMutex_; ///< Guards sink_ against streams in trouble.
    core::DeviceSink* sink_ = nullptr;
    std::atomic<bool> gone_{false};
    std::vector<std::unique_ptr<EventPump>> pumps_;
};

} // namespace gentl
