#include "vision/usb_interface.h"

#include "base/text.h"
#include "gentl_abi/gentl_abi.h"
#include "vision/vision_device.h"
#include "zel_camera_api.h"

#include <algorithm>

namespace vision
{

namespace
{

std::string text(const char* raw) { return base::toUtf8(raw != nullptr ? raw : ""); }

ArvInterface* instance()
{
    silenceAravis();
    return arv_uv_interface_get_instance();
}

} // namespace

UsbInterface::UsbInterface() : interface_(instance()), features_("UsbInterface", "USB3 Vision")
{
    features::FeatureTable& table = features_.table();
    table.category("InterfaceInformation", "The USB host controllers of this machine.");
    table.string("InterfaceID", "Name of the interface.", 64).readOnly().value(std::string("usb"));
    table.category("DeviceEnumeration", "Devices found by the last enumeration.");
    table.integer("DeviceCount", "Number of devices.").readOnly().onRead([this](std::size_t) {
        const std::lock_guard<std::mutex> lock(mutex_);
        return features::FeatureValue(static_cast<std::int64_t>(ids_.size()));
    });
    table.finish();
}

std::int32_t UsbInterface::type() { return ZelCam::kUsb3Vision; }

ZelCamErr UsbInterface::updateDevices(std::uint64_t, std::vector<core::DeviceDescription>* devices)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    arv_interface_update_device_list(interface_);
    ids_.clear();
    devices->clear();
    const unsigned int count = arv_interface_get_n_devices(interface_);
    for (unsigned int i = 0; i < count; ++i) {
        core::DeviceDescription description;
        description.id = text(arv_interface_get_device_id(interface_, i));
        description.vendor = text(arv_interface_get_device_vendor(interface_, i));
        description.model = text(arv_interface_get_device_model(interface_, i));
        description.serialNumber = text(arv_interface_get_device_serial_nbr(interface_, i));
        description.displayName =
            description.vendor + " " + description.model + " (" + description.serialNumber + ")";
        ids_.push_back(description.id);
        devices->push_back(std::move(description));
    }
    return ZelErr::kOk;
}

std::int32_t UsbInterface::accessStatus(const std::string& id)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    // Whether another process holds the device shows only when it is opened.
    return std::find(ids_.begin(), ids_.end(), id) != ids_.end() ? gentl::kStatusReadWrite
                                                                 : gentl::kStatusNoAccess;
}

ZelCamErr UsbInterface::openDevice(const std::string& id,
                                   std::unique_ptr<core::TransportDevice>* device)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    ArvError error;
    ArvPtr<ArvDevice> arv(arv_interface_open_device(interface_, id.c_str(), error.out()));
    if (arv == nullptr) {
        if (!error.failed() || error.code() == ZelErr::kGenTLInvalidId) {
            return ZelErr::kGenTLInvalidId;
        }
        return ZelErr::kGenTLAccessDenied;
    }
    *device = std::make_unique<VisionDevice>(std::move(arv));
    return ZelErr::kOk;
}

} // namespace vision
