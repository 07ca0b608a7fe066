#include "vision/vision_device.h"

#include "base/fork_guard.h"
#include "base/log.h"
#include "base/thread.h"
#include "vision/vision_stream.h"

#include <algorithm>
#include <vector>

namespace vision
{

namespace
{
// One request of the control protocols carries little; the library splits it further.
constexpr std::size_t kPiece = 4096;
} // namespace

ZelCamErr CameraSource::description(std::string* document)
{
    std::size_t size = 0;
    const char* xml = arv_device_get_genicam_xml(device_, &size);
    if (xml == nullptr || size == 0) {
        return ZelErr::kGenTLNoData;
    }
    document->assign(xml, size);
    return ZelErr::kOk;
}

ZelCamErr CameraSource::read(std::uint64_t address, void* data, std::size_t size)
{
    auto* bytes = static_cast<std::uint8_t*>(data);
    while (size > 0) {
        if (lost_) {
            return ZelErr::kGenTLIo;
        }
        const std::size_t piece = std::min(size, kPiece);
        ArvError error;
        if (!arv_device_read_memory(device_, address, static_cast<guint32>(piece), bytes,
                                    error.out())) {
            return error.failed() ? error.code() : ZelErr::kGenTLIo;
        }
        address += piece;
        bytes += piece;
        size -= piece;
    }
    return ZelErr::kOk;
}

ZelCamErr CameraSource::write(std::uint64_t address, const void* data, std::size_t size)
{
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    while (size > 0) {
        if (lost_) {
            return ZelErr::kGenTLIo;
        }
        const std::size_t piece = std::min(size, kPiece);
        // The library's declaration lacks the const; it does not write to the memory.
        std::vector<std::uint8_t> copy(bytes, bytes + piece);
        ArvError error;
        if (!arv_device_write_memory(device_, address, static_cast<guint32>(piece), copy.data(),
                                     error.out())) {
            return error.failed() ? error.code() : ZelErr::kGenTLIo;
        }
        address += piece;
        bytes += piece;
        size -= piece;
    }
    return ZelErr::kOk;
}

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
    *stream = std::make_unique<VisionStream>(device_.get(), sink, [this] {
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
