// ZelCam::System: the root of the camera SDK.
#pragma once

#include "../zel_err.h"
#include "../zel_export.h"

#include <cstdint>

namespace ZelCam
{

class Device;
class InterfaceList;

/// The process-wide system, never released. Callable from any thread.
class ZEL_API System
{
public:
    virtual void reserved0() {}
    /// Slot 1. The interfaces whose type is in the mask (255: all); the caller releases the list.
    /// Null on failure.
    virtual InterfaceList* GetInterfaceList(std::uint32_t mask) = 0;
    virtual void reserved2() {}
    /// Slot 3. Name of the system, UTF-8.
    virtual const char* GetDisplayName() = 0;
    /// Slot 4. Version of the system, UTF-8.
    virtual const char* GetVersion() = 0;
    /// Slot 5. Opens the device that a configuration file names and loads the file into it. `*err`
    /// receives the code; null on failure.
    virtual Device* CreateDeviceFromConfig(const char* fileName, ZelCamErr* err) = 0;
    /// Slot 6. Loads a GenTL producer from a file, or all of a folder.
    virtual ZelCamErr RegisterGenTLProvider(const char* path) = 0;

protected:
    ~System() = default;
};

} // namespace ZelCam
