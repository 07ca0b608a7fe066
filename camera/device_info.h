// Python type PyDeviceInfo: one discovered device.
#pragma once

#include "module/binding/wrapper.h"
#include "zel_camera_api.h"

namespace ZelCamPy
{

/// Wraps a device description of the SDK, borrowed. Identity texts are read once and stay as they
/// were when the device disappears.
class PyDeviceInfo : public binding::Wrapper<PyDeviceInfo>
{
public:
    static void init_type();

    /// `info` may be null; every method then answers with its failure value. Throws when an
    /// identity text is not UTF-8.
    explicit PyDeviceInfo(ZelCam::DeviceInfo* info);

    ZelCam::DeviceInfo* cxx_getDevInfo() const { return info_; }

private:
    using TextOf = const char* (ZelCam::DeviceInfo::*)();

    Py::Object GetInterface();
    Py::Object GetModel() { return model_; }
    Py::Object GetVendor() { return vendor_; }
    Py::Object GetVersion() { return version_; }
    Py::Object GetSerialNumber() { return serialNumber_; }
    /// A text that the SDK is asked for on every call; None without a device info.
    template <TextOf text> Py::Object currentText();
    Py::Object GetAccessStatus();
    Py::Object GetIP();
    Py::Object ForceIP(const Py::Tuple& args);

    ZelCam::DeviceInfo* info_;
    Py::Object model_;
    Py::Object vendor_;
    Py::Object version_;
    Py::Object serialNumber_;
};

} // namespace ZelCamPy
