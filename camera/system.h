// Python type PyZelSystem: the root of the camera object model.
#pragma once

#include "module/binding/wrapper.h"
#include "zel_camera_api.h"

namespace ZelCamPy
{

/// Wraps the process-wide system. Any number of wrappers may exist; none releases the system.
class PyZelSystem : public binding::Wrapper<PyZelSystem>
{
public:
    static void init_type();

    /// Reports on standard error, and goes on without a system, when the SDK gives none.
    PyZelSystem();

    /// Placeholders: any arguments, None.
    virtual Py::Object SelectCamera(const Py::Tuple& args);
    virtual Py::Object ActionCamera(const Py::Tuple& args);

private:
    Py::Object GetInterfaceList();
    Py::Object GetDisplayName();
    Py::Object GetVersion();
    Py::Object CreateDeviceFromConfig(const Py::Tuple& args);
    Py::Object RegisterGenTLProvider(const Py::Tuple& args);
    Py::Object GetLastError();

    ZelCam::System* system_; ///< Null when the SDK refused.
    ZelCamErr lastError_ = ZelErr::kOk;
};

} // namespace ZelCamPy
