// ZelCam::DeviceInfo over a device that an interface found.
#include "core/device_info_impl.h"

#include "base/ipv4.h"
#include "base/operation_guard.h"
#include "base/text.h"
#include "core/interface_impl.h"

namespace core
{

namespace
{
constexpr std::int32_t kStatusUnknown = 0;
constexpr std::int32_t kStatusOpenHere = 5;
} // namespace

DeviceInfoImpl::DeviceInfoImpl(InterfaceImpl& interface, const DeviceDescription& description)
    : interface_(interface), id_(description.id), device_(*this)
{
    for (auto& text : ipTexts_) {
        text = "";
    }
    update(description);
}

void DeviceInfoImpl::update(const DeviceDescription& description)
{
    const auto store = [this](Text which, const std::string& text) {
        texts_[which] = base::intern(base::toUtf8(text));
    };
    store(kVendor, description.vendor);
    store(kModel, description.model);
    store(kDisplayName, description.displayName);
    store(kUserDefinedName, description.userDefinedName);
    store(kSerialNumber, description.serialNumber);
    store(kVersion, description.version);
}

ZelCam::Interface* DeviceInfoImpl::GetInterface() { return &interface_; }

std::int32_t DeviceInfoImpl::GetAccessStatus()
{
    return base::guardedValue(kStatusUnknown, [&] {
        return device_.isOpen() ? kStatusOpenHere : interface_.accessStatus(id_);
    });
}

const char* DeviceInfoImpl::GetIPAddress() { return ipText(kAddress); }
const char* DeviceInfoImpl::GetIPMask() { return ipText(kMask); }
const char* DeviceInfoImpl::GetIPGateway() { return ipText(kGateway); }

const char* DeviceInfoImpl::ipText(IpText which)
{
    IpSettings settings;
    static_cast<void>(base::guarded([&] { return askIp(&settings); }));
    return ipTexts_[which];
}

ZelCamErr DeviceInfoImpl::GetIP(std::uint32_t* address, std::uint32_t* mask, std::uint32_t* gateway)
{
    return base::guarded([&] {
        IpSettings settings;
        const ZelCamErr code = askIp(&settings);
        if (code == ZelErr::kOk) {
            const auto store = [](std::uint32_t* target, std::uint32_t value) {
                if (target != nullptr) {
                    *target = value;
                }
            };
            store(address, settings.address);
            store(mask, settings.mask);
            store(gateway, settings.gateway);
        }
        return code;
    });
}

ZelCamErr DeviceInfoImpl::ForceIP(const char* address, const char* mask, const char* gateway)
{
    return base::guarded([&] {
        IpSettings settings;
        if (!base::parseIpv4(address, &settings.address) ||
            !base::parseIpv4(mask, &settings.mask) ||
            !base::parseIpv4(gateway, &settings.gateway)) {
            return ZelErr::kInvalidArgument;
        }
        if (device_.isOpen()) {
            return ZelErr::kGenTLResourceInUse;
        }
        return interface_.forceIp(id_, settings);
    });
}

params::DeviceIdentity DeviceInfoImpl::identity()
{
    params::DeviceIdentity identity;
    identity.vendor = GetVendor();
    identity.model = GetModel();
    identity.serialNumber = GetSerialNumber();
    identity.interfaceType = interface_.typeName();
    identity.interfaceId = interface_.id();
    identity.deviceId = id_;
    return identity;
}

// Asked afresh; the texts remember the last answer, for a device that is not there any more.
ZelCamErr DeviceInfoImpl::askIp(IpSettings* settings)
{
    const ZelCamErr code = interface_.ipSettings(id_, settings);
    if (code == ZelErr::kOk) {
        ipTexts_[kAddress] = base::intern(base::formatIpv4(settings->address));
        ipTexts_[kMask] = base::intern(base::formatIpv4(settings->mask));
        ipTexts_[kGateway] = base::intern(base::formatIpv4(settings->gateway));
    }
    return code;
}

} // namespace core
