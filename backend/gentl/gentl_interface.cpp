// A transport interface of a producer.
#include "gentl/gentl_interface.h"

#include "gentl/gentl_device.h"
#include "gentl/info.h"
#include "zel_cam/interface.h"

#include <algorithm>
#include <array>

namespace gentl
{

namespace
{

/// More than any interface has; a producer that claims more is not believed.
constexpr std::uint32_t kMaxDevices = 65536;

struct TypeName {
    const char* name;
    std::int32_t type;
};

// HD-SDI has no name of its own: what says nothing better is taken for it.
constexpr std::array<TypeName, 8> kTypeNames = {{
    {"U3V", ZelCam::kUsb3Vision},
    {"UVC", ZelCam::kUsb3Vision},
    {"GEV", ZelCam::kGigEVision},
    {"Ethernet", ZelCam::kGigEVision},
    {"CL", ZelCam::kCameraLink},
    {"CLHS", ZelCam::kCameraLink},
    {"CXP", ZelCam::kCoaXPress},
    {"HDSDI", ZelCam::kHdSdi},
}};

} // namespace

std::int32_t interfaceType(const std::string& tlType)
{
    const auto* const found =
        std::find_if(kTypeNames.begin(), kTypeNames.end(),
                     [&](const TypeName& entry) { return tlType == entry.name; });
    return found != kTypeNames.end() ? found->type : 0;
}

GentlInterface::GentlInterface(const Api& api, Handle system, std::string interfaceId,
                               bool simulated)
    : api_(api), system_(system), interfaceId_(std::move(interfaceId)), simulated_(simulated)
{
    type_ = interfaceType(interfaceText(kInterfaceInfoTlType).value_or(""));
}

void GentlInterface::refresh()
{
    const std::string text = interfaceText(kInterfaceInfoDisplayName).value_or("");
    const std::lock_guard<std::mutex> guard(descriptionMutex_);
    description_ = text.empty() ? interfaceId_ : text;
}

std::string GentlInterface::id() { return api_.name() + "/" + interfaceId_; }

std::string GentlInterface::description()
{
    const std::lock_guard<std::mutex> guard(descriptionMutex_);
    return description_;
}

std::int32_t GentlInterface::type()
{
    const std::int32_t known = type_;
    return known != 0 ? known : ZelCam::kHdSdi;
}

genapi::FeatureSource* GentlInterface::features()
{
    return ensureOpen() == err::kSuccess ? port_.get() : nullptr;
}

ZelCamErr GentlInterface::updateDevices(std::uint64_t timeoutMs,
                                        std::vector<core::DeviceDescription>* devices)
{
    Error code = ensureOpen();
    if (code != err::kSuccess) {
        return code;
    }
    Bool8 changed = 0; // Not to be relied on; core compares.
    code = api_.call<&FunctionTable::IFUpdateDeviceList>("IFUpdateDeviceList", handle_, &changed,
                                                         timeoutMs);
    std::uint32_t count = 0;
    if (code == err::kSuccess) {
        code = api_.call<&FunctionTable::IFGetNumDevices>("IFGetNumDevices", handle_, &count);
    }
    if (code != err::kSuccess) {
        return code;
    }
    forEachId(
        std::min(count, kMaxDevices),
        [this](std::uint32_t index, char* text, std::size_t* size) {
            return api_.call<&FunctionTable::IFGetDeviceID>("IFGetDeviceID", handle_, index, text,
                                                            size);
        },
        [&](const std::string& id) { devices->push_back(describe(id)); });
    return err::kSuccess;
}

std::int32_t GentlInterface::accessStatus(const std::string& id)
{
    if (ensureOpen() != err::kSuccess) {
        return kStatusUnknown;
    }
    const auto status = askNumber([&](std::int32_t* type, void* data, std::size_t* size) {
        return api_.call<&FunctionTable::IFGetDeviceInfo>("IFGetDeviceInfo", handle_, id.c_str(),
                                                          std::int32_t{kDeviceInfoAccessStatus},
                                                          type, data, size);
    });
    // Devices are opened to write as well: one that could only be read is taken.
    return status == kStatusReadOnly ? std::int32_t{kStatusBusy}
                                     : static_cast<std::int32_t>(status.value_or(kStatusUnknown));
}

ZelCamErr GentlInterface::ipSettings(const std::string& id, core::IpSettings* settings)
{
    if (type() != ZelCam::kGigEVision) {
        return err::kNotImplemented;
    }
    const Error code = ensureOpen();
    return code == err::kSuccess ? ip_->read(id, settings) : code;
}

ZelCamErr GentlInterface::forceIp(const std::string& id, const core::IpSettings& settings)
{
    if (type() != ZelCam::kGigEVision) {
        return err::kNotImplemented;
    }
    Error code = ensureOpen();
    if (code != err::kSuccess) {
        return code;
    }
    const std::int32_t status = accessStatus(id);
    if (status == kStatusOpenReadWrite || status == kStatusOpenReadOnly) {
        return err::kResourceInUse;
    }
    if (status == kStatusBusy || status == kStatusNoAccess) {
        return err::kAccessDenied;
    }
    code = ip_->force(id, settings);
    if (code == err::kSuccess) {
        std::vector<core::DeviceDescription> devices; // The producer looks again.
        static_cast<void>(updateDevices(1000, &devices));
    }
    return code;
}

ZelCamErr GentlInterface::openDevice(const std::string& id,
                                     std::unique_ptr<core::TransportDevice>* device)
{
    Error code = ensureOpen();
    if (code != err::kSuccess) {
        return code;
    }
    const auto open = [&](std::int32_t access, Handle* handle) {
        return api_.call<&FunctionTable::IFOpenDevice>("IFOpenDevice", handle_, id.c_str(), access,
                                                       handle);
    };
    Handle handle = nullptr;
    code = open(kDeviceAccessControl, &handle);
    if (code == err::kNotImplemented || code == err::kInvalidParameter) {
        code = open(kDeviceAccessExclusive, &handle);
    }
    if (code != err::kSuccess || handle == nullptr) {
        return code != err::kSuccess ? code : err::kError;
    }
    return GentlDevice::create(api_, handle, device);
}

Error GentlInterface::ensureOpen()
{
    if (handle_ != nullptr) {
        return err::kSuccess;
    }
    Handle handle = nullptr;
    const Error code = api_.call<&FunctionTable::TLOpenInterface>("TLOpenInterface", system_,
                                                                  interfaceId_.c_str(), &handle);
    if (code != err::kSuccess || handle == nullptr) {
        return code != err::kSuccess ? code : err::kError;
    }
    try {
        auto port = std::make_unique<ModulePort>(api_, handle);
        ip_ = std::make_unique<IpFeatures>(*port);
        port_ = std::move(port);
    } catch (...) {
        api_.call<&FunctionTable::IFClose>("IFClose", handle);
        throw;
    }
    handle_ = handle;
    return err::kSuccess;
}

std::optional<std::string> GentlInterface::interfaceText(std::int32_t command) const
{
    return askText([&](std::int32_t* type, void* data, std::size_t* size) {
        return api_.call<&FunctionTable::TLGetInterfaceInfo>(
            "TLGetInterfaceInfo", system_, interfaceId_.c_str(), command, type, data, size);
    });
}

std::optional<std::string> GentlInterface::deviceText(const std::string& id,
                                                      std::int32_t command) const
{
    return askText([&](std::int32_t* type, void* data, std::size_t* size) {
        return api_.call<&FunctionTable::IFGetDeviceInfo>("IFGetDeviceInfo", handle_, id.c_str(),
                                                          command, type, data, size);
    });
}

// Some producers tell less while a device is open: what they told before stays.
core::DeviceDescription GentlInterface::describe(const std::string& id)
{
    core::DeviceDescription& known = described_[id];
    known.id = id;
    const auto take = [&](std::string& text, std::int32_t command) {
        if (const auto told = deviceText(id, command)) {
            text = *told;
        }
    };
    take(known.vendor, kDeviceInfoVendor);
    take(known.model, kDeviceInfoModel);
    take(known.displayName, kDeviceInfoDisplayName);
    take(known.userDefinedName, kDeviceInfoUserDefinedName);
    take(known.serialNumber, kDeviceInfoSerialNumber);
    take(known.version, kDeviceInfoVersion);
    if (type_ == 0) {
        type_ = interfaceType(deviceText(id, kDeviceInfoTlType).value_or(""));
    }
    core::DeviceDescription description = known;
    if (description.displayName.empty()) {
        description.displayName = description.vendor + " " + description.model + " (" + id + ")";
    }
    return description;
}

} // namespace gentl
