// A data stream of a USB3 Vision camera.
#pragma once

#include "core/transport.h"
#include "features/table_source.h"
#include "usb3/camera_registers.h"
#include "usb3/frame_receiver.h"
#include "usb3/wire/interface_descriptor.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

namespace usb3
{

/// Programs the camera's streaming registers and lets the receiver run.
class Usb3Stream final : public core::TransportStream
{
public:
    /// What the device does for its stream; see FrameReceiver::Hooks.
    struct Device {
        std::function<void()> lost;
        std::function<void()> wake;
        std::function<void(Usb3Stream*)> closed; ///< By the destructor, first of all.
    };

    /// `handle` and `registers` are borrowed; the stream interface is claimed.
    Usb3Stream(libusb_device_handle* handle, CameraRegisters& registers,
               const wire::Interface& interface, core::StreamSink* sink, Device device);
    ~Usb3Stream() override;

    /// What the camera says, chunks included.
    std::uint64_t payloadSize() override;
    std::uint64_t minBuffers() override { return 2; }
    std::uint64_t alignment() override { return 4096; }
    std::shared_ptr<void> allocate(std::size_t size) override;
    ZelCamErr announce(core::BufferToken token, void* memory, std::size_t size) override;
    ZelCamErr revoke(core::BufferToken token) override { return receiver_->revoke(token); }
    ZelCamErr queue(core::BufferToken token) override { return receiver_->queue(token); }
    ZelCamErr discardAll() override { return receiver_->discardAll(); }
    /// -1014 when the camera has nothing to send, -1019 when it asks for what cannot be.
    ZelCamErr start(std::uint64_t frames) override;
    ZelCamErr stop(bool kill) override;
    core::StreamCounters counters() override;
    std::vector<genapi::FeatureSource*> features() override { return {&features_}; }

    /// Of the device's thread of events.
    void afterEvents() { receiver_->afterEvents(); }

private:
    void declareFeatures();
    void declareCounters();
    void resetEndpoint();
    void restartCamera();

    libusb_device_handle* const handle_;
    CameraRegisters& registers_;
    const unsigned char endpoint_;
    const Device device_;
    std::unique_ptr<FrameReceiver> receiver_; ///< Left alone when the kernel keeps its transfers.
    std::atomic<bool> runs_{false};
    std::uint64_t plannedPayload_ = 0; ///< Of the running stream.
    std::atomic<std::int64_t> transferSize_;
    std::atomic<std::int64_t> bytesInFlight_;
    std::atomic<std::int64_t> usesDeviceMemory_;
    features::TableSource features_;
};

} // namespace usb3
