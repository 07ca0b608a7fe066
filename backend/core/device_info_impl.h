// ZelCam::DeviceInfo over a device that an interface found.
#pragma once

#include "core/device_impl.h"
#include "core/transport.h"
#include "params/configuration_file.h"
#include "zel_cam/device_info.h"

#include <array>
#include <atomic>
#include <string>

namespace core
{

class InterfaceImpl;

/// One per device id and interface, for the life of the process; owns the shell of its device.
/// Texts are interned, so a pointer that was handed out stays good while another thread enumerates.
class DeviceInfoImpl final : public ZelCam::DeviceInfo
{
public:
    DeviceInfoImpl(InterfaceImpl& interface, const DeviceDescription& description);

    ZelCam::Interface* GetInterface() override;
    const char* GetVendor() override { return text(kVendor); }
    const char* GetModel() override { return text(kModel); }
    const char* GetDisplayName() override { return text(kDisplayName); }
    const char* GetUserDefinedName() override { return text(kUserDefinedName); }
    const char* GetSerialNumber() override { return text(kSerialNumber); }
    const char* GetVersion() override { return text(kVersion); }
    std::int32_t GetAccessStatus() override;
    const char* GetIPAddress() override;
    const char* GetIPMask() override;
    const char* GetIPGateway() override;
    ZelCamErr GetIP(std::uint32_t* address, std::uint32_t* mask, std::uint32_t* gateway) override;
    ZelCamErr ForceIP(const char* address, const char* mask, const char* gateway) override;

    const std::string& id() const { return id_; }
    InterfaceImpl& interface() { return interface_; }
    /// What a configuration file keeps.
    params::DeviceIdentity identity();
    DeviceImpl& device() { return device_; }
    /// Takes over what an enumeration found out.
    void update(const DeviceDescription& description);

private:
    enum Text { kVendor, kModel, kDisplayName, kUserDefinedName, kSerialNumber, kVersion, kTexts };
    enum IpText { kAddress, kMask, kGateway, kIpTexts };

    const char* text(Text which) const { return texts_[which]; }
    const char* ipText(IpText which);
    ZelCamErr askIp(IpSettings* settings);

    InterfaceImpl& interface_;
    const std::string id_;
    std::array<std::atomic<const char*>, kTexts> texts_;
    std::array<std::atomic<const char*>, kIpTexts> ipTexts_; ///< As they were told last.
    DeviceImpl device_;
};

} // namespace core
