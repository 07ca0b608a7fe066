#include "usb3/wire/interface_descriptor.h"

#include <libusb.h>

namespace usb3::wire
{

namespace
{

constexpr std::uint8_t kClass = 0xEF;
constexpr std::uint8_t kSubclass = 0x05;
enum Protocol : std::uint8_t { kControl = 0, kEvent = 1, kStream = 2 };

Interface endpointsOf(const libusb_interface_descriptor& descriptor)
{
    Interface found;
    found.number = descriptor.bInterfaceNumber;
    // libusb counts endpoints that a cut descriptor only promises.
    const int count = descriptor.endpoint != nullptr ? descriptor.bNumEndpoints : 0;
    for (int i = 0; i < count; ++i) {
        const libusb_endpoint_descriptor& endpoint = descriptor.endpoint[i];
        if ((endpoint.bmAttributes & LIBUSB_TRANSFER_TYPE_MASK) != LIBUSB_TRANSFER_TYPE_BULK) {
            continue;
        }
        if ((endpoint.bEndpointAddress & LIBUSB_ENDPOINT_IN) != 0) {
            found.in = endpoint.bEndpointAddress;
            found.packetSize = endpoint.wMaxPacketSize;
        } else {
            found.out = endpoint.bEndpointAddress;
        }
    }
    return found;
}

} // namespace

bool readCameraStrings(const std::uint8_t* bytes, std::size_t size, CameraStrings* strings)
{
    constexpr std::size_t kLength = 20;
    while (size >= 2 && bytes[0] >= 2 && bytes[0] <= size) {
        if (bytes[0] >= kLength && bytes[1] == 0x24 && bytes[2] == 0x01) {
            strings->guid = bytes[11];
            strings->vendor = bytes[12];
            strings->model = bytes[13];
            strings->version = bytes[15];
            strings->serial = bytes[17];
            strings->userName = bytes[18];
            return true;
        }
        size -= bytes[0];
        bytes += bytes[0];
    }
    return false;
}

bool readCameraDescriptor(const libusb_config_descriptor& configuration, CameraDescriptor* camera)
{
    *camera = {};
    bool hasControl = false;
    const int count = configuration.interface != nullptr ? configuration.bNumInterfaces : 0;
    for (int i = 0; i < count; ++i) {
        // What other settings a stream may have is for later standards.
        if (configuration.interface[i].num_altsetting < 1 ||
            configuration.interface[i].altsetting == nullptr) {
            continue;
        }
        const libusb_interface_descriptor& descriptor = configuration.interface[i].altsetting[0];
        if (descriptor.bInterfaceClass != kClass || descriptor.bInterfaceSubClass != kSubclass) {
            continue;
        }
        const Interface found = endpointsOf(descriptor);
        if (descriptor.bInterfaceProtocol == kControl && !hasControl && found.in != 0 &&
            found.out != 0) {
            hasControl = true;
            camera->control = found;
            if (descriptor.extra != nullptr && descriptor.extra_length > 0) {
                readCameraStrings(descriptor.extra,
                                  static_cast<std::size_t>(descriptor.extra_length),
                                  &camera->strings);
            }
        } else if (descriptor.bInterfaceProtocol == kEvent && camera->event.in == 0) {
            camera->event = found;
        } else if (descriptor.bInterfaceProtocol == kStream && camera->stream.in == 0) {
            camera->stream = found;
        }
    }
    return hasControl;
}

} // namespace usb3::wire
