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

/// Id of the event that tells that the device is gone (unplugged, or control of it lost). Its data
/// is the reason, a ZelCamErr. Above the 16 bits with which cameras number their events. It comes
/// once per opening; afterwards every operation but Release answers with the reason.
constexpr long kEventDeviceLost = 0x10001;

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
    /// ids may share a callback; registering the same triple again changes nothing. Registrations
    /// end with Release. Events come in their order, one at a time; up to 250,000 wait for a slow
    /// callback. Before the callback runs, the event's data can be read as camera parameters.
    virtual ZelCamErr RegisterEvent(long eventId, EventCallback callback, void* context) = 0;
    virtual void reserved9() {}
    /// Slot 10. Ends a registration; -1007 when there is none. No call of the callback begins for
    /// it afterwards. A call that is running on the delivery thread is awaited, but for at most
    /// 50 ms: it may itself be waiting for a lock of the caller (an interpreter's, say). A callback
    /// whose context can go away therefore checks it under such a lock of its own. Called from
    /// inside the callback, it does not wait. The same holds for Release.
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
