#include "camera/device.h"

#include "camera/data_stream.h"
#include "camera/device_info.h"
#include "genparam/params.h"
#include "module/binding/arguments.h"
#include "module/binding/convert.h"
#include "module/binding/report.h"

#include <utility>

namespace ZelCamPy
{

void PyDevice::init_type()
{
    describe("PyDevice", "documentation for PyDevice class");
    noargs<&PyDevice::GetInfo>("GetInfo");
    noargs<&PyDevice::GetDisplayName>("GetDisplayName");
    noargs<&PyDevice::GetNumStreams>("GetNumStreams");
    noargs<&PyDevice::GetCameraParameters>("GetCameraParameters");
    noargs<&PyDevice::Release>("Release");
    noargs<&PyDevice::IsValid>("IsValid");
    varargs<&PyDevice::ReadMem>("ReadMem");
    varargs<&PyDevice::WriteMem>("WriteMem");
    varargs<&PyDevice::GetStreamByIndex>("GetStreamByIndex");
    varargs<&PyDevice::GetStreamById>("GetStreamByName");
    varargs<&PyDevice::SaveConfiguration>("SaveConfiguration");
    varargs<&PyDevice::LoadConfiguration>("LoadConfiguration");
    noargs<&PyDevice::GetTransportParameters>("GetTransportParameters");
    varargs<&PyDevice::RegisterEvent>("RegisterEvent");
    varargs<&PyDevice::UnRegisterEvent>("UnRegisterEvent");
    noargs<&PyDevice::GetLastError>("GetLastError");
}

Py::Object PyDevice::over(ZelCam::Device* device)
{
    try {
        return binding::make<PyDevice>(device);
    } catch (...) {
        if (device != nullptr) {
            device->Release();
        }
        throw;
    }
}

PyDevice::PyDevice(ZelCam::Device* device) : device_(device)
{
    if (device_ != nullptr) {
        try {
            info_ = binding::make<PyDeviceInfo>(device_->GetInfo());
        } catch (const Py::BaseException&) {
            PyErr_Clear(); // An identity that is no text: the open device counts, not its name.
        }
        numStreams_ = device_->GetNumStreams();
        cameraParameters_ =
            wrapParameters(&ZelCam::Device::GetCameraParameters, "Get camera parameters error");
        transportParameters_ = wrapParameters(&ZelCam::Device::GetTransportParameters,
                                              "Get transport parameters error");
    }
    events_ = EventChannel::open(context(), this);
}

PyDevice::~PyDevice() { events_->close(context()); }

Py::Object PyDevice::wrapParameters(ParametersOf array, const char* failure)
{
    ZelGenParam::Array* parameters = (device_->*array)(&lastError_);
    if (parameters == nullptr || lastError_ != ZelErr::kOk) {
        binding::reportFailure(failure, lastError_);
        return Py::None();
    }
    return binding::make<ZelGenParamPy::PyGenParams>(parameters);
}

Py::Object PyDevice::GetDisplayName()
{
    ZelCam::DeviceInfo* info = device_ != nullptr ? device_->GetInfo() : nullptr;
    return info != nullptr ? binding::toPython(info->GetDisplayName()) : Py::None();
}

Py::Object PyDevice::GetNumStreams() { return binding::toPython(numStreams_); }

Py::Object PyDevice::Release()
{
    if (device_ != nullptr) {
        const EventChannel::Pause pause(events_);
        if (ZelCam::Device* device = std::exchange(device_, nullptr)) {
            device->Release();
        }
    }
    return Py::None();
}

Py::Object PyDevice::IsValid() { return binding::toPython(device_ != nullptr); }

bool PyDevice::cannotTry(const Py::Tuple& args, Py_ssize_t count)
{
    if (args.length() >= count && device_ != nullptr) {
        return false;
    }
    lastError_ = ZelErr::kNotEnoughArguments;
    return true;
}

Py::Object PyDevice::GetStreamByIndex(const Py::Tuple& args)
{
    if (cannotTry(args, 1)) {
        return Py::None();
    }
    const auto index = static_cast<std::uint32_t>(binding::toInt64(args[0]));
    return cannotTry(args, 1) ? Py::None() : wrapStream(device_->GetStreamByIndex(index));
}

Py::Object PyDevice::GetStreamById(const Py::Tuple& args)
{
    if (args.length() < 1 || device_ == nullptr) {
        return Py::None();
    }
    return wrapStream(device_->GetStreamById(binding::toText(args[0]).c_str()));
}

Py::Object PyDevice::wrapStream(ZelCam::Stream* stream)
{
    if (stream == nullptr) {
        binding::report("Wrong data_stream\n");
    }
    return binding::makeOrNone<PyDataStream>(stream);
}

Py::Object PyDevice::SaveConfiguration(const Py::Tuple& args)
{
    return useFile(args, &ZelCam::Device::SaveConfiguration);
}

Py::Object PyDevice::LoadConfiguration(const Py::Tuple& args)
{
    return useFile(args, &ZelCam::Device::LoadConfiguration);
}

Py::Object PyDevice::useFile(const Py::Tuple& args, FileOperation operation)
{
    if (args.length() < 1 || device_ == nullptr) {
        return Py::False();
    }
    const std::string fileName = binding::toText(args[0]);
    return binding::toPython((device_->*operation)(fileName.c_str()) == ZelErr::kOk);
}

Py::Object PyDevice::GetLastError() { return binding::toPython(lastError_); }

} // namespace ZelCamPy
