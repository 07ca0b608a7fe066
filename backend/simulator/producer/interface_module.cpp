// Features, device list and open devices of an interface.
#include "simulator/producer/interface_module.h"

#include "base/ipv4.h"
#include "simulator/producer/failure.h"
#include "simulator/producer/message_event.h"
#include "simulator/producer/network_text.h"
#include "simulator/producer/transport_type.h"

#include <algorithm>
#include <utility>

namespace simulator::producer
{

namespace
{

ModuleIdentity identity()
{
    ModuleIdentity identity;
    identity.vendor = kVendor;
    identity.model = "SimulatedInterface";
    identity.toolTip = "Interface with simulated cameras";
    identity.productGuid = "6D1F4A52-0B0E-4C0F-9C35-3E8F1C7A5D02";
    identity.versionGuid = "A35D6C1E-5B43-4F7E-8A0B-6C2B8E1D9F02";
    return identity;
}

} // namespace

InfoValue interfaceInfo(const SimulatedInterface& interface, std::int32_t command)
{
    switch (command) {
    case gentl::kInterfaceInfoId:
        return InfoValue::text(interface.id);
    case gentl::kInterfaceInfoDisplayName:
        return InfoValue::text(interface.displayName);
    case gentl::kInterfaceInfoTlType:
        return InfoValue::text(interface.tlType);
    default:
        throw Failure(gentl::err::kInvalidParameter, "unknown interface info command");
    }
}

InterfaceModule::InterfaceModule(HandleRegistry& handles, gentl::Handle system,
                                 std::shared_ptr<const SimulatedInterface> plugs)
    : Module(handles, identity(), {gentl::kEventFeatureInvalidate}), parent_(system),
      plugs_(std::move(plugs))
{
    addFeatures();
    table().finish();
}

std::shared_ptr<InterfaceModule>
InterfaceModule::open(HandleRegistry& handles, gentl::Handle system,
                      std::shared_ptr<const SimulatedInterface> plugs)
{
    std::shared_ptr<InterfaceModule> opened(new InterfaceModule(handles, system, std::move(plugs)));
    opened->publish();
    return opened;
}

void InterfaceModule::addFeatures()
{
    FeatureTable& features = table();
    features.category("InterfaceInformation", "What the interface is.");
    features.string("InterfaceID", "Unique identifier of the interface.", 128)
        .readOnly()
        .value(plugs_->id);
    features.string("InterfaceDisplayName", "Name of the interface for people.", 128)
        .readOnly()
        .value(plugs_->displayName);
    addTransportTypes(features.enumeration("InterfaceType", "Transport layer of the interface."),
                      false)
        .readOnly()
        .value(transportTypeValue(plugs_->tlType));
    features.category("DeviceEnumeration", "The devices of the interface.");
    features.command("DeviceUpdateList", "Looks for devices.").onExecute([this](std::size_t) {
        updateDevices();
        return gentl::err::kSuccess;
    });
    features.integer("DeviceSelector", "Chooses a device of the list.")
        .limits([this](std::size_t) {
            return IntLimits{0, std::max<std::int64_t>(deviceCount(), 1) - 1};
        })
        .value(0);
    addDeviceFeatures();
    if (plugs_->tlType == "GEV") {
        addNetworkFeatures();
        addForceIp();
        addActions();
    }
}

void InterfaceModule::addDeviceFeatures()
{
    FeatureTable& features = table();
    const std::size_t count = std::max<std::size_t>(plugs_->cameras.size(), 1);
    const auto text = [&, this](const char* name, const char* toolTip, auto read) {
        features.string(name, toolTip, 128)
            .selectedBy("DeviceSelector", count)
            .readOnly()
            .onRead([this, read](std::size_t index) -> FeatureValue {
                const auto camera = listed(index);
                return camera ? std::string(read(*camera)) : std::string();
            });
    };
    text("DeviceID", "Unique identifier of the device.",
         [](CameraEndpoint& camera) { return camera.id(); });
    text("DeviceVendorName", "Maker of the device.",
         [](CameraEndpoint& camera) { return camera.config().vendor; });
    text("DeviceModelName", "Model of the device.",
         [](CameraEndpoint& camera) { return camera.config().model; });
    text("DeviceSerialNumber", "Serial number of the device.",
         [](CameraEndpoint& camera) { return camera.config().serialNumber; });
    text("DeviceUserID", "Name that the user gave the device.",
         [](CameraEndpoint& camera) { return camera.userDefinedName(); });
    features.enumeration("DeviceAccessStatus", "How the device could be opened.")
        .entry("Unknown", gentl::kStatusUnknown, "Not known.")
        .entry("ReadWrite", gentl::kStatusReadWrite, "Free.")
        .entry("ReadOnly", gentl::kStatusReadOnly, "Another host controls it.")
        .entry("NoAccess", gentl::kStatusNoAccess, "It cannot be reached.")
        .entry("Busy", gentl::kStatusBusy, "Another host holds it alone.")
        .entry("OpenReadWrite", gentl::kStatusOpenReadWrite, "This process controls it.")
        .entry("OpenReadOnly", gentl::kStatusOpenReadOnly, "This process reads it.")
        .selectedBy("DeviceSelector", count)
        .readOnly()
        .onRead([this](std::size_t index) {
            const auto camera = listed(index);
            return std::int64_t{camera ? camera->status() : gentl::kStatusUnknown};
        });
    Feature& otherHost =
        features.enumeration("SimulatorOtherHost", "What another host holds of the device.");
    otherHost.entry("None", gentl::kDeviceAccessNone, "Nothing.")
        .entry("Control", gentl::kDeviceAccessControl,
               "Control: here it can be opened to read only.")
        .entry("Exclusive", gentl::kDeviceAccessExclusive, "All access.")
        .selectedBy("DeviceSelector", count)
        .guru()
        .value(std::int64_t{gentl::kDeviceAccessNone})
        .onRead([this](std::size_t index) {
            const auto camera = listed(index);
            return std::int64_t{camera ? camera->otherHost() : gentl::kDeviceAccessNone};
        })
        .onChange([this, &otherHost](std::size_t index) {
            if (const auto camera = listed(index)) {
                camera->setOtherHost(static_cast<gentl::DeviceAccess>(otherHost.integer(index)));
            }
        });
}

void InterfaceModule::addNetworkFeatures()
{
    FeatureTable& features = table();
    const std::size_t count = std::max<std::size_t>(plugs_->cameras.size(), 1);
    const auto number = [&, this](const char* name, const char* toolTip, auto read) -> Feature& {
        return features.integer(name, toolTip)
            .selectedBy("DeviceSelector", count)
            .readOnly()
            .onRead([this, read](std::size_t index) {
                const auto camera = listed(index);
                return camera ? std::int64_t{read(*camera)} : 0;
            });
    };
    number("GevDeviceIPAddress", "Present IP address of the device.", [](CameraEndpoint& camera) {
        return camera.ip().address;
    }).representation("IPV4Address");
    number("GevDeviceSubnetMask", "Present subnet mask of the device.", [](CameraEndpoint& camera) {
        return camera.ip().mask;
    }).representation("IPV4Address");
    number("GevDeviceGateway", "Present gateway of the device.", [](CameraEndpoint& camera) {
        return camera.ip().gateway;
    }).representation("IPV4Address");
    number("GevDeviceMACAddress", "Hardware address of the device.", [](CameraEndpoint& camera) {
        return macAddress(camera.config().macAddress);
    }).representation("MACAddress");
}

void InterfaceModule::addForceIp()
{
    FeatureTable& features = table();
    const std::size_t count = std::max<std::size_t>(plugs_->cameras.size(), 1);
    const auto wanted = [&](const char* name, const char* toolTip) {
        features.integer(name, toolTip)
            .selectedBy("DeviceSelector", count)
            .representation("IPV4Address")
            .expert()
            .range(std::int64_t{0}, std::int64_t{0xffffffff})
            .value(0);
    };
    wanted("GevDeviceForceIPAddress", "IP address that the device is to take.");
    wanted("GevDeviceForceSubnetMask", "Subnet mask that the device is to take.");
    wanted("GevDeviceForceGateway", "Gateway that the device is to take.");
    features.command("GevDeviceForceIP", "Makes the device take the settings.")
        .selectedBy("DeviceSelector", count)
        .expert()
        .onExecute([this](std::size_t index) { return forceIp(index); });
}

std::int32_t InterfaceModule::forceIp(std::size_t index)
{
    const auto camera = listed(index);
    if (!camera || !camera->isPresent()) {
        return gentl::err::kIo;
    }
    if (camera->status() != gentl::kStatusReadWrite) {
        return gentl::err::kResourceInUse; // an open device would lose its connection
    }
    const auto wanted = [this, index](const char* name) {
        return static_cast<std::uint32_t>(table().find(name)->integer(index));
    };
    IpConfig ip;
    ip.address = wanted("GevDeviceForceIPAddress");
    ip.mask = wanted("GevDeviceForceSubnetMask");
    ip.gateway = wanted("GevDeviceForceGateway");
    if (!base::isHostSetting(ip.address, ip.mask, ip.gateway) || base::isLoopback(ip.address)) {
        return gentl::err::kInvalidValue;
    }
    camera->model().forceIp(ip);
    for (const char* name : {"GevDeviceIPAddress", "GevDeviceSubnetMask", "GevDeviceGateway"}) {
        events().post(gentl::kEventFeatureInvalidate, featureMessage(name));
    }
    return gentl::err::kSuccess;
}

void InterfaceModule::addActions()
{
    FeatureTable& features = table();
    const auto word = [&features](const char* name, const char* toolTip) -> Feature& {
        return features.integer(name, toolTip).range(std::int64_t{0}, std::int64_t{0xffffffff});
    };
    features.category("ActionControl", "A command to all cameras of the network at once.");
    word("ActionDeviceKey", "Key that cameras compare with their own.").value(0);
    word("ActionGroupKey", "Key of the group of cameras.").value(0);
    word("ActionGroupMask", "Bits of the groups that are to act.").value(std::int64_t{0xffffffff});
    features.command("ActionCommand", "Sends the command.").onExecute([this](std::size_t) {
        const auto wanted = [this](const char* name) {
            return static_cast<std::uint32_t>(table().find(name)->integer());
        };
        for (const auto& camera : plugs_->cameras) {
            if (camera->isPresent()) {
                camera->model().actionCommand({wanted("ActionDeviceKey"),
                                               wanted("ActionGroupKey"),
                                               wanted("ActionGroupMask"),
                                               {}});
            }
        }
        return std::int32_t{gentl::err::kSuccess};
    });
}

PortFacts InterfaceModule::facts()
{
    PortFacts facts;
    facts.id = plugs_->id;
    facts.vendor = kVendor;
    facts.model = "SimulatedInterface";
    facts.tlType = plugs_->tlType;
    facts.module = "TLInterface";
    facts.version = kVersion;
    facts.portName = "Device";
    return facts;
}

bool InterfaceModule::updateDevices()
{
    std::vector<std::shared_ptr<CameraEndpoint>> present;
    for (const auto& camera : plugs_->cameras) {
        if (camera->isPresent()) {
            present.push_back(camera);
        }
    }
    {
        const std::lock_guard lock(listMutex_);
        if (present == list_) {
            return false;
        }
        list_ = std::move(present);
    }
    events().post(gentl::kEventFeatureInvalidate, featureMessage("DeviceSelector"));
    return true;
}

std::uint32_t InterfaceModule::deviceCount() const
{
    const std::lock_guard lock(listMutex_);
    return static_cast<std::uint32_t>(list_.size());
}

std::shared_ptr<CameraEndpoint> InterfaceModule::listed(std::size_t index) const
{
    const std::lock_guard lock(listMutex_);
    return index < list_.size() ? list_[index] : nullptr;
}

std::string InterfaceModule::deviceId(std::size_t index) const
{
    const auto camera = listed(index);
    if (!camera) {
        throw Failure(gentl::err::kInvalidIndex, "no device at this index");
    }
    return camera->id();
}

std::shared_ptr<CameraEndpoint> InterfaceModule::device(const std::string& id) const
{
    if (const auto found = plugs_->byId.find(id); found != plugs_->byId.end()) {
        const std::lock_guard lock(listMutex_);
        if (found->second->isPresent() ||
            std::find(list_.begin(), list_.end(), found->second) != list_.end()) {
            return found->second;
        }
    }
    throw Failure(gentl::err::kInvalidId, "no device '" + id + "'");
}

gentl::Handle InterfaceModule::openDevice(const std::string& id, std::int32_t access)
{
    requireParameter(access == gentl::kDeviceAccessReadOnly ||
                         access == gentl::kDeviceAccessControl ||
                         access == gentl::kDeviceAccessExclusive,
                     "unknown device access");
    auto opened = DeviceModule::open(handles(), handle(), device(id),
                                     static_cast<gentl::DeviceAccess>(access));
    const gentl::Handle deviceHandle = opened->handle();
    try {
        open_.emplace(deviceHandle, opened);
    } catch (...) {
        opened->close(); // the camera must not stay held
        throw;
    }
    return deviceHandle;
}

void InterfaceModule::closeDevice(DeviceModule& device)
{
    device.close();
    open_.erase(device.handle());
}

void InterfaceModule::endSoon()
{
    for (const auto& [deviceHandle, device] : open_) {
        device->endSoon();
    }
}

void InterfaceModule::closeChildren()
{
    endSoon();
    for (const auto& [deviceHandle, device] : open_) {
        device->close();
    }
    open_.clear();
}

} // namespace simulator::producer
