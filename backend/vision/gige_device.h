// A GigE Vision camera.
#pragma once

#include "features/table_source.h"
#include "vision/message_channel.h"
#include "vision/network_adapter.h"
#include "vision/vision_device.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

namespace vision
{

/// Opened with control. A watch of our own asks once a second whether the camera is there and still
/// ours, so that a loss is noticed in about two seconds.
class GigeDevice final : public VisionDevice
{
public:
    /// -1005 when another client has control, -1007 when there is no answer.
    static ZelCamErr open(const NetworkAdapter& adapter, std::uint32_t address,
                          std::unique_ptr<core::TransportDevice>* device);

    GigeDevice(ArvPtr<ArvDevice> device, const NetworkAdapter& adapter, std::uint32_t address);
    ~GigeDevice() override;

    std::vector<genapi::FeatureSource*> transportFeatures() override { return {&features_}; }
    void startEvents(core::DeviceSink* sink) override;
    void stopEvents() override;

private:
    void declareFeatures();
    void declarePersistentIp();
    features::Feature& registerFeature(const char* name, const char* toolTip,
                                       std::uint64_t address);
    std::uint32_t readForHook(std::uint64_t address);
    void watch();

    const NetworkAdapter adapter_;
    const std::uint32_t address_;
    features::TableSource features_;
    std::unique_ptr<MessageChannel> messages_;

    std::mutex watchMutex_;
    std::condition_variable watchWake_;
    bool closing_ = false;
    std::thread watcher_;
};

} // namespace vision
