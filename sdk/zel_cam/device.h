// ZelCam::Device: an opened camera.
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
class Stream;

/// Receives an event of a device: `size` bytes at `data`, valid during the call, and the context of
/// the registration. Comes on a delivery thread that holds no lock of the SDK, so it may call any
/// SDK operation; it may throw, the delivering thread survives it.
using EventCallback = void (*)(const void* data, std::uint64_t size, void* context);

/// An opened camera. Callable from any thread. After Release every operation answers with a
/// failure code, 0 or null.
class ZEL_API Device
{
public:
    /// Slot 0. Stops and releases the streams, ends all waits and deliveries, closes the device.
    virtual void Release() = 0;
    /// Slot 1. Number of data streams.
    virtual std::uint32_t GetNumStreams() = 0;
    /// Slot 2. Stream by index, opened on first use; null if there is none. Owned by the device.
    virtual Stream* GetStreamByIndex(std::uint32_t index) = 0;
    /// Slot 3. Stream by its id (UTF-8), or null.
    virtual Stream* GetStreamById(const char* id) = 0;
    /// Slot 4. The description from which the device was opened.
    virtual DeviceInfo* GetInfo() = 0;
    /// Slot 5. Reads `length` bytes of the camera's register space into `data`.
    virtual ZelCamErr ReadMem(std::int64_t address, void* data, std::int64_t length) = 0;
    /// Slot 6. Writes `length` bytes to the camera's register space; `*written` (may be null)
    /// receives the number of bytes written, also when the write failed half-way.
    virtual ZelCamErr WriteMem(std::int64_t address, const void* data, std::int64_t length,
                               std::int64_t* written) = 0;
    virtual void reserved7() {}
    /// Slot 8. From now on events with this id are delivered to `callback` with `context`. Several
    /// ids may share a callback; registering the same triple again changes nothing.
    virtual ZelCamErr RegisterEvent(long eventId, EventCallback callback, void* context) = 0;
    virtual void reserved9() {}
    /// Slot 10. Ends a registration. When it returns on another thread than the delivering one, the
    /// callback is not running and will not run again for this registration.
    virtual ZelCamErr UnRegisterEvent(long eventId, EventCallback callback, void* context) = 0;
    /// Slot 11. Parameters of the transport (host side); `err` (may be null) receives the code.
    virtual ZelGenParam::Array* GetTransportParameters(ZelCamErr* err) = 0;
    /// Slot 12. Parameters of the camera; `err` (may be null) receives the code.
    virtual ZelGenParam::Array* GetCameraParameters(ZelCamErr* err) = 0;
    /// Slot 13. Writes the camera's streamable parameters to a file, whole or not at all.
    virtual ZelCamErr SaveConfiguration(const char* fileName) = 0;
    /// Slot 14. Reads such a file into the camera, all of it or nothing.
    virtual ZelCamErr LoadConfiguration(const char* fileName) = 0;

protected:
    ~Device() = default;
};

} // namespace ZelCam
