// The control interface's endpoints over libusb.
#pragma once

#include "usb3/control_pipe.h"
#include "usb3/wire/interface_descriptor.h"

struct libusb_device_handle;

namespace usb3
{

class UsbControlPipe final : public ControlPipe
{
public:
    /// `handle` is borrowed, its control interface is claimed.
    UsbControlPipe(libusb_device_handle* handle, const wire::Interface& interface)
        : handle_(handle), interface_(interface)
    {
    }

    UsbResult send(const std::uint8_t* bytes, std::size_t size, unsigned timeoutMs) override;
    UsbResult receive(std::uint8_t* bytes, std::size_t capacity, unsigned timeoutMs,
                      std::size_t* received) override;
    void clearHalts() override;
    /// Throws away what a client before us left behind; at most a few milliseconds.
    void drain();

private:
    libusb_device_handle* const handle_;
    const wire::Interface interface_;
};

} // namespace usb3
