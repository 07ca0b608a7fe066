// Owners of what libusb hands out, and where a device hangs on its bus.
#pragma once

#include "usb3/usb_result.h"

#include <libusb.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace usb3
{

/// A context of libusb. The first one of a process starts libusb (and its thread that watches for
/// devices), so make one only when USB is really asked for.
class UsbContext
{
public:
    /// Null when there is no USB on this machine; logged.
    static std::unique_ptr<UsbContext> create();
    ~UsbContext();
    UsbContext(const UsbContext&) = delete;
    UsbContext& operator=(const UsbContext&) = delete;

    libusb_context* get() const { return context_; }

private:
    explicit UsbContext(libusb_context* context) : context_(context) {}

    libusb_context* const context_;
};

/// All devices of the moment; holds them.
class DeviceList
{
public:
    explicit DeviceList(libusb_context* context);
    ~DeviceList();
    DeviceList(const DeviceList&) = delete;
    DeviceList& operator=(const DeviceList&) = delete;

    libusb_device** begin() const { return devices_; }
    libusb_device** end() const { return devices_ + count_; }

private:
    libusb_device** devices_ = nullptr;
    std::ptrdiff_t count_ = 0;
};

struct CloseHandle {
    void operator()(libusb_device_handle* handle) const { libusb_close(handle); }
};
using DeviceHandle = std::unique_ptr<libusb_device_handle, CloseHandle>;

/// Opens a device; empty with the reason in `*result`.
DeviceHandle openHandle(libusb_device* device, UsbResult* result);

/// Where a device hangs, and which one it is there: plugged in again it has another number.
struct UsbPlace {
    std::uint8_t bus = 0;
    std::uint8_t number = 0;
    std::vector<std::uint8_t> ports;

    static UsbPlace of(libusb_device* device);
    bool operator==(const UsbPlace& other) const
    {
        return bus == other.bus && number == other.number && ports == other.ports;
    }
    /// As the kernel names it: bus, then the ports of the hubs, "2-1.4".
    std::string name() const;
};

} // namespace usb3
