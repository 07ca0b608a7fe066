// A camera opened through Aravis, GigE Vision or USB3 Vision alike.
#pragma once

#include "core/transport.h"
#include "vision/arv_ptr.h"
#include "vision/camera_source.h"

#include <mutex>

namespace vision
{

/// What both families share. A device that is lost tells its sink once; closing a lost device goes
/// on in the background, because the farewell to a camera that is gone takes seconds.
class VisionDevice : public core::TransportDevice
{
public:
    explicit VisionDevice(ArvPtr<ArvDevice> device);
    ~VisionDevice() override;
    VisionDevice(const VisionDevice&) = delete;
    VisionDevice& operator=(const VisionDevice&) = delete;

    genapi::FeatureSource* camera() override { return &camera_; }
    std::vector<genapi::FeatureSource*> transportFeatures() override { return {}; }
    std::uint32_t streamCount() override { return 1; }
    std::string streamId(std::uint32_t index) override;
    ZelCamErr openStream(std::uint32_t index, core::StreamSink* sink,
                         std::unique_ptr<core::TransportStream>* stream) override;
    void startEvents(core::DeviceSink* sink) override;
    void stopEvents() override;

    ArvDevice* arv() const { return device_.get(); }

protected:
    bool isLost() const { return camera_.isLost(); }
    /// Tells the sinks that the device is gone; only the first call does something.
    void lost();
    /// The sink between startEvents() and stopEvents(), called under a lock that stopEvents()
    /// takes.
    void deliver(std::uint64_t eventId, const void* data, std::size_t size);

private:
    static void onControlLost(ArvDevice* device, void* self);

    ArvPtr<ArvDevice> device_;
    CameraSource camera_;
    std::mutex mutex_; ///< Guards the sinks; held while they are called.
    core::DeviceSink* sink_ = nullptr;
    core::StreamSink* streamSink_ = nullptr;
    gulong handler_ = 0;
};

} // namespace vision
