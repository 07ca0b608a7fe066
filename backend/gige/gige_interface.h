// One network adapter as a transport interface.
#pragma once

#include "core/transport.h"
#include "features/table_source.h"
#include "gige/discovery.h"

#include <atomic>
#include <map>
#include <mutex>

namespace gige
{

/// GigE Vision devices behind one network adapter: discovery, access status, ForceIP and opening.
/// Every enumeration asks by all adapters that may be used and keeps the devices of this one: those
/// that the routing table reaches by it, and those of foreign subnets whose answer came by it. So a
/// device is listed once, where it can be opened. Thread safe.
class GigeInterface final : public core::TransportInterface
{
public:
    explicit GigeInterface(NetworkAdapter adapter);

    /// The adapter's address may change while the process runs.
    void setAdapter(const NetworkAdapter& adapter);

    std::string id() override;
    std::string description() override;
    std::int32_t type() override;
    genapi::FeatureSource* features() override { return &features_; }
    /// Listens for the whole time; without limit: for as long as cameras may take.
    ZelCamErr updateDevices(std::uint64_t timeoutMs,
                            std::vector<core::DeviceDescription>* devices) override;
    std::uint64_t implicitTimeoutMs() override { return 150; }
    std::int32_t accessStatus(const std::string& id) override;
    ZelCamErr ipSettings(const std::string& id, core::IpSettings* settings) override;
    ZelCamErr forceIp(const std::string& id, const core::IpSettings& settings) override;
    ZelCamErr openDevice(const std::string& id,
                         std::unique_ptr<core::TransportDevice>* device) override;

private:
    NetworkAdapter adapter();
    void declareFeatures();
    void declareAction();
    ZelCamErr fireAction();
    bool find(const std::string& id, wire::DiscoveryRecord* record);

    std::mutex mutex_; ///< Guards adapter_ and devices_.
    NetworkAdapter adapter_;
    const std::string name_;
    std::map<std::string, wire::DiscoveryRecord> devices_; ///< By device id, last enumeration.
    std::atomic<bool> listen_{false};                      ///< How devices are opened.
    features::TableSource features_;
};

} // namespace gige
