// The USB3 Vision cameras of this machine as one transport interface, and its provider.
#pragma once

#include "base/mutex.h"
#include "core/transport.h"
#include "features/table_source.h"
#include "usb3/camera_finder.h"
#include "usb3/usb3_device.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace usb3
{

/// libusb is started by the first enumeration. Thread safe: one lock around it, not held while a
/// camera is opened.
class Usb3Interface final : public core::TransportInterface
{
public:
    Usb3Interface();

    std::string id() override { return "usb3"; }
    std::string description() override { return "USB3 Vision"; }
    std::int32_t type() override;
    genapi::FeatureSource* features() override { return &features_; }
    ZelCamErr updateDevices(std::uint64_t timeoutMs,
                            std::vector<core::DeviceDescription>* devices) override;
    /// Found out by trying: 1 free, 3 no permission, 4 another process has it, 0 not there.
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
    bool find(const std::string& id, UsbPlace* place);
    /// Asks the camera itself where this process has it open: what the bus tells may be old.
    void refreshName(core::DeviceDescription* camera);

    base::Mutex mutex_;
    std::unique_ptr<UsbContext> context_ ZEL_GUARDED_BY(mutex_);
    std::vector<FoundCamera> cameras_ ZEL_GUARDED_BY(mutex_);
    base::Mutex openMutex_; ///< Held while an open camera is asked; closing it waits.
    std::map<std::string, Usb3Device*> open_ ZEL_GUARDED_BY(openMutex_);
    features::TableSource features_;
};

/// One interface, where ZELCAM_VISION allows it.
class Usb3Provider final : public core::TransportProvider
{
public:
    std::vector<core::TransportInterface*> updateInterfaces() override;

private:
    Usb3Interface interface_;
};

} // namespace usb3
