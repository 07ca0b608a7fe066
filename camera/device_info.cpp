#include "camera/device_info.h"

#include "camera/device_interface.h"
#include "module/binding/convert.h"

namespace ZelCamPy
{

void PyDeviceInfo::init_type()
{
    using Info = ZelCam::DeviceInfo;
    describe("PyDeviceInfo");
    noargs<&PyDeviceInfo::GetInterface>("GetInterface");
    noargs<&PyDeviceInfo::GetModel>("GetModel");
    noargs<&PyDeviceInfo::GetVendor>("GetVendor");
    noargs<&PyDeviceInfo::GetVersion>("GetVersion");
    noargs<&PyDeviceInfo::GetSerialNumber>("GetSerialNumber");
    noargs<&PyDeviceInfo::currentText<&Info::GetDisplayName>>("GetDisplayName");
    noargs<&PyDeviceInfo::currentText<&Info::GetUserDefinedName>>("GetUserDefinedName");
    noargs<&PyDeviceInfo::GetAccessStatus>("GetAccessStatus");
    noargs<&PyDeviceInfo::currentText<&Info::GetIPAddress>>("GetIPAddress");
    noargs<&PyDeviceInfo::currentText<&Info::GetIPMask>>("GetIPMask");
    noargs<&PyDeviceInfo::currentText<&Info::GetIPGateway>>("GetIPGateway");
    noargs<&PyDeviceInfo::GetIP>("GetIP");
    varargs<&PyDeviceInfo::ForceIP>("ForceIP");
}

PyDeviceInfo::PyDeviceInfo(ZelCam::DeviceInfo* info)
    : info_(info), model_(Py::String()), vendor_(Py::String()), version_(Py::String()),
      serialNumber_(Py::String())
{
    if (info_ != nullptr) {
        model_ = binding::toPython(info_->GetModel());
        vendor_ = binding::toPython(info_->GetVendor());
        version_ = binding::toPython(info_->GetVersion());
        serialNumber_ = binding::toPython(info_->GetSerialNumber());
    }
}

Py::Object PyDeviceInfo::GetInterface()
{
    return info_ != nullptr ? binding::make<PyDeviceInterface>(info_->GetInterface()) : Py::None();
}

template <PyDeviceInfo::TextOf text> Py::Object PyDeviceInfo::currentText()
{
    return info_ != nullptr ? binding::toPython((info_->*text)()) : Py::None();
}

Py::Object PyDeviceInfo::GetAccessStatus()
{
    return info_ != nullptr ? binding::toPython(info_->GetAccessStatus()) : Py::None();
}

Py::Object PyDeviceInfo::GetIP()
{
    std::uint32_t address = 0;
    std::uint32_t mask = 0;
    std::uint32_t gateway = 0;
    const bool known = info_ != nullptr && info_->GetIP(&address, &mask, &gateway) == ZelErr::kOk;
    if (!known) {
        address = mask = gateway = 0;
    }
    return Py::TupleN(Py::Boolean(known), binding::toPython(address), binding::toPython(mask),
                      binding::toPython(gateway));
}

Py::Object PyDeviceInfo::ForceIP(const Py::Tuple& args)
{
    if (args.length() < 3) {
        return Py::False();
    }
    const std::string address = binding::toText(args[0]);
    const std::string mask = binding::toText(args[1]);
    const std::string gateway = binding::toText(args[2]);
    const bool forced = info_ != nullptr && info_->ForceIP(address.c_str(), mask.c_str(),
                                                           gateway.c_str()) == ZelErr::kOk;
    return binding::toPython(forced);
}

} // namespace ZelCamPy
