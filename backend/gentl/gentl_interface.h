// A transport interface of a producer.
#pragma once

#include "core/transport.h"
#include "gentl/api.h"
#include "gentl/ip_features.h"
#include "gentl/module_port.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace gentl
{

/// Opened at the first need and kept open: a producer gives one handle per interface and process.
class GentlInterface final : public core::TransportInterface
{
public:
    GentlInterface(const Api& api, Handle system, std::string interfaceId, bool simulated);

    /// Reads again what the system tells of the interface. Serialised by the provider, because the
    /// producer's list must not be updated meanwhile.
    void refresh();

    std::string id() override;
    std::string description() override;
    std::int32_t type() override;
    bool isSimulated() override { return simulated_; }
    genapi::FeatureSource* features() override;
    ZelCamErr updateDevices(std::uint64_t timeoutMs,
                            std::vector<core::DeviceDescription>* devices) override;
    std::int32_t accessStatus(const std::string& id) override;
    ZelCamErr ipSettings(const std::string& id, core::IpSettings* settings) override;
    ZelCamErr forceIp(const std::string& id, const core::IpSettings& settings) override;
    ZelCamErr openDevice(const std::string& id,
                         std::unique_ptr<core::TransportDevice>* device) override;

private:
    Error ensureOpen();
    std::optional<std::string> interfaceText(std::int32_t command) const;
    std::optional<std::string> deviceText(const std::string& id, std::int32_t command) const;
    core::DeviceDescription describe(const std::string& id);

    const Api& api_;
    const Handle system_;
    const std::string interfaceId_;
    const bool simulated_;
    std::atomic<std::int32_t> type_{0}; ///< 0 until it is known.
    std::mutex descriptionMutex_;
    std::string description_;
    Handle handle_ = nullptr;
    std::unique_ptr<ModulePort> port_;
    std::unique_ptr<IpFeatures> ip_;
    std::map<std::string, core::DeviceDescription> described_; ///< What was told last.
};

/// The SDK's type for a transport layer type of GenTL; 0 for those that do not tell.
std::int32_t interfaceType(const std::string& tlType);

} // namespace gentl
