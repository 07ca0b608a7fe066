// What libusb answers, as this room uses it.
#pragma once

#include "zel_err.h"

namespace usb3
{

enum class UsbResult {
    Ok,
    Timeout,
    Stalled,  ///< The endpoint is halted until it is cleared.
    Gone,     ///< The device is unplugged.
    Overflow, ///< More came than there was room for.
    NoAccess, ///< The device node may not be opened.
    InUse,    ///< Somebody else has the interface.
    NoMemory, ///< Mostly the kernel's limit for all transfers together.
    Failed,
};

/// From an error code of libusb (0 and positive numbers are success).
UsbResult usbResult(int code);
/// From the status of a transfer of libusb, whose numbers are others. Cancelled counts as failed.
UsbResult transferResult(int status);

/// The code that users get: -1010 for a device that is gone, -1005 without permission and for one
/// in use, and so on.
ZelCamErr codeOf(UsbResult result);

} // namespace usb3
