#include "usb3/usb_control_pipe.h"

#include <libusb.h>

#include <array>

namespace usb3
{

UsbResult UsbControlPipe::send(const std::uint8_t* bytes, std::size_t size, unsigned timeoutMs)
{
    int sent = 0;
    const int code = libusb_bulk_transfer(handle_, interface_.out,
                                          const_cast<std::uint8_t*>(bytes), // it only reads them
                                          static_cast<int>(size), &sent, timeoutMs);
    if (code == LIBUSB_SUCCESS && static_cast<std::size_t>(sent) != size) {
        return UsbResult::Failed;
    }
    return usbResult(code);
}

UsbResult UsbControlPipe::receive(std::uint8_t* bytes, std::size_t capacity, unsigned timeoutMs,
                                  std::size_t* received)
{
    int count = 0;
    const UsbResult result = usbResult(libusb_bulk_transfer(
        handle_, interface_.in, bytes, static_cast<int>(capacity), &count, timeoutMs));
    *received = count > 0 && static_cast<std::size_t>(count) <= capacity
                    ? static_cast<std::size_t>(count)
                    : 0;
    // Bytes may have come in the moment in which the time was up.
    return result == UsbResult::Timeout && *received > 0 ? UsbResult::Ok : result;
}

void UsbControlPipe::clearHalts()
{
    libusb_clear_halt(handle_, interface_.out);
    libusb_clear_halt(handle_, interface_.in);
}

void UsbControlPipe::drain()
{
    std::array<std::uint8_t, 65536> waste;
    std::size_t received = 0;
    for (int i = 0; i < 8; ++i) {
        const UsbResult result = receive(waste.data(), waste.size(), 1, &received);
        if (result == UsbResult::Stalled) {
            clearHalts();
        } else if (result != UsbResult::Ok && result != UsbResult::Overflow) {
            return;
        }
    }
}

} // namespace usb3
