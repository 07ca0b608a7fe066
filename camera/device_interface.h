// Python type PyDeviceInterface: one transport interface.
#pragma once

#include "module/binding/wrapper.h"
#include "zel_camera_api.h"

namespace ZelCamPy
{

/// Wraps an interface of the SDK, borrowed. Interface-type constants are attributes.
class PyDeviceInterface : public binding::Wrapper<PyDeviceInterface>
{
public:
    static void init_type();

    /// Reports a null interface, or one without parameters, on standard error and goes on.
    explicit PyDeviceInterface(ZelCam::Interface* interface);

    static binding::ConstantList constants();

private:
    Py::Object GetDescription();
    Py::Object GetFirstDeviceInfo();
    Py::Object ReEnumerateDevices(const Py::Tuple& args);
    Py::Object GetDeviceInfoList();
    Py::Object GetType();
    Py::Object GetLastError();
    Py::Object GetParameters();

    ZelCam::Interface* interface_; ///< May be null.
    ZelCamErr lastError_ = ZelErr::kOk;
    Py::Object parameters_; ///< PyGenParams or None.
};

} // namespace ZelCamPy
