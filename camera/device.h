// Python type PyDevice: one opened camera.
#pragma once

#include "camera/event_channel.h"
#include "module/binding/wrapper.h"
#include "zel_camera_api.h"

#include <memory>

namespace ZelCamPy
{

/// Wraps an opened device. The SDK device is given back by Release only, never by destruction.
/// Device info, stream count and parameters are read once and survive Release.
class PyDevice : public binding::Wrapper<PyDevice>
{
public:
    static void init_type();

    /// A new wrapper over a device that was just opened, or null; gives the device back when there
    /// is no memory for the wrapper.
    static Py::Object over(ZelCam::Device* device);

    /// `device` is null when opening failed: a device in the released state. Reports parameter
    /// arrays that cannot be had on standard error and goes on.
    explicit PyDevice(ZelCam::Device* device);
    ~PyDevice() override;

    /// Given to the SDK for every event, with the address of this object as context. Comes on a
    /// thread of the SDK, with or without the interpreter lock. An exception of the callable goes
    /// to Python's hook for unraisable ones.
    static void CameraCallback(const void* data, std::uint64_t size, void* context);

private:
    Py::Object GetInfo() { return info_; }
    Py::Object GetDisplayName();
    Py::Object GetNumStreams();
    Py::Object GetCameraParameters() { return cameraParameters_; }
    Py::Object Release();
    Py::Object IsValid();
    Py::Object ReadMem(const Py::Tuple& args);
    Py::Object WriteMem(const Py::Tuple& args);
    Py::Object GetStreamByIndex(const Py::Tuple& args);
    Py::Object GetStreamById(const Py::Tuple& args);
    Py::Object SaveConfiguration(const Py::Tuple& args);
    Py::Object LoadConfiguration(const Py::Tuple& args);
    Py::Object GetTransportParameters() { return transportParameters_; }
    Py::Object RegisterEvent(const Py::Tuple& args);
    Py::Object UnRegisterEvent(const Py::Tuple& args);
    Py::Object GetLastError();

    using ParametersOf = ZelGenParam::Array* (ZelCam::Device::*)(ZelCamErr*);
    using FileOperation = ZelCamErr (ZelCam::Device::*)(const char*);

    /// A PyGenParams over an array of the device, or None with a report that begins with `failure`.
    Py::Object wrapParameters(ParametersOf array, const char* failure);
    Py::Object useFile(const Py::Tuple& args, FileOperation operation);
    /// A PyDataStream, or None with a report.
    static Py::Object wrapStream(ZelCam::Stream* stream);
    /// True without a device or with fewer than `count` arguments; the last error tells so.
    bool cannotTry(const Py::Tuple& args, Py_ssize_t count);
    /// What the SDK gets as context of events: the address of the Python object.
    void* context() { return selfPtr(); }
    void callBack(const void* data, std::uint64_t size);

    long eventId_ = 0;         ///< Of the last registration or its end.
    Py::Object eventCallback_; ///< Callable or None; one for all events of the device.
    Py::Object info_;          ///< PyDeviceInfo or None.
    Py::Object cameraParameters_;
    Py::Object transportParameters_;
    ZelCam::Device* device_; ///< Null after Release.
    std::uint32_t numStreams_ = 0;
    ZelCamErr lastError_ = ZelErr::kOk;
    std::shared_ptr<EventChannel> events_;
};

} // namespace ZelCamPy
