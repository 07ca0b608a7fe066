#include "vision/vision_device.h"

#include "base/fork_guard.h"
#include "base/log.h"
#include "base/thread.h"
#include "vision/vision_stream.h"

namespace vision
{

VisionDevice::VisionDevice(ArvPtr<ArvDevice> device)
    : device_(std::move(device)), camera_(device_.get())
{
    handler_ = g_signal_connect(device_.get(), "control-lost", G_CALLBACK(onControlLost), this);
}

VisionDevice::~VisionDevice()
{
    if (base::inForkedChild()) {
        // The session belongs to the parent: saying good-bye would take the camera from it.
        (void)device_.release();
        return;
    }
    g_signal_handler_disconnect(device_.get(), handler_);
    if (camera_.isLost()) {
        ArvDevice* gone = device_.release();
        base::startThread("zel-farewell", [gone] { g_object_unref(gone); }).detach();
    }
}

void VisionDevice::onControlLost(ArvDevice*, void* self)
{
    static_cast<VisionDevice*>(self)->lost();
}

void VisionDevice::lost()
{
    if (camera_.isLost()) {
        return;
    }
    camera_.setLost();
    base::log(base::LogChannel::Vision, "device lost");
    const std::lock_guard<std::mutex> lock(mutex_);
    if (streamSink_ != nullptr) {
        streamSink_->streamBroken(ZelErr::kGenTLIo);
    }
    if (sink_ != nullptr) {
        sink_->deviceLost(ZelErr::kGenTLIo);
    }
}

void VisionDevice::deliver(std::uint64_t eventId, const void* data, std::size_t size)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    if (sink_ != nullptr) {
        sink_->event(eventId, data, size);
    }
}

std::string VisionDevice::streamId(std::uint32_t index) { return "Stream" + std::to_string(index); }

ZelCamErr VisionDevice::openStream(std::uint32_t index, core::StreamSink* sink,
                                   std::unique_ptr<core::TransportStream>* stream)
{
    if (index >= streamCount()) {
        return ZelErr::kGenTLInvalidIndex;
    }
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        streamSink_ = sink;
    }
    *stream = std::make_unique<VisionStream>(
        device_.get(), sink, [this] { return isLost(); },
        [this] {
            const std::lock_guard<std::mutex> lock(mutex_);
            streamSink_ = nullptr;
        });
    return ZelErr::kOk;
}

void VisionDevice::startEvents(core::DeviceSink* sink)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    sink_ = sink;
}

void VisionDevice::stopEvents()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    sink_ = nullptr;
}

} // namespace vision
