// The camera SDK of the double: system, interfaces, device descriptions, devices.
#include "events.h"
#include "params.h"
#include "stream.h"
#include "zel_camera_api.h"

namespace zel_double
{
namespace
{

class InterfaceDouble;
class InfoDouble;

ZelCam::Interface* interfaceNamed(const Json& name);
ZelCam::DeviceInfo* infoNamed(const Json& name);

/// A snapshot: the names that the script listed. Released once, by whoever asked for it.
template <class List, class Element, Element* (*elementNamed)(const Json&)>
class ListDouble final : public List, public Scripted
{
public:
    ListDouble(const char* kind, Json names) : Scripted(kind), names_(std::move(names)) {}
    void Release() override
    {
        call("Release");
        delete this;
    }
    Element* GetFirst() override
    {
        call("GetFirst");
        next_ = 0;
        return take();
    }
    Element* GetNext() override
    {
        call("GetNext");
        return take();
    }

private:
    Element* take() { return next_ < names_.size() ? elementNamed(names_[next_++]) : nullptr; }

    Json names_;
    std::size_t next_ = 0;
};

using InterfaceListDouble = ListDouble<ZelCam::InterfaceList, ZelCam::Interface, interfaceNamed>;
using InfoListDouble = ListDouble<ZelCam::DeviceInfoList, ZelCam::DeviceInfo, infoNamed>;

class InterfaceDouble final : public ZelCam::Interface, public Scripted
{
public:
    using Scripted::Scripted;
    ZelCam::DeviceInfoList* GetDeviceInfoList() override
    {
        const Answer answer = call("GetDeviceInfoList");
        return answer.result().is_array() ? new InfoListDouble("DeviceInfoList", answer.result())
                                          : nullptr;
    }
    ZelCam::DeviceInfo* GetFirstDeviceInfo() override
    {
        return infoNamed(call("GetFirstDeviceInfo").result());
    }
    ZelCamErr ReEnumerateDevices(bool* changed, std::uint64_t timeoutMs) override
    {
        return call("ReEnumerateDevices", timeoutMs).out("changed", changed).code();
    }
    const char* GetDescription() override { return call("GetDescription").text(); }
    std::int32_t GetType() override { return call("GetType").number<std::int32_t>(); }
    ZelGenParam::Array* GetParameters(ZelCamErr* err) override
    {
        return arrayNamed(call("GetParameters", err).err(err).result());
    }
};

class InfoDouble final : public ZelCam::DeviceInfo, public Scripted
{
public:
    using Scripted::Scripted;
    ZelCam::Interface* GetInterface() override
    {
        return interfaceNamed(call("GetInterface").result());
    }
    const char* GetVendor() override { return call("GetVendor").text(); }
    const char* GetModel() override { return call("GetModel").text(); }
    const char* GetDisplayName() override { return call("GetDisplayName").text(); }
    const char* GetUserDefinedName() override { return call("GetUserDefinedName").text(); }
    const char* GetSerialNumber() override { return call("GetSerialNumber").text(); }
    const char* GetVersion() override { return call("GetVersion").text(); }
    std::int32_t GetAccessStatus() override
    {
        return call("GetAccessStatus").number<std::int32_t>();
    }
    const char* GetIPAddress() override { return call("GetIPAddress").text(); }
    const char* GetIPMask() override { return call("GetIPMask").text(); }
    const char* GetIPGateway() override { return call("GetIPGateway").text(); }
    ZelCamErr GetIP(std::uint32_t* address, std::uint32_t* mask, std::uint32_t* gateway) override
    {
        return call("GetIP")
            .out("address", address)
            .out("mask", mask)
            .out("gateway", gateway)
            .code();
    }
    ZelCamErr ForceIP(const char* address, const char* mask, const char* gateway) override
    {
        return call("ForceIP", address, mask, gateway).code();
    }
};

ZelCam::Interface* interfaceNamed(const Json& name) { return named<InterfaceDouble>(name); }
ZelCam::DeviceInfo* infoNamed(const Json& name) { return named<InfoDouble>(name); }

class DeviceDouble final : public ZelCam::Device, public Scripted
{
public:
    using Scripted::Scripted;
    /// With "fires" an event comes on the calling thread, to the latest registration.
    void Release() override
    {
        const Answer answer = call("Release");
        if (answer.field<bool>("fires")) {
            fireLatest("released");
        }
        settle(answer);
    }
    std::uint32_t GetNumStreams() override { return call("GetNumStreams").number<std::uint32_t>(); }
    ZelCam::Stream* GetStreamByIndex(std::uint32_t index) override
    {
        return streamNamed(call("GetStreamByIndex", index).result());
    }
    ZelCam::Stream* GetStreamById(const char* id) override
    {
        return streamNamed(call("GetStreamById", id).result());
    }
    ZelCam::DeviceInfo* GetInfo() override { return infoNamed(call("GetInfo").result()); }
    /// "data" is what the device holds; "fill" pads the rest of the request.
    ZelCamErr ReadMem(std::int64_t address, void* data, std::int64_t length) override
    {
        const Answer answer = call("ReadMem", address, length);
        std::string bytes = bytesFromJson(answer.field<std::string>("data"));
        bytes.resize(static_cast<std::size_t>(length), answer.field<char>("fill"));
        bytes.copy(static_cast<char*>(data), bytes.size());
        return answer.code();
    }
    ZelCamErr WriteMem(std::int64_t address, const void* data, std::int64_t length,
                       std::int64_t* written) override
    {
        const std::string bytes(static_cast<const char*>(data), static_cast<std::size_t>(length));
        return call("WriteMem", address, bytes).out("written", written).code();
    }
    ZelCamErr RegisterEvent(long eventId, ZelCam::EventCallback callback, void* context) override
    {
        keepRegistration(callback, context);
        return call("RegisterEvent", std::int64_t{eventId}, callback != nullptr,
                    reinterpret_cast<std::uintptr_t>(context))
            .code();
    }
    ZelCamErr UnRegisterEvent(long eventId, ZelCam::EventCallback callback, void* context) override
    {
        const Answer answer = call("UnRegisterEvent", std::int64_t{eventId}, callback != nullptr,
                                   reinterpret_cast<std::uintptr_t>(context));
        settle(answer);
        return answer.code();
    }
    ZelGenParam::Array* GetTransportParameters(ZelCamErr* err) override
    {
        return arrayNamed(call("GetTransportParameters", err).err(err).result());
    }
    ZelGenParam::Array* GetCameraParameters(ZelCamErr* err) override
    {
        return arrayNamed(call("GetCameraParameters", err).err(err).result());
    }
    ZelCamErr SaveConfiguration(const char* fileName) override
    {
        return call("SaveConfiguration", fileName).code();
    }
    ZelCamErr LoadConfiguration(const char* fileName) override
    {
        return call("LoadConfiguration", fileName).code();
    }

private:
    /// With "settle" an operation returns when no callback is under way; "Deadlock" is logged when
    /// that does not come to pass.
    void settle(const Answer& answer) const
    {
        if (answer.field<bool>("settle") && !settleCallbacks()) {
            call("Deadlock");
        }
    }
};

class SystemDouble final : public ZelCam::System, public Scripted
{
public:
    using Scripted::Scripted;
    ZelCam::InterfaceList* GetInterfaceList(std::uint32_t mask) override
    {
        const Answer answer = call("GetInterfaceList", mask);
        return answer.result().is_array()
                   ? new InterfaceListDouble("InterfaceList", answer.result())
                   : nullptr;
    }
    const char* GetDisplayName() override { return call("GetDisplayName").text(); }
    const char* GetVersion() override { return call("GetVersion").text(); }
    ZelCam::Device* CreateDeviceFromConfig(const char* fileName, ZelCamErr* err) override
    {
        return named<DeviceDouble>(call("CreateDeviceFromConfig", fileName, err).err(err).result());
    }
    ZelCamErr RegisterGenTLProvider(const char* path) override
    {
        return call("RegisterGenTLProvider", path).code();
    }
};

} // namespace
} // namespace zel_double

ZelCam::System* ZelCam_GetSystem()
{
    using namespace zel_double;
    return named<SystemDouble>(askFunction("ZelCam_GetSystem").result());
}

ZelCam::Device* ZelCam_CreateDevice(ZelCam::DeviceInfo* info, std::int32_t mode, ZelCamErr* err)
{
    using namespace zel_double;
    const Json name = info == nullptr ? Json() : Json(static_cast<InfoDouble*>(info)->name());
    return named<DeviceDouble>(
        askFunction("ZelCam_CreateDevice", name, mode, err).err(err).result());
}
