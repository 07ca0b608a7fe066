#include "usb3/usb_result.h"

#include <libusb.h>

namespace usb3
{

UsbResult usbResult(int code)
{
    switch (code) {
    case LIBUSB_ERROR_TIMEOUT:
        return UsbResult::Timeout;
    case LIBUSB_ERROR_PIPE:
        return UsbResult::Stalled;
    case LIBUSB_ERROR_NO_DEVICE:
    case LIBUSB_ERROR_NOT_FOUND:
        return UsbResult::Gone;
    case LIBUSB_ERROR_OVERFLOW:
        return UsbResult::Overflow;
    case LIBUSB_ERROR_ACCESS:
        return UsbResult::NoAccess;
    case LIBUSB_ERROR_BUSY:
        return UsbResult::InUse;
    case LIBUSB_ERROR_NO_MEM:
        return UsbResult::NoMemory;
    default:
        return code >= 0 ? UsbResult::Ok : UsbResult::Failed;
    }
}

UsbResult transferResult(int status)
{
    switch (status) {
    case LIBUSB_TRANSFER_COMPLETED:
        return UsbResult::Ok;
    case LIBUSB_TRANSFER_TIMED_OUT:
        return UsbResult::Timeout;
    case LIBUSB_TRANSFER_STALL:
        return UsbResult::Stalled;
    case LIBUSB_TRANSFER_NO_DEVICE:
        return UsbResult::Gone;
    case LIBUSB_TRANSFER_OVERFLOW:
        return UsbResult::Overflow;
    default:
        return UsbResult::Failed;
    }
}

ZelCamErr codeOf(UsbResult result)
{
    switch (result) {
    case UsbResult::Ok:
        return ZelErr::kOk;
    case UsbResult::Timeout:
        return ZelErr::kGenTLTimeout;
    case UsbResult::NoAccess:
    case UsbResult::InUse:
        return ZelErr::kGenTLAccessDenied;
    case UsbResult::NoMemory:
        return ZelErr::kGenTLResourceExhausted;
    default:
        return ZelErr::kGenTLIo;
    }
}

} // namespace usb3
