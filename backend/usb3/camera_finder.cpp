#include "usb3/camera_finder.h"

#include "base/log.h"
#include "base/text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <fstream>
#include <set>
#include <utility>

namespace usb3
{

namespace
{

std::string printable(std::string text)
{
    const auto isBlank = [](unsigned char c) { return c < 0x20 || c == 0x7F; };
    std::replace_if(text.begin(), text.end(), isBlank, ' ');
    const std::size_t end = text.find_last_not_of(' ');
    text.resize(end == std::string::npos ? 0 : end + 1);
    return base::toUtf8(text);
}

std::string stringOf(libusb_device_handle* handle, std::uint8_t index)
{
    std::array<unsigned char, 256> text{};
    if (index == 0) {
        return {};
    }
    const int size = libusb_get_string_descriptor_ascii(handle, index, text.data(),
                                                        static_cast<int>(text.size() - 1));
    if (size <= 0) {
        return {};
    }
    return printable(std::string(text.begin(), text.begin() + std::min<std::ptrdiff_t>(size, 255)));
}

/// What the kernel read when the device was plugged in; anybody may ask for it.
std::string kernelText(const UsbPlace& place, const char* name)
{
    std::ifstream file("/sys/bus/usb/devices/" + place.name() + "/" + name);
    std::string text;
    std::getline(file, text);
    return printable(text.substr(0, 256));
}

std::string numbers(const libusb_device_descriptor& device)
{
    char text[16];
    std::snprintf(text, sizeof text, "%04x:%04x", device.idVendor, device.idProduct);
    return text;
}

void fillFromHandle(libusb_device_handle* handle, const libusb_device_descriptor& device,
                    const wire::CameraStrings& strings, core::DeviceDescription* camera)
{
    const auto first = [handle](std::uint8_t a, std::uint8_t b) {
        const std::string text = stringOf(handle, a);
        return text.empty() ? stringOf(handle, b) : text;
    };
    camera->id = stringOf(handle, strings.guid);
    camera->vendor = first(strings.vendor, device.iManufacturer);
    camera->model = first(strings.model, device.iProduct);
    camera->serialNumber = first(strings.serial, device.iSerialNumber);
    camera->version = stringOf(handle, strings.version);
    camera->userDefinedName = stringOf(handle, strings.userName);
}

/// What the camera did not tell.
void fillFromKernel(const UsbPlace& place, core::DeviceDescription* camera)
{
    for (const auto& [text, name] :
         {std::pair<std::string*, const char*>{&camera->vendor, "manufacturer"},
          {&camera->model, "product"},
          {&camera->serialNumber, "serial"}}) {
        if (text->empty()) {
            *text = kernelText(place, name);
        }
    }
}

FoundCamera describe(libusb_device* device, const UsbPlace& place,
                     const wire::CameraStrings& strings)
{
    FoundCamera found;
    found.place = place;
    libusb_device_descriptor descriptor{};
    libusb_get_device_descriptor(device, &descriptor);
    core::DeviceDescription& camera = found.description;
    UsbResult result = UsbResult::Ok;
    if (const DeviceHandle handle = openHandle(device, &result)) {
        fillFromHandle(handle.get(), descriptor, strings, &camera);
        found.isComplete = true;
    } else {
        tellWhyClosed(place, result);
    }
    fillFromKernel(place, &camera);
    if (camera.vendor.empty()) {
        camera.vendor = "USB " + numbers(descriptor).substr(0, 4);
    }
    if (camera.model.empty()) {
        camera.model = "Camera " + numbers(descriptor);
    }
    if (camera.id.empty()) {
        camera.id = "usb-" + place.name();
    }
    if (camera.serialNumber.empty()) {
        camera.serialNumber = camera.id;
    }
    camera.displayName = camera.vendor + " " + camera.model + " (" + camera.serialNumber + ")";
    if (libusb_get_device_speed(device) < LIBUSB_SPEED_SUPER) {
        base::log(base::LogChannel::Usb3,
                  "the camera at %s runs slower than SuperSpeed: cable or port",
                  place.name().c_str());
    }
    return found;
}

} // namespace

bool describesCamera(libusb_device* device, wire::CameraDescriptor* camera)
{
    libusb_device_descriptor descriptor{};
    // Hubs and sticks are not asked any further; cameras say that their interfaces tell.
    if (libusb_get_device_descriptor(device, &descriptor) != LIBUSB_SUCCESS ||
        (descriptor.bDeviceClass != 0xEF && descriptor.bDeviceClass != 0)) {
        return false;
    }
    libusb_config_descriptor* configuration = nullptr;
    if (libusb_get_config_descriptor(device, 0, &configuration) != LIBUSB_SUCCESS ||
        configuration == nullptr) {
        return false;
    }
    const bool isCamera = wire::readCameraDescriptor(*configuration, camera);
    libusb_free_config_descriptor(configuration);
    return isCamera;
}

void tellWhyClosed(const UsbPlace& place, UsbResult reason)
{
    const std::string name = place.name();
    if (reason == UsbResult::NoAccess) {
        base::log(base::LogChannel::Usb3,
                  "no permission to open the camera at %s: a file below /etc/udev/rules.d with the "
                  "line SUBSYSTEM==\"usb\", ENV{ID_USB_INTERFACES}==\"*:ef0500:*\", MODE=\"0666\" "
                  "gives it; then plug the camera in again",
                  name.c_str());
    } else if (reason == UsbResult::InUse) {
        base::log(base::LogChannel::Usb3, "the camera at %s is used by another program",
                  name.c_str());
    } else {
        base::log(base::LogChannel::Usb3, "the camera at %s cannot be opened: %d", name.c_str(),
                  codeOf(reason));
    }
}

std::vector<FoundCamera> findCameras(libusb_context* context,
                                     const std::vector<FoundCamera>& before)
{
    std::vector<FoundCamera> cameras;
    std::set<std::string> ids;
    const DeviceList devices(context);
    for (libusb_device* const device : devices) {
        wire::CameraDescriptor descriptor;
        if (!describesCamera(device, &descriptor)) {
            continue;
        }
        const UsbPlace place = UsbPlace::of(device);
        const auto known =
            std::find_if(before.begin(), before.end(), [&](const FoundCamera& camera) {
                return camera.isComplete && camera.place == place;
            });
        FoundCamera found =
            known != before.end() ? *known : describe(device, place, descriptor.strings);
        if (!ids.insert(found.description.id).second) {
            found.description.id += "@" + place.name(); // two of them say to be the same
            ids.insert(found.description.id);
        }
        cameras.push_back(std::move(found));
    }
    return cameras;
}

} // namespace usb3
