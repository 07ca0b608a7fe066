#include "vision/gige_interface.h"

#include "base/log.h"
#include "gentl_abi/gentl_abi.h"
#include "vision/gige_device.h"
#include "vision/gvcp_socket.h"
#include "zel_camera_api.h"

#include <algorithm>

namespace vision
{

namespace
{

// Devices answer within a few milliseconds; a switch that wakes a port may take longer. On
// loopback an answer takes less than one, unless the machine is busy.
constexpr std::chrono::milliseconds kDiscoveryWait{100};
constexpr std::chrono::milliseconds kLoopbackWait{50};
constexpr std::chrono::milliseconds kForceIpWait{500};
constexpr std::chrono::milliseconds kChangeOverWait{3000};

// Bits of the control channel privilege register: control and exclusive access are held.
constexpr std::uint32_t kPrivilegeTaken = 0x3;

std::string deviceId(const gvcp::DiscoveryRecord& record)
{
    return record.vendor + "-" + record.model + "-" + record.serialNumber + "-" +
           gvcp::macText(record.mac);
}

core::DeviceDescription describe(const gvcp::DiscoveryRecord& record)
{
    core::DeviceDescription description;
    description.id = deviceId(record);
    description.vendor = record.vendor;
    description.model = record.model;
    description.userDefinedName = record.userDefinedName;
    description.serialNumber = record.serialNumber;
    description.version = record.version;
    const std::string name =
        record.serialNumber.empty() ? gvcp::macText(record.mac) : record.serialNumber;
    description.displayName = record.vendor + " " + record.model + " (" + name + ")";
    return description;
}

} // namespace

GigeInterface::GigeInterface(NetworkAdapter adapter)
    : adapter_(std::move(adapter)), name_(adapter_.name),
      features_("GigEInterface", "Network adapter")
{
    declareFeatures();
}

void GigeInterface::declareFeatures()
{
    features::FeatureTable& table = features_.table();
    table.category("InterfaceInformation", "The network adapter.");
    table.string("InterfaceID", "Name of the adapter.", 64).readOnly().value(name_);
    table.enumeration("InterfaceType", "Transport of the interface.")
        .entry("GigEVision", 0, "GigE Vision")
        .readOnly()
        .value(std::int64_t{0});
    table.integer("GevInterfaceMACAddress", "MAC address of the adapter.")
        .representation("MACAddress")
        .readOnly()
        .onRead([this](std::size_t) {
            std::int64_t mac = 0;
            for (const std::uint8_t byte : this->adapter().mac) {
                mac = mac << 8 | byte;
            }
            return features::FeatureValue(mac);
        });
    table.integer("GevInterfaceSubnetIPAddress", "IPv4 address of the adapter.")
        .representation("IPV4Address")
        .readOnly()
        .onRead([this](std::size_t) {
            return features::FeatureValue(std::int64_t{this->adapter().address});
        });
    table.integer("GevInterfaceSubnetMask", "IPv4 subnet mask of the adapter.")
        .representation("IPV4Address")
        .readOnly()
        .onRead([this](std::size_t) {
            return features::FeatureValue(std::int64_t{this->adapter().mask});
        });
    table.integer("GevInterfaceMTU", "Largest packet that the adapter carries.")
        .unit("B")
        .expert()
        .readOnly()
        .onRead([this](std::size_t) {
            return features::FeatureValue(std::int64_t{this->adapter().mtu});
        });
    table.category("DeviceEnumeration", "Devices found by the last enumeration.");
    table.integer("DeviceCount", "Number of devices.").readOnly().onRead([this](std::size_t) {
        const std::lock_guard<std::mutex> lock(mutex_);
        return features::FeatureValue(static_cast<std::int64_t>(devices_.size()));
    });
    table.finish();
}

void GigeInterface::setAdapter(const NetworkAdapter& adapter)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    adapter_ = adapter;
}

NetworkAdapter GigeInterface::adapter()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return adapter_;
}

std::string GigeInterface::id() { return "vision:gige:" + name_; }

std::string GigeInterface::description()
{
    return "GigE Vision, " + name_ + " (" + ipText(adapter().address) + ")";
}

std::int32_t GigeInterface::type() { return ZelCam::kGigEVision; }

ZelCamErr GigeInterface::updateDevices(std::uint64_t timeoutMs,
                                       std::vector<core::DeviceDescription>* devices)
{
    const NetworkAdapter adapter = this->adapter();
    std::chrono::milliseconds wait = adapter.loopback ? kLoopbackWait : kDiscoveryWait;
    if (timeoutMs < static_cast<std::uint64_t>(wait.count())) {
        wait = std::chrono::milliseconds(timeoutMs);
    }
    GvcpSocket socket(adapter.address);
    std::map<std::string, gvcp::DiscoveryRecord> found;
    if (socket.isOpen()) {
        for (const gvcp::DiscoveryRecord& record : socket.discover(adapter.broadcast, wait)) {
            found.emplace(deviceId(record), record);
        }
    }
    base::log(base::LogChannel::Vision, "discovery on %s: %zu devices", name_.c_str(),
              found.size());
    devices->clear();
    for (const auto& entry : found) {
        devices->push_back(describe(entry.second));
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    devices_ = std::move(found);
    return ZelErr::kOk;
}

bool GigeInterface::find(const std::string& id, gvcp::DiscoveryRecord* record)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto entry = devices_.find(id);
    if (entry == devices_.end()) {
        return false;
    }
    *record = entry->second;
    return true;
}

std::int32_t GigeInterface::accessStatus(const std::string& id)
{
    gvcp::DiscoveryRecord record;
    if (!find(id, &record)) {
        return gentl::kStatusNoAccess;
    }
    const NetworkAdapter adapter = this->adapter();
    if ((record.address & adapter.mask) != (adapter.address & adapter.mask)) {
        return gentl::kStatusUnknown; // Another subnet: it can be found and given an address, not
                                      // opened.
    }
    GvcpSocket socket(adapter.address);
    std::uint32_t privilege = 0;
    if (!socket.readRegister(record.address, gvcp::kControlChannelPrivilege, &privilege)) {
        return gentl::kStatusNoAccess;
    }
    return (privilege & kPrivilegeTaken) != 0 ? gentl::kStatusBusy : gentl::kStatusReadWrite;
}

ZelCamErr GigeInterface::ipSettings(const std::string& id, core::IpSettings* settings)
{
    gvcp::DiscoveryRecord record;
    if (!find(id, &record)) {
        return ZelErr::kGenTLInvalidId;
    }
    *settings = {record.address, record.mask, record.gateway};
    return ZelErr::kOk;
}

ZelCamErr GigeInterface::forceIp(const std::string& id, const core::IpSettings& settings)
{
    gvcp::DiscoveryRecord record;
    if (!find(id, &record)) {
        return ZelErr::kGenTLInvalidId;
    }
    if (accessStatus(id) == gentl::kStatusBusy) {
        return ZelErr::kGenTLAccessDenied; // It would pull the camera away from its user.
    }
    const NetworkAdapter adapter = this->adapter();
    GvcpSocket socket(adapter.address);
    const ZelCamErr answer = socket.forceIp(adapter.broadcast, record.mac, settings.address,
                                            settings.mask, settings.gateway, kForceIpWait);
    if (answer != ZelErr::kOk && answer != ZelErr::kGenTLTimeout) {
        return answer;
    }
    // The acknowledge only says that the packet was understood, and it may get lost between two
    // subnets: look where the device is now. Some need seconds to change over.
    const auto patience = answer == ZelErr::kOk ? kChangeOverWait : kForceIpWait;
    const auto end = GvcpSocket::Clock::now() + patience;
    do {
        for (const gvcp::DiscoveryRecord& now :
             socket.discover(adapter.broadcast, kDiscoveryWait)) {
            if (now.mac == record.mac && deviceId(now) == id && now.address == settings.address) {
                const std::lock_guard<std::mutex> lock(mutex_);
                devices_[id] = now;
                return ZelErr::kOk;
            }
        }
    } while (GvcpSocket::Clock::now() < end);
    return answer != ZelErr::kOk ? answer : ZelErr::kGenTLIo;
}

ZelCamErr GigeInterface::openDevice(const std::string& id,
                                    std::unique_ptr<core::TransportDevice>* device)
{
    gvcp::DiscoveryRecord record;
    if (!find(id, &record)) {
        return ZelErr::kGenTLInvalidId;
    }
    const NetworkAdapter adapter = this->adapter();
    GvcpSocket socket(adapter.address);
    std::uint32_t privilege = 0;
    if (!socket.readRegister(record.address, gvcp::kControlChannelPrivilege, &privilege)) {
        return ZelErr::kGenTLInvalidId;
    }
    if ((privilege & kPrivilegeTaken) != 0) {
        return ZelErr::kGenTLAccessDenied; // Another client controls it; it is not touched.
    }
    return GigeDevice::open(adapter, record.address, device);
}

} // namespace vision
