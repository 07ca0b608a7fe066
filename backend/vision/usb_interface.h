// The USB3 Vision devices of this machine as one transport interface.
#pragma once

#include "core/transport.h"
#include "features/table_source.h"
#include "vision/arv_ptr.h"

#include <mutex>

namespace vision
{

/// Enumerates through Aravis's USB3 Vision interface alone. Thread safe: one lock around it.
class UsbInterface final : public core::TransportInterface
{
public:
    UsbInterface();

    std::string id() override { return "vision:usb"; }
    std::string description() override { return "USB3 Vision"; }
    std::int32_t type() override;
    genapi::FeatureSource* features() override { return &features_; }
    ZelCamErr updateDevices(std::uint64_t timeoutMs,
                            std::vector<core::DeviceDescription>* devices) override;
    std::int32_t accessStatus(const std::string& id) override;
    ZelCamErr ipSettings(const std::string&, core::IpSettings*) override
    {
        return ZelErr::kGenTLNotImplemented;
    }
    ZelCamErr forceIp(const std::string&, const core::IpSettings&) override
    {
        return ZelErr::kGenTLNotImplemented;
    }
    ZelCamErr openDevice(const std::string& id,
                         std::unique_ptr<core::TransportDevice>* device) override;

private:
    std::mutex mutex_;              ///< The library's device list is not safe against itself.
    ArvInterface* const interface_; ///< The library's own instance, never freed.
    std::vector<std::string> ids_;
    features::TableSource features_;
};

} // namespace vision
