// Finds the USB3 Vision cameras among the devices of the buses.
#pragma once

#include "core/transport.h"
#include "usb3/usb_handle.h"
#include "usb3/wire/interface_descriptor.h"

#include <vector>

namespace usb3
{

/// Whether the device's descriptors are those of a USB3 Vision camera; nothing is opened.
bool describesCamera(libusb_device* device, wire::CameraDescriptor* camera);

/// Says in the log why a camera cannot be opened, and what helps.
void tellWhyClosed(const UsbPlace& place, UsbResult reason);

/// A camera that is plugged in.
struct FoundCamera {
    UsbPlace place;
    core::DeviceDescription description;
    bool isComplete = false; ///< Its texts were read; else it could not be opened.
};

/// The cameras of the moment. Those that are known from `before` (same place, same number) keep
/// their texts; the others are opened for a moment to ask for them. A camera that cannot be opened
/// is listed with what the system knows of it. Ids are unique: the camera's GUID where it was read.
std::vector<FoundCamera> findCameras(libusb_context* context,
                                     const std::vector<FoundCamera>& before);

} // namespace usb3
