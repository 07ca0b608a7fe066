#include "camera/device_interface.h"

#include "camera/device_info.h"
#include "camera/sdk_list.h"
#include "genparam/params.h"
#include "module/binding/constants.h"
#include "module/binding/convert.h"
#include "module/binding/report.h"

namespace ZelCamPy
{

namespace
{

constexpr std::array<binding::Constant, 6> kInterfaceTypes{{
    {"USB3Vision", ZelCam::kUsb3Vision},
    {"GigEVision", ZelCam::kGigEVision},
    {"CameraLink", ZelCam::kCameraLink},
    {"CoaxPress", ZelCam::kCoaXPress},
    {"HdSdi", ZelCam::kHdSdi},
    {"AllInterfaces", ZelCam::kAllInterfaces},
}};

} // namespace

void PyDeviceInterface::init_type()
{
    describe("PyDeviceInterface");
    noargs<&PyDeviceInterface::GetDescription>("GetDescription");
    noargs<&PyDeviceInterface::GetFirstDeviceInfo>("GetFirstDeviceInfo");
    varargs<&PyDeviceInterface::ReEnumerateDevices>("ReEnumerateDevices");
    noargs<&PyDeviceInterface::GetDeviceInfoList>("GetDeviceInfoList");
    noargs<&PyDeviceInterface::GetType>("GetType");
    noargs<&PyDeviceInterface::GetLastError>("GetLastError");
    noargs<&PyDeviceInterface::GetParameters>("GetParameters");
}

PyDeviceInterface::PyDeviceInterface(ZelCam::Interface* interface) : interface_(interface)
{
    if (interface_ == nullptr) {
        binding::report("Wrong devInterface\n");
        return;
    }
    ZelGenParam::Array* array = interface_->GetParameters(&lastError_);
    if (array != nullptr && lastError_ == ZelErr::kOk) {
        parameters_ = binding::make<ZelGenParamPy::PyGenParams>(array);
    } else {
        binding::reportFailure("Get parameters error", lastError_);
    }
}

binding::ConstantList PyDeviceInterface::constants() { return binding::listOf(kInterfaceTypes); }

Py::Object PyDeviceInterface::GetDescription()
{
    return interface_ != nullptr ? binding::toPython(interface_->GetDescription()) : Py::None();
}

Py::Object PyDeviceInterface::GetFirstDeviceInfo()
{
    return interface_ != nullptr ? binding::make<PyDeviceInfo>(interface_->GetFirstDeviceInfo())
                                 : Py::None();
}

Py::Object PyDeviceInterface::ReEnumerateDevices(const Py::Tuple& args)
{
    const std::uint64_t timeout =
        args.length() > 0 ? binding::toUint64(args[0]) : ZelCam::kInfinite;
    bool changed = false;
    bool scanned = false;
    if (interface_ != nullptr) {
        lastError_ = interface_->ReEnumerateDevices(&changed, timeout);
        scanned = lastError_ == ZelErr::kOk;
    }
    return Py::TupleN(Py::Boolean(scanned), Py::Boolean(scanned && changed));
}

Py::Object PyDeviceInterface::GetDeviceInfoList()
{
    if (interface_ == nullptr) {
        return Py::None();
    }
    ZelCam::DeviceInfoList* list = interface_->GetDeviceInfoList();
    if (list == nullptr) {
        binding::report("Wrong DeviceInfoList\n");
        return Py::None();
    }
    return wrapAndRelease<PyDeviceInfo>(list);
}

Py::Object PyDeviceInterface::GetType()
{
    return binding::toPython(interface_ != nullptr ? interface_->GetType() : 0);
}

Py::Object PyDeviceInterface::GetLastError() { return binding::toPython(lastError_); }

Py::Object PyDeviceInterface::GetParameters() { return parameters_; }

} // namespace ZelCamPy
