// Where in a device's descriptors its camera is.
#pragma once

#include <cstddef>
#include <cstdint>

struct libusb_config_descriptor;

namespace usb3::wire
{

/// One interface of the camera and its endpoints; addresses as in the descriptors, 0: none.
struct Interface {
    std::uint8_t number = 0;
    std::uint8_t in = 0;
    std::uint8_t out = 0;
    std::uint16_t packetSize = 0; ///< Of the IN endpoint.
};

/// String descriptor indices of the camera's own descriptor; 0: none.
struct CameraStrings {
    std::uint8_t guid = 0;
    std::uint8_t vendor = 0;
    std::uint8_t model = 0;
    std::uint8_t version = 0;
    std::uint8_t serial = 0;
    std::uint8_t userName = 0;
};

struct CameraDescriptor {
    Interface control;
    Interface stream; ///< `in` is 0 for a camera that shows no stream.
    Interface event;  ///< `in` is 0 for a camera without events.
    CameraStrings strings;
};

/// True when the configuration holds a USB3 Vision control interface with both its endpoints.
/// Lengths inside the descriptors are checked.
bool readCameraDescriptor(const libusb_config_descriptor& configuration, CameraDescriptor* camera);

/// The class-specific descriptor among the bytes behind an interface descriptor.
bool readCameraStrings(const std::uint8_t* bytes, std::size_t size, CameraStrings* strings);

} // namespace usb3::wire
