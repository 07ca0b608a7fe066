#include "camera/system.h"

#include "camera/device.h"
#include "camera/device_interface.h"
#include "camera/sdk_list.h"
#include "module/binding/arguments.h"
#include "module/binding/convert.h"
#include "module/binding/report.h"

namespace ZelCamPy
{

void PyZelSystem::init_type()
{
    describe("PyZelSystem", "documentation for PyZelSystem class");
    noargs<&PyZelSystem::GetInterfaceList>("GetInterfaceList");
    noargs<&PyZelSystem::GetDisplayName>("GetDisplayName");
    noargs<&PyZelSystem::GetVersion>("GetVersion");
    varargs<&PyZelSystem::SelectCamera>("SelectCamera");
    varargs<&PyZelSystem::ActionCamera>("ActionCamera");
    varargs<&PyZelSystem::CreateDeviceFromConfig>("CreateDeviceFromConfig");
    varargs<&PyZelSystem::RegisterGenTLProvider>("RegisterGenTLProvider");
    noargs<&PyZelSystem::GetLastError>("GetLastError");
}

PyZelSystem::PyZelSystem() : system_(ZelCam_GetSystem())
{
    if (system_ == nullptr) {
        binding::report("Cannot create System\n");
    }
}

Py::Object PyZelSystem::SelectCamera(const Py::Tuple& /*args*/) { return Py::None(); }

Py::Object PyZelSystem::ActionCamera(const Py::Tuple& /*args*/) { return Py::None(); }

Py::Object PyZelSystem::GetInterfaceList()
{
    if (system_ == nullptr) {
        return Py::None();
    }
    ZelCam::InterfaceList* list = system_->GetInterfaceList(ZelCam::kAllInterfaces);
    if (list == nullptr) {
        binding::report("Wrong InterfaceList\n");
        return Py::None();
    }
    return wrapAndRelease<PyDeviceInterface>(list);
}

Py::Object PyZelSystem::GetDisplayName()
{
    return binding::toPython(system_ != nullptr ? system_->GetDisplayName() : "none");
}

Py::Object PyZelSystem::GetVersion()
{
    return binding::toPython(system_ != nullptr ? system_->GetVersion() : "none");
}

Py::Object PyZelSystem::CreateDeviceFromConfig(const Py::Tuple& args)
{
    if (system_ == nullptr || args.length() < 1) {
        return Py::None();
    }
    const std::string path = binding::toText(args[0]);
    ZelCam::Device* device = system_->CreateDeviceFromConfig(path.c_str(), &lastError_);
    if (device == nullptr || lastError_ != ZelErr::kOk) {
        binding::reportFailure("Create device from config error", lastError_);
        return Py::None();
    }
    return PyDevice::over(device);
}

Py::Object PyZelSystem::RegisterGenTLProvider(const Py::Tuple& args)
{
    if (system_ == nullptr || args.length() < 1) {
        return Py::False();
    }
    lastError_ = system_->RegisterGenTLProvider(binding::toText(args[0]).c_str());
    if (lastError_ != ZelErr::kOk) {
        binding::reportFailure("Register GenTL Provider error", lastError_);
    }
    return binding::toPython(lastError_ == ZelErr::kOk);
}

Py::Object PyZelSystem::GetLastError() { return binding::toPython(lastError_); }

} // namespace ZelCamPy
