// An opened USB3 Vision camera.
#pragma once

#include "base/mutex.h"
#include "core/transport.h"
#include "features/table_source.h"
#include "usb3/camera_registers.h"
#include "usb3/control_channel.h"
#include "usb3/event_reader.h"
#include "usb3/usb3_stream.h"
#include "usb3/usb_control_pipe.h"
#include "usb3/usb_handle.h"

#include <atomic>
#include <memory>
#include <thread>

namespace usb3
{

/// The camera's interfaces, claimed. Released and closed with the object.
struct OpenCamera {
    OpenCamera() = default;
    OpenCamera(const OpenCamera&) = delete;
    OpenCamera& operator=(const OpenCamera&) = delete;
    ~OpenCamera();

    std::unique_ptr<UsbContext> context;
    DeviceHandle handle;
    wire::CameraDescriptor descriptor; ///< `in` is 0 for what could not be claimed.
    std::vector<int> claimed;
    std::string place;
    int speed = 0; ///< As libusb numbers them.
};

/// Opens the camera at `place`: -1007 when there is none (any more), -1005 without permission and
/// when somebody else has it, else the code of what failed.
ZelCamErr openCamera(const UsbPlace& place, std::unique_ptr<OpenCamera>* camera);

/// Has a context of libusb and a thread of its own, while it is open: a camera that makes its host
/// wait (a halted endpoint takes a request to clear it) does not make the others wait, and what is
/// unplugged is one camera's matter. The thread sleeps in libusb; frames go from its completions
/// straight to their stream.
class Usb3Device final : public core::TransportDevice
{
public:
    /// `closed` is called first of all by the destructor.
    Usb3Device(std::unique_ptr<OpenCamera> camera, std::function<void()> closed);
    ~Usb3Device() override;
    Usb3Device(const Usb3Device&) = delete;
    Usb3Device& operator=(const Usb3Device&) = delete;

    /// To be called once, first: -1010 and so on when the camera does not tell where its registers
    /// are.
    ZelCamErr begin();

    genapi::FeatureSource* camera() override { return &registers_; }
    CameraRegisters& registers() { return registers_; }
    std::vector<genapi::FeatureSource*> transportFeatures() override { return {&features_}; }
    std::uint32_t streamCount() override;
    std::string streamId(std::uint32_t index) override;
    ZelCamErr openStream(std::uint32_t index, core::StreamSink* sink,
                         std::unique_ptr<core::TransportStream>* stream) override;
    void startEvents(core::DeviceSink* sink) override;
    void stopEvents() override;

private:
    static int LIBUSB_CALL onHotplug(libusb_context*, libusb_device* device, libusb_hotplug_event,
                                     void* self);
    void declareFeatures();
    void run();
    void wake();
    /// Tells the sinks that the device is gone; only the first call does something.
    void tellLost();
    void takeEvents(const std::uint8_t* bytes, std::size_t size);

    std::unique_ptr<OpenCamera> usb_;
    const std::function<void()> closed_;
    UsbControlPipe pipe_;
    ControlChannel channel_;
    CameraRegisters registers_;
    features::TableSource features_;
    std::unique_ptr<EventReader> events_;
    libusb_hotplug_callback_handle hotplug_ = 0;
    bool hasHotplug_ = false;
    bool keepsEvents_ = false; ///< The kernel did not give their memory back.

    base::Mutex sinkMutex_; ///< Held while the sinks are called.
    core::DeviceSink* sink_ ZEL_GUARDED_BY(sinkMutex_) = nullptr;
    core::StreamSink* streamSink_ ZEL_GUARDED_BY(sinkMutex_) = nullptr;
    base::Mutex streamMutex_; ///< Held while the thread is inside the stream.
    Usb3Stream* stream_ ZEL_GUARDED_BY(streamMutex_) = nullptr;

    std::atomic<bool> isTold_{false};
    std::atomic<bool> closing_{false};
    std::thread thread_;
};

} // namespace usb3
