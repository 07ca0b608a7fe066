#include "usb3/usb3_device.h"

#include "base/fork_guard.h"
#include "base/log.h"
#include "base/operation_guard.h"
#include "base/thread.h"
#include "usb3/camera_finder.h"
#include "usb3/wire/event_packet.h"

#include <algorithm>
#include <new>

namespace usb3
{

namespace
{

constexpr timeval kTick = {0, 100000};
constexpr std::chrono::milliseconds kPatience{500};

const char* speedName(int speed)
{
    switch (speed) {
    case LIBUSB_SPEED_FULL:
        return "FullSpeed";
    case LIBUSB_SPEED_HIGH:
        return "HighSpeed";
    case LIBUSB_SPEED_SUPER:
        return "SuperSpeed";
    case LIBUSB_SPEED_SUPER_PLUS:
        return "SuperSpeedPlus";
    default:
        return "Unknown";
    }
}

/// Claims one interface; the camera's others go on without it.
bool claim(OpenCamera& camera, wire::Interface& interface, UsbResult* result)
{
    *result = usbResult(libusb_claim_interface(camera.handle.get(), interface.number));
    if (*result != UsbResult::Ok) {
        base::log(base::LogChannel::Usb3, "interface %d of %s cannot be claimed: %d",
                  interface.number, camera.place.c_str(), codeOf(*result));
        interface.in = 0;
        return false;
    }
    camera.claimed.push_back(interface.number);
    return true;
}

} // namespace

OpenCamera::~OpenCamera()
{
    for (auto number = claimed.rbegin(); number != claimed.rend(); ++number) {
        libusb_release_interface(handle.get(), *number);
    }
    handle.reset(); // before its context
}

ZelCamErr openCamera(const UsbPlace& place, std::unique_ptr<OpenCamera>* camera)
{
    auto opened = std::make_unique<OpenCamera>();
    opened->context = UsbContext::create();
    if (opened->context == nullptr) {
        return ZelErr::kGenTLResourceExhausted;
    }
    const DeviceList devices(opened->context->get());
    const auto found = std::find_if(devices.begin(), devices.end(), [&](libusb_device* device) {
        return UsbPlace::of(device) == place && describesCamera(device, &opened->descriptor);
    });
    if (found == devices.end()) {
        return ZelErr::kGenTLInvalidId;
    }
    UsbResult result = UsbResult::Ok;
    opened->place = place.name();
    opened->speed = libusb_get_device_speed(*found);
    opened->handle = openHandle(*found, &result);
    if (opened->handle == nullptr) {
        tellWhyClosed(place, result);
        return result == UsbResult::Gone ? ZelErr::kGenTLInvalidId : codeOf(result);
    }
    libusb_set_auto_detach_kernel_driver(opened->handle.get(), 1);
    wire::CameraDescriptor& descriptor = opened->descriptor;
    if (!claim(*opened, descriptor.control, &result) ||
        (descriptor.stream.in != 0 && !claim(*opened, descriptor.stream, &result))) {
        tellWhyClosed(place, result);
        return result == UsbResult::Gone ? ZelErr::kGenTLInvalidId : codeOf(result);
    }
    if (descriptor.event.in != 0) {
        static_cast<void>(claim(*opened, descriptor.event, &result));
    }
    *camera = std::move(opened);
    return ZelErr::kOk;
}

Usb3Device::Usb3Device(std::unique_ptr<OpenCamera> camera, std::function<void()> closed)
    : usb_(std::move(camera)), closed_(std::move(closed)),
      pipe_(usb_->handle.get(), usb_->descriptor.control), channel_(pipe_, [this] { wake(); }),
      registers_(channel_), features_("Usb3Device", "USB3 Vision control channel")
{
    declareFeatures();
}

Usb3Device::~Usb3Device()
{
    if (base::inForkedChild()) {
        // The thread and the claims are the parent's.
        static_cast<void>(usb_.release());
        static_cast<void>(events_.release());
        // Never joined, never destroyed.
        static_cast<void>(new (std::nothrow) std::thread(std::move(thread_)));
        return;
    }
    closed_();
    stopEvents();
    closing_ = true;
    wake();
    if (thread_.joinable()) {
        thread_.join();
    }
    if (keepsEvents_) {
        static_cast<void>(events_.release());
    }
    if (hasHotplug_) {
        libusb_hotplug_deregister_callback(usb_->context->get(), hotplug_);
    }
}

ZelCamErr Usb3Device::begin()
{
    // What a client that ended badly left behind.
    pipe_.clearHalts();
    pipe_.drain();
    const ZelCamErr code = registers_.readBootstrap();
    if (code != ZelErr::kOk) {
        return channel_.isLost() ? ZelErr::kGenTLIo : code;
    }
    static_cast<void>(registers_.disableStream(kPatience));
    if (usb_->descriptor.event.in != 0 && registers_.hasEvents()) {
        events_ = std::make_unique<EventReader>(
            usb_->handle.get(), usb_->descriptor.event.in,
            [this](const std::uint8_t* bytes, std::size_t size) { takeEvents(bytes, size); },
            [this] { wake(); });
    }
    if (libusb_has_capability(LIBUSB_CAP_HAS_HOTPLUG) != 0) {
        hasHotplug_ =
            libusb_hotplug_register_callback(
                usb_->context->get(), LIBUSB_HOTPLUG_EVENT_DEVICE_LEFT, LIBUSB_HOTPLUG_NO_FLAGS,
                LIBUSB_HOTPLUG_MATCH_ANY, LIBUSB_HOTPLUG_MATCH_ANY, LIBUSB_HOTPLUG_MATCH_ANY,
                &Usb3Device::onHotplug, this, &hotplug_) == LIBUSB_SUCCESS;
    }
    thread_ = base::startThread("zel-usb3", [this] { run(); });
    return ZelErr::kOk;
}

void Usb3Device::declareFeatures()
{
    features::FeatureTable& table = features_.table();
    table.category("USB3VisionTransport", "The connection to the camera.");
    table.string("UsbSpeed", "Speed of the bus: less than SuperSpeed is a wrong port or cable.", 32)
        .readOnly()
        .value(std::string(speedName(usb_->speed)));
    table.string("UsbPlace", "Bus and ports, as the system names them.", 64)
        .readOnly()
        .value(usb_->place);
    table.boolean("UsbEventChannel", "Whether the camera can send events.")
        .readOnly()
        .onRead([this](std::size_t) {
            return features::FeatureValue(std::int64_t{events_ != nullptr});
        });
    table.finish();
}

int LIBUSB_CALL Usb3Device::onHotplug(libusb_context*, libusb_device* device, libusb_hotplug_event,
                                      void* self)
{
    auto* const camera = static_cast<Usb3Device*>(self);
    if (device == libusb_get_device(camera->usb_->handle.get())) {
        camera->channel_.setLost(); // told after this round of events
    }
    return 0;
}

void Usb3Device::wake() { libusb_interrupt_event_handler(usb_->context->get()); }

void Usb3Device::run()
{
    base::contained("usb3 thread", [this] {
        while (!closing_) {
            timeval tick = kTick;
            const int code =
                libusb_handle_events_timeout_completed(usb_->context->get(), &tick, nullptr);
            if (code == LIBUSB_ERROR_NO_DEVICE) {
                channel_.setLost();
            } else if (code != LIBUSB_SUCCESS && code != LIBUSB_ERROR_INTERRUPTED) {
                std::this_thread::sleep_for(std::chrono::milliseconds(10)); // no busy loop
            }
            if (events_ != nullptr) {
                events_->afterEvents();
                if (events_->isGone()) {
                    channel_.setLost();
                }
            }
            {
                const base::Lock lock(streamMutex_);
                if (stream_ != nullptr) {
                    stream_->afterEvents();
                }
            }
            if (channel_.isLost()) {
                tellLost();
            }
        }
    });
}

void Usb3Device::tellLost()
{
    if (isTold_.exchange(true)) {
        return;
    }
    base::log(base::LogChannel::Usb3, "the camera at %s is gone", usb_->place.c_str());
    const base::Lock lock(sinkMutex_);
    if (streamSink_ != nullptr) {
        streamSink_->streamBroken(ZelErr::kGenTLIo);
    }
    if (sink_ != nullptr) {
        sink_->deviceLost(ZelErr::kGenTLIo);
    }
}

std::uint32_t Usb3Device::streamCount()
{
    return usb_->descriptor.stream.in != 0 && registers_.hasStream() ? 1 : 0;
}

std::string Usb3Device::streamId(std::uint32_t index) { return "Stream" + std::to_string(index); }

ZelCamErr Usb3Device::openStream(std::uint32_t index, core::StreamSink* sink,
                                 std::unique_ptr<core::TransportStream>* stream)
{
    if (index >= streamCount()) {
        return ZelErr::kGenTLInvalidIndex;
    }
    Usb3Stream::Device device;
    device.lost = [this] { channel_.setLost(); };
    device.wake = [this] { wake(); };
    device.closed = [this](Usb3Stream*) {
        {
            const base::Lock lock(streamMutex_);
            stream_ = nullptr;
        }
        const base::Lock lock(sinkMutex_);
        streamSink_ = nullptr;
    };
    auto made = std::make_unique<Usb3Stream>(usb_->handle.get(), registers_,
                                             usb_->descriptor.stream, sink, std::move(device));
    {
        const base::Lock lock(sinkMutex_);
        streamSink_ = sink;
    }
    const base::Lock lock(streamMutex_);
    stream_ = made.get();
    *stream = std::move(made);
    return ZelErr::kOk;
}

void Usb3Device::startEvents(core::DeviceSink* sink)
{
    {
        const base::Lock lock(sinkMutex_);
        sink_ = sink;
    }
    if (channel_.isLost()) {
        isTold_ = false; // Gone before anybody could be told.
        wake();
    }
    std::uint32_t size = 0;
    if (events_ != nullptr && registers_.eventTransferSize(&size) == ZelErr::kOk &&
        events_->start(size)) {
        const ZelCamErr code = registers_.enableEvents(true);
        if (code != ZelErr::kOk) {
            base::log(base::LogChannel::Usb3, "no events: %d", code);
        }
    }
}

void Usb3Device::stopEvents()
{
    if (events_ != nullptr && !channel_.isLost()) {
        static_cast<void>(registers_.enableEvents(false));
    }
    keepsEvents_ = events_ != nullptr && !events_->stop();
    const base::Lock lock(sinkMutex_);
    sink_ = nullptr;
}

void Usb3Device::takeEvents(const std::uint8_t* bytes, std::size_t size)
{
    const base::Lock lock(sinkMutex_);
    if (sink_ == nullptr) {
        return;
    }
    const bool good = wire::readEvents(
        bytes, size, [this](std::uint16_t id, const std::uint8_t* data, std::size_t length) {
            // The lambda runs under the lock of the function around it.
            sink_->event(id, data, length);
        });
    if (!good) {
        base::log(base::LogChannel::Usb3, "a damaged event of %zu bytes", size);
    }
}

} // namespace usb3
