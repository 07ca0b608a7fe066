#include "usb3/usb3_interface.h"

#include "base/camera_places.h"
#include "base/log.h"
#include "gentl_abi/gentl_abi.h"
#include "usb3/device_memory.h"
#include "zel_camera_api.h"

#include <algorithm>

namespace usb3
{

Usb3Interface::Usb3Interface() : features_("UsbInterface", "USB3 Vision")
{
    features::FeatureTable& table = features_.table();
    table.category("InterfaceInformation", "The USB host controllers of this machine.");
    table.string("InterfaceID", "Name of the interface.", 64).readOnly().value(std::string("usb"));
    table.category("DeviceEnumeration", "Devices found by the last enumeration.");
    table.integer("DeviceCount", "Number of devices.").readOnly().onRead([this](std::size_t) {
        const base::Lock lock(mutex_);
        return features::FeatureValue(static_cast<std::int64_t>(cameras_.size()));
    });
    table
        .integer("ClosedDeviceCount",
                 "Those of them that could not be opened to ask for their names.")
        .readOnly()
        .onRead([this](std::size_t) {
            const base::Lock lock(mutex_);
            const auto closed =
                std::count_if(cameras_.begin(), cameras_.end(),
                              [](const FoundCamera& one) { return !one.isComplete; });
            return features::FeatureValue(static_cast<std::int64_t>(closed));
        });
    table
        .integer("UsbMemoryLimit", "What the kernel gives all USB transfers of all processes "
                                   "(usbfs_memory_mb); 0: no limit, or not known.")
        .unit("MB")
        .readOnly()
        .onRead(
            [](std::size_t) { return features::FeatureValue(kernelMemoryLimit().value_or(0)); });
    table.finish();
}

std::int32_t Usb3Interface::type() { return ZelCam::kUsb3Vision; }

ZelCamErr Usb3Interface::updateDevices(std::uint64_t, std::vector<core::DeviceDescription>* devices)
{
    {
        const base::Lock lock(mutex_);
        if (context_ == nullptr) {
            context_ = UsbContext::create();
        }
        // Without USB there are no cameras.
        cameras_ = context_ != nullptr ? findCameras(context_->get(), cameras_)
                                       : std::vector<FoundCamera>();
        devices->clear();
        for (const FoundCamera& camera : cameras_) {
            devices->push_back(camera.description);
        }
    }
    for (core::DeviceDescription& device : *devices) {
        refreshName(&device);
    }
    return ZelErr::kOk;
}

void Usb3Interface::refreshName(core::DeviceDescription* camera)
{
    std::string name;
    {
        const base::Lock lock(openMutex_);
        const auto open = open_.find(camera->id);
        if (open == open_.end()) {
            return;
        }
        name = open->second->registers().userDefinedName();
    }
    camera->userDefinedName = name;
    const base::Lock lock(mutex_);
    for (FoundCamera& known : cameras_) {
        if (known.description.id == camera->id) {
            known.description.userDefinedName = name;
        }
    }
}

bool Usb3Interface::find(const std::string& id, UsbPlace* place)
{
    const base::Lock lock(mutex_);
    for (const FoundCamera& camera : cameras_) {
        if (camera.description.id == id) {
            *place = camera.place;
            return true;
        }
    }
    return false;
}

std::int32_t Usb3Interface::accessStatus(const std::string& id)
{
    UsbPlace place;
    if (!find(id, &place)) {
        return gentl::kStatusUnknown;
    }
    const base::Lock lock(mutex_);
    const DeviceList devices(context_->get());
    for (libusb_device* const device : devices) {
        wire::CameraDescriptor descriptor;
        if (!(UsbPlace::of(device) == place) || !describesCamera(device, &descriptor)) {
            continue;
        }
        UsbResult result = UsbResult::Ok;
        const DeviceHandle handle = openHandle(device, &result);
        if (handle == nullptr) {
            return gentl::kStatusNoAccess;
        }
        const int number = descriptor.control.number;
        result = usbResult(libusb_claim_interface(handle.get(), number));
        if (result == UsbResult::Ok) {
            libusb_release_interface(handle.get(), number);
            return gentl::kStatusReadWrite;
        }
        return result == UsbResult::InUse ? gentl::kStatusBusy : gentl::kStatusNoAccess;
    }
    return gentl::kStatusUnknown;
}

ZelCamErr Usb3Interface::openDevice(const std::string& id,
                                    std::unique_ptr<core::TransportDevice>* device)
{
    UsbPlace place;
    if (!find(id, &place)) {
        return ZelErr::kGenTLInvalidId;
    }
    std::unique_ptr<OpenCamera> camera;
    ZelCamErr code = openCamera(place, &camera);
    if (code != ZelErr::kOk) {
        return code;
    }
    auto made = std::make_unique<Usb3Device>(std::move(camera), [this, id] {
        const base::Lock lock(openMutex_);
        open_.erase(id);
    });
    code = made->begin();
    if (code != ZelErr::kOk) {
        base::log(base::LogChannel::Usb3, "the camera %s does not answer as one: %d", id.c_str(),
                  code);
        return code;
    }
    base::log(base::LogChannel::Usb3, "opened %s at %s", id.c_str(), place.name().c_str());
    {
        const base::Lock lock(openMutex_);
        open_[id] = made.get();
    }
    *device = std::move(made);
    return ZelErr::kOk;
}

std::vector<core::TransportInterface*> Usb3Provider::updateInterfaces()
{
    if (!base::camerasAllowedAt("usb")) {
        return {};
    }
    return {&interface_};
}

} // namespace usb3
