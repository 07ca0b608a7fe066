#include "usb3/usb_handle.h"

#include "base/log.h"

#include <signal.h>

namespace usb3
{

std::unique_ptr<UsbContext> UsbContext::create()
{
    // libusb's own thread must not take signals that are the user's.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    libusb_context* context = nullptr;
    const int code = libusb_init(&context);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (code != LIBUSB_SUCCESS) {
        base::log(base::LogChannel::Usb3, "libusb does not start: %s", libusb_error_name(code));
        return nullptr;
    }
    return std::unique_ptr<UsbContext>(new UsbContext(context));
}

UsbContext::~UsbContext() { libusb_exit(context_); }

DeviceList::DeviceList(libusb_context* context) : count_(libusb_get_device_list(context, &devices_))
{
    if (count_ < 0) {
        base::log(base::LogChannel::Usb3, "no list of devices: %s",
                  libusb_error_name(static_cast<int>(count_)));
        devices_ = nullptr;
        count_ = 0;
    }
}

DeviceList::~DeviceList()
{
    if (devices_ != nullptr) {
        libusb_free_device_list(devices_, 1);
    }
}

DeviceHandle openHandle(libusb_device* device, UsbResult* result)
{
    libusb_device_handle* handle = nullptr;
    *result = usbResult(libusb_open(device, &handle));
    return DeviceHandle(*result == UsbResult::Ok ? handle : nullptr);
}

UsbPlace UsbPlace::of(libusb_device* device)
{
    UsbPlace place;
    place.bus = libusb_get_bus_number(device);
    place.number = libusb_get_device_address(device);
    std::uint8_t ports[7] = {};
    const int count = libusb_get_port_numbers(device, ports, sizeof ports);
    place.ports.assign(ports, ports + (count > 0 ? count : 0));
    return place;
}

std::string UsbPlace::name() const
{
    std::string text = std::to_string(bus);
    char separator = '-';
    for (const std::uint8_t port : ports) {
        text += separator + std::to_string(port);
        separator = '.';
    }
    return text;
}

} // namespace usb3
