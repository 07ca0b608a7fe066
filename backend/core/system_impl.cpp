// ZelCam::System: the transports, their interfaces, and how a device is opened.
#include "core/system_impl.h"

#include "base/fork_guard.h"
#include "base/log.h"
#include "base/operation_guard.h"
#include "core/lists.h"

#include <algorithm>
#include <iterator>

namespace core
{

using Guard = std::lock_guard<std::mutex>;

namespace
{

constexpr std::int32_t kReadWrite = 2;

// All bits of a byte mean every type, also one that has no bit; else bit n - 1 stands for type n.
bool isSelected(std::uint32_t mask, std::int32_t type)
{
    if (mask == ZelCam::kAllInterfaces) {
        return true;
    }
    return type >= 1 && type <= 32 && ((mask >> static_cast<unsigned>(type - 1)) & 1U) != 0;
}

} // namespace

SystemImpl::SystemImpl(ProviderLoader& loader, std::string version)
    : loader_(loader), version_(std::move(version))
{
}

ZelCam::InterfaceList* SystemImpl::GetInterfaceList(std::uint32_t mask)
{
    return base::guardedValue<ZelCam::InterfaceList*>(nullptr, [&] {
        std::vector<ZelCam::Interface*> selected;
        for (InterfaceImpl* const interface : interfaces()) {
            if (isSelected(mask, interface->GetType())) {
                selected.push_back(interface);
            }
        }
        return new InterfaceListImpl(std::move(selected));
    });
}

const char* SystemImpl::GetDisplayName() { return "ZelCam"; }

const char* SystemImpl::GetVersion() { return version_.c_str(); }

ZelCam::Device* SystemImpl::CreateDeviceFromConfig(const char* fileName, ZelCamErr* err)
{
    ZelCam::Device* device = nullptr;
    base::report(err, base::guarded([&] { return openFromConfiguration(fileName, &device); }));
    return device;
}

ZelCamErr SystemImpl::RegisterGenTLProvider(const char* path)
{
    return base::guarded([&] {
        if (path == nullptr || *path == '\0') {
            return ZelErr::kInvalidArgument;
        }
        base::watchForks();
        const Guard guard(mutex_);
        return loader_.load(path, &providers_);
    });
}

ZelCam::Device* SystemImpl::openDevice(ZelCam::DeviceInfo* info, std::int32_t mode, ZelCamErr* err)
{
    ZelCam::Device* device = nullptr;
    base::report(err, base::guarded([&] {
                     if (mode != kReadWrite) {
                         return ZelErr::kInvalidArgument;
                     }
                     DeviceInfoImpl* const chosen = info != nullptr ? find(info) : defaultDevice();
                     if (chosen == nullptr) {
                         return info != nullptr ? ZelErr::kInvalidArgument : ZelErr::kNoDevice;
                     }
                     const ZelCamErr code = chosen->device().open();
                     device = code == ZelErr::kOk ? &chosen->device() : nullptr;
                     return code;
                 }));
    return device;
}

std::vector<InterfaceImpl*> SystemImpl::interfaces()
{
    const Guard guard(mutex_);
    loadDefaults();
    std::vector<InterfaceImpl*> present;
    for (const auto& provider : providers_) {
        for (TransportInterface* const transport : provider->updateInterfaces()) {
            std::unique_ptr<InterfaceImpl>& interface = known_[transport];
            if (interface == nullptr) {
                interface = std::make_unique<InterfaceImpl>(*transport);
            }
            present.push_back(interface.get());
        }
    }
    std::stable_partition(present.begin(), present.end(),
                          [](const InterfaceImpl* interface) { return !interface->isSimulated(); });
    return present;
}

void SystemImpl::loadDefaults()
{
    if (loaded_) {
        return;
    }
    loaded_ = true;
    base::watchForks();
    std::vector<std::unique_ptr<TransportProvider>> defaults = loader_.loadDefaults();
    std::move(defaults.begin(), defaults.end(), std::back_inserter(providers_));
}

DeviceInfoImpl* SystemImpl::find(const ZelCam::DeviceInfo* info)
{
    const Guard guard(mutex_);
    for (const auto& entry : known_) {
        if (DeviceInfoImpl* const found = entry.second->find(info)) {
            return found;
        }
    }
    return nullptr;
}

DeviceInfoImpl* SystemImpl::defaultDevice()
{
    for (InterfaceImpl* const interface : interfaces()) {
        const std::vector<DeviceInfoImpl*> devices = interface->devices();
        if (!devices.empty()) {
            return devices.front();
        }
    }
    return nullptr;
}

// Model and serial number name a camera wherever it is plugged in; the ids tell apart cameras that
// agree in both.
DeviceInfoImpl* SystemImpl::match(const params::DeviceIdentity& identity)
{
    DeviceInfoImpl* best = nullptr;
    for (InterfaceImpl* const interface : interfaces()) {
        bool changed = false;
        static_cast<void>(interface->ReEnumerateDevices(&changed, 1000));
        for (DeviceInfoImpl* const info : interface->devices()) {
            const bool same = identity.model == info->GetModel() &&
                              identity.serialNumber == info->GetSerialNumber();
            const bool samePlace =
                identity.deviceId == info->id() && identity.interfaceId == interface->id();
            if (same && samePlace) {
                return info;
            }
            if (same && best == nullptr) {
                best = info;
            }
        }
    }
    return best;
}

ZelCamErr SystemImpl::openFromConfiguration(const char* fileName, ZelCam::Device** device)
{
    params::DeviceIdentity identity;
    ZelCamErr code = params::readConfigurationIdentity(fileName, &identity);
    if (code != ZelErr::kOk) {
        return code;
    }
    if (identity.model.empty()) {
        base::log(base::LogChannel::Backend, "%s: names no camera", fileName);
        return ZelErr::kWrongConfiguration;
    }
    DeviceInfoImpl* const info = match(identity);
    if (info == nullptr) {
        base::log(base::LogChannel::Backend, "%s: there is no %s %s", fileName,
                  identity.model.c_str(), identity.serialNumber.c_str());
        return ZelErr::kNoDevice;
    }
    code = info->device().open();
    if (code != ZelErr::kOk) {
        return code;
    }
    code = info->device().LoadConfiguration(fileName);
    if (code != ZelErr::kOk) {
        info->device().Release();
        return code;
    }
    *device = &info->device();
    return code;
}

} // namespace core
