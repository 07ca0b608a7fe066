#include "gige/gige_interface.h"

#include "base/ipv4.h"
#include "base/log.h"
#include "gentl_abi/gentl_abi.h"
#include "gige/control_channel.h"
#include "gige/gige_device.h"
#include "gige/wire/bootstrap.h"
#include "zel_camera_api.h"

#include <algorithm>
#include <limits>

namespace gige
{

namespace
{

using features::FeatureValue;

// For enumerations without a limit. Cameras answer within a few milliseconds; some wait up to half
// a second, so that not all answer at once.
constexpr std::chrono::milliseconds kUnlimitedWait{500};
constexpr std::chrono::milliseconds kShortestWait{5};
// An enumeration that was given more time than this was given no limit either.
constexpr std::chrono::milliseconds kLongestWait{60000};
constexpr std::chrono::milliseconds kForceIpWait{500};
constexpr std::chrono::milliseconds kChangeOverWait{3000};

constexpr std::uint32_t kPrivilegeTaken = wire::kPrivilegeExclusive | wire::kPrivilegeControl;

std::string deviceId(const wire::DiscoveryRecord& record)
{
    return record.vendor + "-" + record.model + "-" + record.serialNumber + "-" +
           wire::macText(record.mac);
}

core::DeviceDescription describe(const wire::DiscoveryRecord& record)
{
    core::DeviceDescription description;
    description.id = deviceId(record);
    description.vendor = record.vendor;
    description.model = record.model;
    description.userDefinedName = record.userDefinedName;
    description.serialNumber = record.serialNumber;
    description.version = record.version;
    const std::string name =
        record.serialNumber.empty() ? wire::macText(record.mac) : record.serialNumber;
    description.displayName = record.vendor + " " + record.model + " (" + name + ")";
    return description;
}

bool has(const std::vector<NetworkAdapter>& adapters, int index)
{
    return std::any_of(adapters.begin(), adapters.end(),
                       [index](const NetworkAdapter& adapter) { return adapter.index == index; });
}

/// Number of the adapter under which a device is listed; 0: none.
int homeOf(const FoundDevice& device, const std::vector<NetworkAdapter>& adapters)
{
    const int routed = adapterTowards(device.record.address);
    if (has(adapters, routed)) {
        return routed;
    }
    if (has(adapters, device.adapter)) {
        return device.adapter;
    }
    // A camera on this host, whose answer comes by the loopback adapter, while that is left out.
    const auto near =
        std::find_if(adapters.begin(), adapters.end(), [&device](const NetworkAdapter& adapter) {
            return adapter.contains(device.record.address);
        });
    return near != adapters.end() ? near->index : 0;
}

std::chrono::milliseconds waitFor(std::uint64_t timeoutMs)
{
    // Even an impatient user wants to hear the cameras beside this machine.
    return timeoutMs <= static_cast<std::uint64_t>(kLongestWait.count())
               ? std::max(kShortestWait, std::chrono::milliseconds(timeoutMs))
               : kUnlimitedWait;
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
            return FeatureValue(mac);
        });
    table.integer("GevInterfaceSubnetIPAddress", "IPv4 address of the adapter.")
        .representation("IPV4Address")
        .readOnly()
        .onRead(
            [this](std::size_t) { return FeatureValue(std::int64_t{this->adapter().address}); });
    table.integer("GevInterfaceSubnetMask", "IPv4 subnet mask of the adapter.")
        .representation("IPV4Address")
        .readOnly()
        .onRead([this](std::size_t) { return FeatureValue(std::int64_t{this->adapter().mask}); });
    table.integer("GevInterfaceMTU", "Largest packet that the adapter carries.")
        .unit("B")
        .expert()
        .readOnly()
        .onRead([this](std::size_t) { return FeatureValue(std::int64_t{this->adapter().mtu}); });
    table.category("DeviceEnumeration", "Devices found by the last enumeration.");
    table.integer("DeviceCount", "Number of devices.").readOnly().onRead([this](std::size_t) {
        const std::lock_guard<std::mutex> lock(mutex_);
        return FeatureValue(static_cast<std::int64_t>(devices_.size()));
    });
    table
        .boolean("GevDeviceOpenListening",
                 "Devices are opened from now on to listen beside the client that controls them.")
        .expert()
        .value(std::int64_t{0})
        .onWrite([this](std::size_t, const FeatureValue& value) {
            listen_ = std::get<std::int64_t>(value) != 0;
            return ZelErr::kOk;
        });
    declareAction();
    table.finish();
}

void GigeInterface::declareAction()
{
    features::FeatureTable& table = features_.table();
    constexpr std::int64_t kWord = std::numeric_limits<std::uint32_t>::max();
    table.category("ActionControl", "A command to all cameras behind this adapter at once.");
    table.integer("ActionDeviceKey", "Key that cameras compare with their own.").range(0, kWord);
    table.integer("ActionGroupKey", "Key of the group of cameras.").range(0, kWord);
    table.integer("ActionGroupMask", "Bits of the groups that are to act.")
        .range(0, kWord)
        .value(kWord);
    table.boolean("ActionScheduledTimeEnable", "The action has a time.");
    table.integer("ActionScheduledTime", "Time of the cameras' clock at which they act.");
    table
        .integer("GevActionDestinationIPAddress",
                 "Who receives the command; all ones: every camera.")
        .representation("IPV4Address")
        .range(0, kWord)
        .value(kWord);
    table.command("ActionCommand", "Sends the command.").onExecute([this](std::size_t) {
        return fireAction();
    });
}

ZelCamErr GigeInterface::fireAction()
{
    const features::FeatureTable& table = features_.table();
    const auto value = [&table](const char* name) { return table.find(name)->integer(); };
    wire::Action action;
    action.deviceKey = static_cast<std::uint32_t>(value("ActionDeviceKey"));
    action.groupKey = static_cast<std::uint32_t>(value("ActionGroupKey"));
    action.groupMask = static_cast<std::uint32_t>(value("ActionGroupMask"));
    action.scheduled = value("ActionScheduledTimeEnable") != 0;
    action.time = static_cast<std::uint64_t>(value("ActionScheduledTime"));
    const auto to = static_cast<std::uint32_t>(value("GevActionDestinationIPAddress"));
    const NetworkAdapter adapter = this->adapter();
    UdpSocket socket(adapter.address);
    // Without an answer: a command to many has no one end, and one that came late acts late.
    const wire::Datagram command = wire::makeAction(1, action, 0);
    const bool sent = socket.isOpen() && socket.tellAdapters() &&
                      (adapter.contains(to) || to == std::numeric_limits<std::uint32_t>::max()
                           ? socket.sendBy(adapter.index, adapter.address, command.bytes(), to,
                                           wire::kControlPort)
                           : socket.sendTo(command.bytes(), to, wire::kControlPort));
    return sent ? ZelErr::kOk : ZelErr::kGenTLIo;
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
    return "GigE Vision, " + name_ + " (" + base::formatIpv4(adapter().address) + ")";
}

std::int32_t GigeInterface::type() { return ZelCam::kGigEVision; }

ZelCamErr GigeInterface::updateDevices(std::uint64_t timeoutMs,
                                       std::vector<core::DeviceDescription>* devices)
{
    const NetworkAdapter adapter = this->adapter();
    const std::vector<NetworkAdapter> adapters = networkAdapters();
    std::map<std::string, wire::DiscoveryRecord> found;
    for (const FoundDevice& device : Discovery(adapters).find(waitFor(timeoutMs))) {
        if (homeOf(device, adapters) == adapter.index) {
            found.emplace(deviceId(device.record), device.record);
        }
    }
    base::log(base::LogChannel::Gige, "discovery on %s: %zu devices", name_.c_str(), found.size());
    devices->clear();
    for (const auto& entry : found) {
        devices->push_back(describe(entry.second));
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    devices_ = std::move(found);
    return ZelErr::kOk;
}

bool GigeInterface::find(const std::string& id, wire::DiscoveryRecord* record)
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
    wire::DiscoveryRecord record;
    if (!find(id, &record)) {
        return gentl::kStatusNoAccess;
    }
    if (adapterTowards(record.address) == 0) {
        // A foreign subnet: it can be found and given an address, not opened.
        return gentl::kStatusUnknown;
    }
    ControlChannel control;
    std::uint32_t privilege = 0;
    if (control.connect(record.address) != ZelErr::kOk) {
        return gentl::kStatusNoAccess;
    }
    const ZelCamErr code = control.readRegister(wire::reg::kControlPrivilege, &privilege);
    if (code == ZelErr::kGenTLAccessDenied) {
        return gentl::kStatusBusy; // Exclusive: not even this may be read.
    }
    if (code != ZelErr::kOk) {
        return gentl::kStatusNoAccess;
    }
    return (privilege & kPrivilegeTaken) != 0 ? gentl::kStatusBusy : gentl::kStatusReadWrite;
}

ZelCamErr GigeInterface::ipSettings(const std::string& id, core::IpSettings* settings)
{
    wire::DiscoveryRecord record;
    if (!find(id, &record)) {
        return ZelErr::kGenTLInvalidId;
    }
    *settings = {record.address, record.mask, record.gateway};
    return ZelErr::kOk;
}

ZelCamErr GigeInterface::forceIp(const std::string& id, const core::IpSettings& settings)
{
    wire::DiscoveryRecord record;
    if (!find(id, &record)) {
        return ZelErr::kGenTLInvalidId;
    }
    if (accessStatus(id) == gentl::kStatusBusy) {
        return ZelErr::kGenTLAccessDenied; // It would pull the camera away from its user.
    }
    // By every adapter: with several in one subnet the camera hears only one of them.
    Discovery discovery(networkAdapters());
    const ZelCamErr answer = discovery.forceIp(
        {record.mac, settings.address, settings.mask, settings.gateway}, kForceIpWait);
    if (answer != ZelErr::kOk && answer != ZelErr::kGenTLTimeout) {
        return answer;
    }
    // The acknowledge only says that the packet was understood, and it may get lost between two
    // subnets: look where the device is now. Some need seconds to change over.
    const auto moved = [&](const FoundDevice& now) {
        return now.record.mac == record.mac && deviceId(now.record) == id &&
               now.record.address == settings.address;
    };
    const auto patience = answer == ZelErr::kOk ? kChangeOverWait : kForceIpWait;
    const std::vector<FoundDevice> found = discovery.find(patience, moved);
    if (found.empty() || !moved(found.back())) {
        return answer != ZelErr::kOk ? answer : ZelErr::kGenTLIo;
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    devices_[id] = found.back().record;
    return ZelErr::kOk;
}

ZelCamErr GigeInterface::openDevice(const std::string& id,
                                    std::unique_ptr<core::TransportDevice>* device)
{
    wire::DiscoveryRecord record;
    if (!find(id, &record)) {
        return ZelErr::kGenTLInvalidId;
    }
    const auto access = listen_ ? GigeDevice::Access::Listen : GigeDevice::Access::Control;
    return GigeDevice::open(adapter(), record.address, access, device);
}

} // namespace gige
