// ZelCam::System: the transports, their interfaces, and how a device is opened.
#pragma once

#include "core/interface_impl.h"
#include "core/provider_loader.h"
#include "zel_cam/system.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace core
{

/// Lives for the life of the process: nothing that it handed out is ever destroyed. The transports
/// are loaded at the first use.
class SystemImpl final : public ZelCam::System
{
public:
    /// The loader is borrowed for the life of the process.
    SystemImpl(ProviderLoader& loader, std::string version);

    ZelCam::InterfaceList* GetInterfaceList(std::uint32_t mask) override;
    const char* GetDisplayName() override;
    const char* GetVersion() override;
    ZelCam::Device* CreateDeviceFromConfig(const char* fileName, ZelCamErr* err) override;
    ZelCamErr RegisterGenTLProvider(const char* path) override;

    /// Opens a device, or the default one for null: the first real one, else the first simulated
    /// one. Codes as ZelCam_CreateDevice.
    ZelCam::Device* openDevice(ZelCam::DeviceInfo* info, std::int32_t mode, ZelCamErr* err);

private:
    /// The present interfaces, real ones before simulated ones.
    std::vector<InterfaceImpl*> interfaces();
    void loadDefaults();
    DeviceInfoImpl* find(const ZelCam::DeviceInfo* info);
    DeviceInfoImpl* defaultDevice();
    DeviceInfoImpl* match(const params::DeviceIdentity& identity);
    ZelCamErr openFromConfiguration(const char* fileName, ZelCam::Device** device);

    ProviderLoader& loader_;
    const std::string version_;
    std::mutex mutex_;
    bool loaded_ = false;
    std::vector<std::unique_ptr<TransportProvider>> providers_;
    std::map<TransportInterface*, std::unique_ptr<InterfaceImpl>> known_;
};

} // namespace core
