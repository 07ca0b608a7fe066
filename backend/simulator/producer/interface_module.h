// An open interface: its list of devices and its features.
#pragma once

#include "simulator/camera_config.h"
#include "simulator/producer/camera_endpoint.h"
#include "simulator/producer/device_module.h"
#include "simulator/producer/module.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace simulator::producer
{

/// An interface as the simulated host has it, open or not. Lives as long as the system is open and
/// never changes.
struct SimulatedInterface {
    std::string id;
    std::string displayName;
    std::string tlType;
    std::vector<std::shared_ptr<CameraEndpoint>> cameras;
    std::unordered_map<std::string, std::shared_ptr<CameraEndpoint>> byId;
};

/// Answers TLGetInterfaceInfo and IFGetInfo. Throws Failure -1009 for unknown commands.
InfoValue interfaceInfo(const SimulatedInterface& interface, std::int32_t command);

/// Thread safe, but for updating the list while it is read.
class InterfaceModule final : public Module
{
public:
    static std::shared_ptr<InterfaceModule> open(HandleRegistry& handles, gentl::Handle system,
                                                 std::shared_ptr<const SimulatedInterface> plugs);

    PortFacts facts() override;
    std::string xmlFileName() const override { return "simulated_interface.xml"; }

    const SimulatedInterface& plugs() const { return *plugs_; }
    gentl::Handle parent() const { return parent_; }

    /// True when the list differs from before.
    bool updateDevices();
    std::uint32_t deviceCount() const;
    /// Throws Failure -1017.
    std::string deviceId(std::size_t index) const;
    /// A device that is plugged in or in the list. Throws Failure -1007.
    std::shared_ptr<CameraEndpoint> device(const std::string& id) const;

    /// Throws Failure -1009 for an unknown access, -1007, and what CameraEndpoint::attach() throws.
    /// The tree lock is held.
    gentl::Handle openDevice(const std::string& id, std::int32_t access);
    /// The tree lock is held.
    void closeDevice(DeviceModule& device);
    /// As DeviceModule::endSoon(), for all open devices. The tree lock is held.
    void endSoon();

private:
    InterfaceModule(HandleRegistry& handles, gentl::Handle system,
                    std::shared_ptr<const SimulatedInterface> plugs);
    void addFeatures();
    void addDeviceFeatures();
    void addNetworkFeatures();
    void addForceIp();
    void addActions();
    std::int32_t forceIp(std::size_t index);
    void closeChildren() override;

    std::shared_ptr<CameraEndpoint> listed(std::size_t index) const;

    const gentl::Handle parent_;
    const std::shared_ptr<const SimulatedInterface> plugs_;
    mutable std::mutex listMutex_;
    std::vector<std::shared_ptr<CameraEndpoint>> list_;
    std::map<gentl::Handle, std::shared_ptr<DeviceModule>> open_; ///< Under the tree lock.
};

} // namespace simulator::producer
