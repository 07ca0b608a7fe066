// Features and interfaces of the system.
#include "simulator/producer/system_module.h"

#include "simulator/producer/failure.h"
#include "simulator/producer/message_event.h"
#include "simulator/producer/transport_type.h"

#include <dlfcn.h>

#include <atomic>
#include <cstdio>
#include <set>
#include <utility>

namespace simulator::producer
{

namespace
{

std::atomic<bool> offHides{true};

ModuleIdentity identity()
{
    ModuleIdentity identity;
    identity.vendor = kVendor;
    identity.model = "SimulatedSystem";
    identity.toolTip = "Simulated cameras";
    identity.productGuid = "6D1F4A52-0B0E-4C0F-9C35-3E8F1C7A5D01";
    identity.versionGuid = "A35D6C1E-5B43-4F7E-8A0B-6C2B8E1D9F01";
    return identity;
}

/// `wanted`, with a number behind it when it is taken.
std::string uniqueId(const std::string& wanted, std::set<std::string>* taken)
{
    std::string id = wanted;
    for (int number = 2; !taken->insert(id).second; ++number) {
        id = wanted + '#' + std::to_string(number);
    }
    return id;
}

std::vector<std::shared_ptr<const SimulatedInterface>> plugTogether()
{
    std::string error;
    const std::vector<InterfaceConfig> configs = interfacesFromEnvironment(&error, offHides.load());
    if (!error.empty()) {
        std::fprintf(stderr, "simulated cameras: %s\n", error.c_str());
    }
    std::set<std::string> taken;
    std::vector<std::shared_ptr<const SimulatedInterface>> interfaces;
    for (const InterfaceConfig& config : configs) {
        auto interface = std::make_shared<SimulatedInterface>();
        interface->id = uniqueId(config.id, &taken);
        interface->displayName = config.displayName;
        interface->tlType = config.tlType;
        for (const CameraConfig& camera : config.cameras) {
            const std::string id =
                uniqueId(interface->id + '/' + camera.model + '/' + camera.serialNumber, &taken);
            interface->cameras.push_back(
                std::make_shared<CameraEndpoint>(id, config.tlType, camera));
            interface->byId.emplace(id, interface->cameras.back());
        }
        interfaces.push_back(std::move(interface));
    }
    return interfaces;
}

/// File that this code was loaded from.
std::string ownPath()
{
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&producerInfo), &info) == 0 || info.dli_fname == nullptr) {
        return {};
    }
    return info.dli_fname;
}

} // namespace

void showCamerasWhenOff() { offHides = false; }

InfoValue producerInfo(std::int32_t command)
{
    constexpr std::int32_t kUtf8 = 1;
    switch (command) {
    case gentl::kTlInfoId:
        return InfoValue::text("ZelCamSimulator");
    case gentl::kTlInfoVendor:
        return InfoValue::text(kVendor);
    case gentl::kTlInfoModel:
        return InfoValue::text("Simulated cameras");
    case gentl::kTlInfoVersion:
        return InfoValue::text(kVersion);
    case gentl::kTlInfoTlType:
        return InfoValue::text("Mixed");
    case gentl::kTlInfoName: {
        const std::string path = ownPath();
        return InfoValue::text(path.substr(path.rfind('/') + 1));
    }
    case gentl::kTlInfoPathName:
        return InfoValue::text(ownPath());
    case gentl::kTlInfoDisplayName:
        return InfoValue::text("Simulated cameras");
    case gentl::kTlInfoCharEncoding:
        return InfoValue::int32(kUtf8);
    case gentl::kTlInfoGenTLVersionMajor:
        return InfoValue::uint32(1);
    case gentl::kTlInfoGenTLVersionMinor:
        return InfoValue::uint32(6);
    default:
        throw Failure(gentl::err::kInvalidParameter, "unknown system info command");
    }
}

SystemModule::SystemModule(HandleRegistry& handles)
    : Module(handles, identity(), {gentl::kEventFeatureInvalidate}), interfaces_(plugTogether())
{
    addFeatures();
    addInterfaceFeatures();
    table().finish();
}

std::shared_ptr<SystemModule> SystemModule::open(HandleRegistry& handles)
{
    std::shared_ptr<SystemModule> system(new SystemModule(handles));
    system->publish();
    return system;
}

void SystemModule::addFeatures()
{
    FeatureTable& features = table();
    features.category("SystemInformation", "What the producer is.");
    features.string("TLVendorName", "Maker of the producer.", 64)
        .readOnly()
        .value(std::string(kVendor));
    features.string("TLModelName", "Name of the producer.", 64)
        .readOnly()
        .value(std::string("Simulated cameras"));
    features.string("TLID", "Unique identifier of the producer.", 64)
        .readOnly()
        .value(std::string("ZelCamSimulator"));
    features.string("TLVersion", "Version of the producer.", 32)
        .readOnly()
        .value(std::string(kVersion));
    features.string("TLPath", "File of the producer.", 512).readOnly().value(ownPath());
    addTransportTypes(features.enumeration("TLType", "Transport layers of the producer."), true)
        .readOnly()
        .value(0);
    features.integer("GenTLVersionMajor", "Version of the interface, major.")
        .expert()
        .readOnly()
        .value(1);
    features.integer("GenTLVersionMinor", "Version of the interface, minor.")
        .expert()
        .readOnly()
        .value(6);
}

void SystemModule::addInterfaceFeatures()
{
    FeatureTable& features = table();
    const std::size_t count = std::max<std::size_t>(interfaces_.size(), 1);
    const auto text = [&, this](const char* name, const char* toolTip,
                                const std::string SimulatedInterface::*part) {
        features.string(name, toolTip, 128)
            .selectedBy("InterfaceSelector", count)
            .readOnly()
            .onRead([this, part](std::size_t index) -> FeatureValue {
                return index < interfaceCount() ? (*interfaces_[index]).*part : std::string();
            });
    };
    features.category("InterfaceEnumeration", "The interfaces of the producer.");
    features.command("InterfaceUpdateList", "Looks for interfaces.").onExecute([this](std::size_t) {
        updateInterfaces();
        return gentl::err::kSuccess;
    });
    features.integer("InterfaceSelector", "Chooses an interface of the list.")
        .limits([this](std::size_t) {
            return IntLimits{0, std::max<std::int64_t>(interfaceCount(), 1) - 1};
        })
        .value(0);
    text("InterfaceID", "Unique identifier of the interface.", &SimulatedInterface::id);
    text("InterfaceDisplayName", "Name of the interface for people.",
         &SimulatedInterface::displayName);
    addTransportTypes(features.enumeration("InterfaceType", "Transport layer of the interface."),
                      false)
        .selectedBy("InterfaceSelector", count)
        .readOnly()
        .onRead([this](std::size_t index) {
            return index < interfaceCount() ? transportTypeValue(interfaces_[index]->tlType)
                                            : std::int64_t{1};
        });
}

PortFacts SystemModule::facts()
{
    PortFacts facts;
    facts.id = "ZelCamSimulator";
    facts.vendor = kVendor;
    facts.model = "SimulatedSystem";
    facts.tlType = "Mixed";
    facts.module = "TLSystem";
    facts.version = kVersion;
    facts.portName = "Device";
    return facts;
}

bool SystemModule::updateInterfaces()
{
    {
        const std::lock_guard lock(listMutex_);
        if (listed_ || interfaces_.empty()) {
            return false;
        }
        listed_ = true;
    }
    events().post(gentl::kEventFeatureInvalidate, featureMessage("InterfaceSelector"));
    return true;
}

std::uint32_t SystemModule::interfaceCount() const
{
    const std::lock_guard lock(listMutex_);
    return listed_ ? static_cast<std::uint32_t>(interfaces_.size()) : 0;
}

std::string SystemModule::interfaceId(std::size_t index) const
{
    if (index >= interfaceCount()) {
        throw Failure(gentl::err::kInvalidIndex, "no interface at this index");
    }
    return interfaces_[index]->id;
}

std::shared_ptr<const SimulatedInterface> SystemModule::interface(const std::string& id) const
{
    for (const auto& interface : interfaces_) {
        if (interface->id == id) {
            return interface;
        }
    }
    throw Failure(gentl::err::kInvalidId, "no interface '" + id + "'");
}

gentl::Handle SystemModule::openInterface(const std::string& id)
{
    const auto plugs = interface(id);
    if (open_.count(id) != 0) {
        throw Failure(gentl::err::kResourceInUse, "the interface is open already");
    }
    auto opened = InterfaceModule::open(handles(), handle(), plugs);
    const gentl::Handle interfaceHandle = opened->handle();
    open_.emplace(id, std::move(opened));
    return interfaceHandle;
}

void SystemModule::closeInterface(InterfaceModule& interface)
{
    interface.close();
    open_.erase(interface.plugs().id);
}

void SystemModule::closeChildren()
{
    for (const auto& [id, interface] : open_) {
        interface->endSoon();
    }
    for (const auto& [id, interface] : open_) {
        interface->close();
    }
    open_.clear();
}

} // namespace simulator::producer
