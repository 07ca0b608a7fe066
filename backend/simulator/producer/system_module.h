// The open system: the simulated interfaces with their cameras.
#pragma once

#include "simulator/producer/interface_module.h"
#include "simulator/producer/module.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace simulator::producer
{

/// Thread safe, but for updating the list while it is read. The cameras begin and end with it.
class SystemModule final : public Module
{
public:
    /// Reads the description of the interfaces; a mistake in it is told on standard error and gives
    /// no interfaces.
    static std::shared_ptr<SystemModule> open(HandleRegistry& handles);

    PortFacts facts() override;
    std::string xmlFileName() const override { return "simulated_system.xml"; }

    /// True when the list differs from before.
    bool updateInterfaces();
    std::uint32_t interfaceCount() const;
    /// Throws Failure -1017.
    std::string interfaceId(std::size_t index) const;
    /// Throws Failure -1007.
    std::shared_ptr<const SimulatedInterface> interface(const std::string& id) const;

    /// Throws Failure -1007, -1004 when the interface is open. The tree lock is held.
    gentl::Handle openInterface(const std::string& id);
    /// The tree lock is held.
    void closeInterface(InterfaceModule& interface);

private:
    explicit SystemModule(HandleRegistry& handles);
    void addFeatures();
    void addInterfaceFeatures();
    void closeChildren() override;

    std::vector<std::shared_ptr<const SimulatedInterface>> interfaces_;
    mutable std::mutex listMutex_;
    bool listed_ = false; ///< The set is fixed; an update makes it visible.
    std::map<std::string, std::shared_ptr<InterfaceModule>> open_; ///< Under the tree lock.
};

/// For the producer as a file: whoever loads it by name wants cameras, so ZELCAM_SIMULATOR=off
/// means the built-in ones there. To be called before the system opens.
void showCamerasWhenOff();

/// Answers GCGetInfo and TLGetInfo. Throws Failure -1009 for unknown commands.
InfoValue producerInfo(std::int32_t command);

} // namespace simulator::producer
