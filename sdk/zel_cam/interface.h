// ZelCam::Interface: one transport interface (network adapter, USB3 host, frame grabber).
#pragma once

#include "../zel_err.h"
#include "../zel_export.h"

#include <cstdint>

namespace ZelGenParam
{
class Array;
}

namespace ZelCam
{

class DeviceInfo;
class DeviceInfoList;

/// Values of Interface::GetType. The mask 255 of System::GetInterfaceList asks for all of them.
constexpr std::int32_t kUsb3Vision = 1;
constexpr std::int32_t kGigEVision = 2;
constexpr std::int32_t kCameraLink = 3;
constexpr std::int32_t kCoaXPress = 4;
constexpr std::int32_t kHdSdi = 5;
constexpr std::uint32_t kAllInterfaces = 255;

/// A transport interface. Owned by the system, valid for the life of the process. Callable from any
/// thread.
class ZEL_API Interface
{
public:
    /// Slot 0. The devices found by the last enumeration; the caller releases the list. The first
    /// call enumerates when nobody did before.
    virtual DeviceInfoList* GetDeviceInfoList() = 0;
    /// Slot 1. The first of these devices, or null.
    virtual DeviceInfo* GetFirstDeviceInfo() = 0;
    virtual void reserved2() {}
    /// Slot 3. Looks for devices again, at most `timeoutMs` milliseconds (all bits set: as long as
    /// it takes). `*changed` (may be null) tells whether the set of devices is another one than
    /// after the last enumeration.
    virtual ZelCamErr ReEnumerateDevices(bool* changed, std::uint64_t timeoutMs) = 0;
    /// Slot 4. Text for people, UTF-8.
    virtual const char* GetDescription() = 0;
    /// Slot 5. One of the type values above.
    virtual std::int32_t GetType() = 0;
    virtual void reserved6() {}
    virtual void reserved7() {}
    virtual void reserved8() {}
    virtual void reserved9() {}
    virtual void reserved10() {}
    virtual void reserved11() {}
    /// Slot 12. The interface's own parameters; `err` (may be null) receives the code. Null on
    /// failure. The array belongs to the interface.
    virtual ZelGenParam::Array* GetParameters(ZelCamErr* err) = 0;

protected:
    ~Interface() = default;
};

} // namespace ZelCam
