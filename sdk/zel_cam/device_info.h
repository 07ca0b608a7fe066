// ZelCam::DeviceInfo: a discovered device, opened or not.
#pragma once

#include "../zel_err.h"
#include "../zel_export.h"

#include <cstdint>

namespace ZelCam
{

class Interface;

/// A discovered device. Owned by its interface and valid for the life of the process, also after
/// the device disappeared: the texts keep their last values. Callable from any thread.
class ZEL_API DeviceInfo
{
public:
    /// Slot 0. The interface that found the device.
    virtual Interface* GetInterface() = 0;
    virtual void reserved1() {}
    /// Slots 2 to 7: identity, UTF-8. Owned by the object; valid until it is read again after the
    /// next enumeration.
    virtual const char* GetVendor() = 0;
    virtual const char* GetModel() = 0;
    virtual const char* GetDisplayName() = 0;
    virtual const char* GetUserDefinedName() = 0;
    virtual const char* GetSerialNumber() = 0;
    virtual const char* GetVersion() = 0;
    /// Slot 8. Access status, the numbers of GenTL: 0 unknown, 1 can be opened, 3 no access, 4 busy
    /// (another host has it, even if that one would let others read), 5 opened by this process, 6
    /// opened read-only by this process.
    virtual std::int32_t GetAccessStatus() = 0;
    virtual void reserved9() {}
    /// Slots 10 to 12: IPv4 settings as dotted text; empty for a device without them.
    virtual const char* GetIPAddress() = 0;
    virtual const char* GetIPMask() = 0;
    virtual const char* GetIPGateway() = 0;
    /// Slot 13. IPv4 settings as host integers (192.168.0.1 is 0xC0A80001). Fails, and leaves the
    /// numbers alone, for a device without them.
    virtual ZelCamErr GetIP(std::uint32_t* address, std::uint32_t* mask,
                            std::uint32_t* gateway) = 0;
    /// Slot 14. Forces new IPv4 settings (dotted texts) onto a GigE Vision device that is not open.
    virtual ZelCamErr ForceIP(const char* address, const char* mask, const char* gateway) = 0;

protected:
    ~DeviceInfo() = default;
};

} // namespace ZelCam
