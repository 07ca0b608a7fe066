#include "simulator/network_section.h"

#include "base/ipv4.h"
#include "gentl_abi/gentl_abi.h"
#include "gige/wire/bootstrap.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace simulator
{

namespace
{

namespace wire = ::gige::wire;
namespace reg = ::gige::wire::reg;
using Access = BootstrapRegisters::Access;

constexpr std::uint32_t kSmallestPacket = 576;
constexpr std::uint32_t kLargestPacket = 9000;
constexpr std::uint32_t kPacketStep = 4;
constexpr std::uint32_t kLongestDelay = 1000000;
constexpr std::uint32_t kShortestHeartbeat = 500;
constexpr std::uint32_t kLongestHeartbeat = 600000;
constexpr std::uint32_t kTicksPerSecond = 1000000000;
constexpr std::uint32_t kLongestDiscoveryDelay = 1000;
constexpr std::uint32_t kLatch = 2;

/// Channel 0, the only one.
constexpr std::uint32_t kPort = wire::streamRegister(0, wire::stream::kPort);
constexpr std::uint32_t kPacketSize = wire::streamRegister(0, wire::stream::kPacketSize);
constexpr std::uint32_t kPacketDelay = wire::streamRegister(0, wire::stream::kPacketDelay);
constexpr std::uint32_t kDestination = wire::streamRegister(0, wire::stream::kDestination);
constexpr std::uint32_t kSourcePort = wire::streamRegister(0, wire::stream::kSourcePort);
constexpr std::uint32_t kChannelCapability = wire::streamRegister(0, wire::stream::kCapability);
constexpr std::uint32_t kChannelSwitches = wire::streamRegister(0, wire::stream::kConfiguration);

constexpr std::uint32_t kChannelSwitchBits =
    wire::kChannelUnconditional | wire::kChannelResendToAsker;
constexpr std::uint32_t kControlSwitchBits =
    wire::configuration::kHeartbeatOff | wire::configuration::kPendingAck |
    wire::configuration::kStatusCodes11 | wire::configuration::kUnconditionalAction |
    wire::configuration::kStatusCodes20;
constexpr std::uint32_t kAllBits = 0xFFFFFFFF;

/// "02:5a:43:00:00:01" as a number; wrong text gives the digits before the mistake.
std::uint64_t macNumber(const std::string& text)
{
    std::string digits;
    for (const char c : text) {
        if (c != ':' && c != '-') {
            digits += c;
        }
    }
    return std::strtoull(digits.c_str(), nullptr, 16) & 0xFFFFFFFFFFFF;
}

/// The smallest usual link that carries this much.
std::uint32_t linkMegabits(std::uint64_t bytesPerSecond)
{
    const std::uint64_t needed = bytesPerSecond * 8 / 1000000;
    for (const std::uint32_t usual : {100U, 1000U, 2500U, 5000U, 10000U}) {
        if (bytesPerSecond != 0 && needed <= usual) {
            return usual;
        }
    }
    return 25000;
}

std::uint32_t number(const Feature* feature)
{
    return static_cast<std::uint32_t>(feature->integer());
}

/// A register whose value a feature keeps.
void addKept(BootstrapRegisters& registers, std::uint32_t address, Feature* feature)
{
    registers.number(
        address, [feature] { return number(feature); },
        [feature](std::uint32_t value) {
            const std::int32_t code = feature->check(std::int64_t{value}, 0);
            if (code == 0) {
                feature->set(std::int64_t{value});
            }
            return code;
        });
}

} // namespace

NetworkSection::NetworkSection(CameraContext& context) : context_(context), ip_(context.config.ip)
{
    declareAddresses();
    declareControl();
    declareMessageChannel();
    declareStreamChannel();
    declareStreamSwitches();
    addIdentity();
    addAddresses();
    addControl();
    addChannels();
    addManifest();
    addActions();
    registers_.onWritten([this](std::uint32_t address, std::uint32_t value) {
        context_.post([address, value](CameraObserver& observer) {
            observer.bootstrapWritten(address, value);
        });
    });
}

Feature& NetworkSection::address(const char* name, const char* toolTip)
{
    return context_.table.integer(name, toolTip)
        .bytes(4)
        .representation("IPV4Address")
        .expert()
        .range(std::int64_t{0}, std::int64_t{0xFFFFFFFF});
}

Feature& NetworkSection::shows(Feature& feature, std::uint32_t reg, std::uint32_t mask,
                               bool writable)
{
    const auto shift = static_cast<unsigned>(__builtin_ctz(mask));
    feature.onRead([this, reg, mask, shift](std::size_t) {
        return FeatureValue(std::int64_t{(registers_.value(reg) & mask) >> shift});
    });
    if (!writable) {
        return feature.readOnly();
    }
    return feature.onWrite([this, reg, mask, shift](std::size_t, const FeatureValue& value) {
        const auto bits = static_cast<std::uint32_t>(std::get<std::int64_t>(value)) << shift;
        return registers_.writeNumber(reg, (registers_.value(reg) & ~mask) | (bits & mask));
    });
}

void NetworkSection::declareAddresses()
{
    FeatureTable& table = context_.table;
    table.integer("GevMACAddress", "Hardware address of the network interface.")
        .expert()
        .readOnly()
        .representation("MACAddress")
        .value(static_cast<std::int64_t>(macNumber(context_.config.macAddress)));
    table
        .boolean("GevCurrentIPConfigurationLLA", "Uses a link-local address when nothing else "
                                                 "gave one.")
        .guru()
        .readOnly()
        .value(std::int64_t{1});
    usesDhcp_ = &table.boolean("GevCurrentIPConfigurationDHCP", "Asks the network for an address.")
                     .guru()
                     .value(std::int64_t{1});
    usesPersistentIp_ = &table
                             .boolean("GevCurrentIPConfigurationPersistentIP",
                                      "Uses the persistent address after a restart.")
                             .guru()
                             .value(std::int64_t{1});
    const auto current = [this](std::uint32_t IpConfig::*field) {
        return [this, field](std::size_t) { return FeatureValue(std::int64_t{ip_.*field}); };
    };
    address("GevCurrentIPAddress", "Present address.")
        .readOnly()
        .onRead(current(&IpConfig::address));
    address("GevCurrentSubnetMask", "Present subnet mask.")
        .readOnly()
        .onRead(current(&IpConfig::mask));
    address("GevCurrentDefaultGateway", "Present gateway.")
        .readOnly()
        .onRead(current(&IpConfig::gateway));
    persistentAddress_ = &address("GevPersistentIPAddress", "Address after a restart.")
                              .value(std::int64_t{ip_.address});
    persistentMask_ = &address("GevPersistentSubnetMask", "Subnet mask after a restart.")
                           .value(std::int64_t{ip_.mask});
    persistentGateway_ = &address("GevPersistentDefaultGateway", "Gateway after a restart.")
                              .value(std::int64_t{ip_.gateway});
    for (Feature* feature :
         {usesDhcp_, usesPersistentIp_, persistentAddress_, persistentMask_, persistentGateway_}) {
        feature->onChange([this](std::size_t) {
            context_.post([](CameraObserver& observer) {
                observer.bootstrapWritten(reg::kPersistentAddress, 0);
            });
        });
    }
}

void NetworkSection::declareControl()
{
    FeatureTable& table = context_.table;
    heartbeat_ =
        &table.integer("GevHeartbeatTimeout", "Silence after which the camera ends the session.")
             .unit("ms")
             .guru()
             .range(std::int64_t{kShortestHeartbeat}, std::int64_t{kLongestHeartbeat})
             .value(std::int64_t{3000});
    shows(table.boolean("GevGVCPHeartbeatDisable", "Sessions do not end by silence."),
          reg::kControlConfiguration, wire::configuration::kHeartbeatOff, true)
        .guru();
    shows(table.boolean("GevGVCPPendingAck", "Long work is announced before it is answered."),
          reg::kControlConfiguration, wire::configuration::kPendingAck, true)
        .guru();
    shows(table.boolean("GevGVCPExtendedStatusCodes", "Status codes of later versions are sent."),
          reg::kControlConfiguration, wire::configuration::kStatusCodes11, true)
        .guru();
    table.integer("GevTimestampTickFrequency", "Ticks of the clock in a second.")
        .unit("Hz")
        .expert()
        .readOnly()
        .value(std::int64_t{kTicksPerSecond});
    shows(table.enumeration("GevCCP", "Who controls the camera.")
              .entry("OpenAccess", 0, "Nobody.")
              .entry("ExclusiveAccess", 1, "One host; others may not even read.")
              .entry("ControlAccess", 2, "One host; others may read.")
              .entry("ExclusiveControlAccess", 3, "One host; others may not even read.")
              .entry("ControlAccessSwitchoverActive", 6, "One host that can be followed."),
          reg::kControlPrivilege, 7, false)
        .guru();
    shows(address("GevPrimaryApplicationIPAddress", "Address of the controlling host."),
          reg::kPrimaryAddress, kAllBits, false);
    shows(table.integer("GevPrimaryApplicationSocket", "Port of the controlling host."),
          reg::kPrimaryPort, wire::kPortMask, false)
        .expert();
}

void NetworkSection::declareMessageChannel()
{
    FeatureTable& table = context_.table;
    const auto channel = [&](const char* name, const char* toolTip, std::uint32_t reg,
                             std::int64_t most) {
        shows(table.integer(name, toolTip), reg, kAllBits, true)
            .guru()
            .range(std::int64_t{0}, most);
    };
    table.integer("GevMessageChannelCount", "Number of message channels.")
        .guru()
        .readOnly()
        .value(std::int64_t{1});
    channel("GevMCPHostPort", "Port to which events are sent; 0: none.", reg::kMessagePort, 0xFFFF);
    shows(address("GevMCDA", "Address to which events are sent."), reg::kMessageDestination,
          kAllBits, true)
        .guru();
    channel("GevMCTT", "Milliseconds until an event is sent again; 0: never.", reg::kMessageTimeout,
            0xFFFFFFFF);
    channel("GevMCRC", "How often an event is sent again.", reg::kMessageRetries, 0xFFFFFFFF);
    shows(table.integer("GevMCSP", "Port from which events are sent."), reg::kMessageSourcePort,
          wire::kPortMask, false)
        .guru();
}

void NetworkSection::declareStreamChannel()
{
    FeatureTable& table = context_.table;
    table.integer("GevStreamChannelCount", "Number of stream channels.")
        .expert()
        .readOnly()
        .value(std::int64_t{1});
    packetSize_ = &table.integer("GevSCPSPacketSize", "Size of a stream packet.")
                       .describe("Size of a stream packet with its headers.")
                       .unit("B")
                       .expert()
                       .streamable()
                       .range(std::int64_t{kSmallestPacket}, std::int64_t{kLargestPacket},
                              std::int64_t{kPacketStep})
                       .value(std::int64_t{1500})
                       .changesByItself() // Hosts also write the register.
                       .lockedIf(context_.whileStreaming());
    packetDelay_ = &table.integer("GevSCPD", "Pause between stream packets.")
                        .unit("ns")
                        .expert()
                        .streamable()
                        .range(std::int64_t{0}, std::int64_t{kLongestDelay});
    doNotFragment_ =
        &table.boolean("GevSCPSDoNotFragment", "Packets that are too large for a link are dropped.")
             .expert()
             .streamable()
             .changesByItself()
             .value(std::int64_t{1})
             .lockedIf(context_.whileStreaming());
    table.command("GevSCPSFireTestPacket", "Sends one packet of the present size.")
        .guru()
        .onExecute([this](std::size_t) {
            return registers_.writeNumber(kPacketSize,
                                          packetSizeRegister() | wire::kFireTestPacket);
        });
}

void NetworkSection::declareStreamSwitches()
{
    FeatureTable& table = context_.table;
    shows(address("GevSCDA", "Address to which the stream is sent."), kDestination, kAllBits, true);
    shows(table.integer("GevSCPHostPort", "Port to which the stream is sent; 0: closed."), kPort,
          wire::kPortMask, true)
        .expert()
        .range(std::int64_t{0}, std::int64_t{0xFFFF});
    shows(table.integer("GevSCSP", "Port from which the stream is sent."), kSourcePort,
          wire::kPortMask, false)
        .expert();
    table.enumeration("GevGVSPExtendedIDMode", "Width of the frame numbers on the wire.")
        .expert()
        .entry("Off", 0, "16 bits.")
        .entry("On", 1, "64 bits.")
        .lockedIf([this] { return registers_.value(kPort) != 0; })
        .onRead([this](std::size_t) {
            return FeatureValue(std::int64_t{registers_.value(reg::kStreamConfiguration) != 0});
        })
        .onWrite([this](std::size_t, const FeatureValue& value) {
            return registers_.writeNumber(reg::kStreamConfiguration,
                                          std::get<std::int64_t>(value) != 0 ? wire::kExtendedIds
                                                                             : 0);
        });
    shows(table.boolean("GevSCCFGUnconditionalStreaming", "The stream outlives its session."),
          kChannelSwitches, wire::kChannelUnconditional, true)
        .guru();
    shows(table.boolean("GevSCCFGPacketResendDestination",
                        "Packets are sent again to the host that asked for them."),
          kChannelSwitches, wire::kChannelResendToAsker, true)
        .guru();
}

void NetworkSection::addIdentity()
{
    const CameraConfig& config = context_.config;
    const std::uint64_t mac = macNumber(config.macAddress);
    registers_.number(reg::kVersion, Access::ReadOnly, 0x00020000);
    registers_.number(reg::kDeviceMode, Access::ReadOnly, 0x80000001); // big endian, UTF-8
    registers_.number(reg::kMacHigh, Access::ReadOnly, static_cast<std::uint32_t>(mac >> 32));
    registers_.number(reg::kMacLow, Access::ReadOnly, static_cast<std::uint32_t>(mac));
    const auto text = [this](std::uint32_t address, std::uint32_t size, const std::string& value) {
        registers_.text(address, size, [value] { return value; });
    };
    text(reg::kVendor, 32, config.vendor);
    text(reg::kModel, 32, config.model);
    text(reg::kDeviceVersion, 32, config.version);
    text(reg::kManufacturerInfo, 48, "Simulated: pictures are calculated.");
    text(reg::kSerialNumber, 16, config.serialNumber);
    registers_.text(
        reg::kUserName, 16, [this] { return context_.table.find("DeviceUserID")->text(); },
        [this](const std::string& name) {
            context_.table.find("DeviceUserID")->set(name);
            context_.post([](CameraObserver& observer) { observer.identityChanged(); });
            return gentl::err::kSuccess;
        });
    registers_.text(reg::kFirstUrl, reg::kUrlSize, [this] { return firstUrl_; });
    registers_.text(reg::kSecondUrl, reg::kUrlSize, [this] { return secondUrl_; });
}

void NetworkSection::addAddresses()
{
    registers_.number(reg::kSupportedIpConfiguration, Access::ReadOnly,
                      wire::kIpPersistent | wire::kIpDhcp | wire::kIpLinkLocal);
    registers_.number(
        reg::kCurrentIpConfiguration,
        [this] {
            return wire::kIpLinkLocal | (usesDhcp_->integer() != 0 ? wire::kIpDhcp : 0) |
                   (usesPersistentIp_->integer() != 0 ? wire::kIpPersistent : 0);
        },
        [this](std::uint32_t value) {
            usesDhcp_->set(std::int64_t{(value & wire::kIpDhcp) != 0});
            usesPersistentIp_->set(std::int64_t{(value & wire::kIpPersistent) != 0});
            return gentl::err::kSuccess;
        });
    registers_.number(reg::kCurrentAddress, [this] { return ip_.address; });
    registers_.number(reg::kCurrentMask, [this] { return ip_.mask; });
    registers_.number(reg::kCurrentGateway, [this] { return ip_.gateway; });
    registers_.number(reg::kInterfaceCount, Access::ReadOnly, 1);
    addKept(registers_, reg::kPersistentAddress, persistentAddress_);
    addKept(registers_, reg::kPersistentMask, persistentMask_);
    addKept(registers_, reg::kPersistentGateway, persistentGateway_);
    registers_.number(reg::kLinkSpeed, Access::ReadOnly,
                      linkMegabits(context_.config.linkBytesPerSecond));
    registers_.number(reg::kActiveLinkCount, Access::ReadOnly, 1);
    registers_.number(reg::kLinkCapability, Access::ReadOnly, 1);
    registers_.number(reg::kLinkConfiguration, Access::ReadOnly, 1);
}

void NetworkSection::addControl()
{
    namespace can = wire::capability;
    registers_.number(reg::kControlCapability, Access::ReadOnly,
                      can::kConcatenation | can::kWriteMemory | can::kPacketResend | can::kEvent |
                          can::kEventData | can::kPendingAck | can::kStatusCodes20 |
                          can::kSwitchover | can::kStatusCodes11 | can::kDiscoveryDelayWritable |
                          can::kDiscoveryDelay | can::kManifest | can::kPrimaryRegisters |
                          can::kLinkSpeed | can::kAction | can::kUnconditionalAction |
                          can::kHeartbeatSwitch | can::kSerialNumber | can::kUserName);
    registers_.number(
        reg::kHeartbeatTimeout, [this] { return number(heartbeat_); },
        [this](std::uint32_t value) {
            heartbeat_->set(std::int64_t{std::clamp(value, kShortestHeartbeat, kLongestHeartbeat)});
            return gentl::err::kSuccess;
        });
    registers_.number(reg::kTickFrequencyHigh, Access::ReadOnly, 0);
    registers_.number(reg::kTickFrequencyLow, Access::ReadOnly, kTicksPerSecond);
    registers_.checked(reg::kTimestampControl, Access::WriteOnly,
                       [this](std::uint32_t value) { return latchTimestamp(value); });
    registers_.number(reg::kTimestampHigh, Access::ReadOnly);
    registers_.number(reg::kTimestampLow, Access::ReadOnly);
    registers_.checked(reg::kDiscoveryDelay, Access::ReadWrite, [](std::uint32_t value) {
        return value <= kLongestDiscoveryDelay ? gentl::err::kSuccess : gentl::err::kInvalidValue;
    });
    registers_.checked(reg::kControlConfiguration, Access::ReadWrite, [](std::uint32_t value) {
        return (value & ~kControlSwitchBits) == 0 ? gentl::err::kSuccess
                                                  : gentl::err::kInvalidValue;
    });
    registers_.number(reg::kPendingTimeout, Access::ReadOnly, 50);
    registers_.number(reg::kSwitchoverKey, Access::WriteOnly);
    registers_.number(reg::kControlPrivilege, Access::ReadWrite);
    registers_.number(reg::kPrimaryPort, Access::ReadOnly);
    registers_.number(reg::kPrimaryAddress, Access::ReadOnly);
}

void NetworkSection::addChannels()
{
    registers_.number(reg::kMessageChannelCount, Access::ReadOnly, 1);
    registers_.number(reg::kStreamChannelCount, Access::ReadOnly, 1);
    registers_.number(reg::kStreamCapability, Access::ReadOnly,
                      wire::kSourcePortReadable | wire::kStandardIdsSupported);
    registers_.number(reg::kMessageCapability, Access::ReadOnly, 0x80000000); // source port
    registers_.checked(reg::kStreamConfiguration, Access::ReadWrite, [this](std::uint32_t value) {
        const bool closed = registers_.value(kPort) == 0;
        return (value & ~wire::kExtendedIds) != 0 ? gentl::err::kInvalidValue
               : closed                           ? gentl::err::kSuccess
                                                  : gentl::err::kAccessDenied;
    });
    const auto port = [this](std::uint32_t address) {
        registers_.checked(address, Access::ReadWrite, [](std::uint32_t value) {
            return value <= wire::kPortMask ? gentl::err::kSuccess : gentl::err::kInvalidValue;
        });
    };
    port(reg::kMessagePort);
    registers_.number(reg::kMessageDestination, Access::ReadWrite);
    registers_.number(reg::kMessageTimeout, Access::ReadWrite);
    registers_.number(reg::kMessageRetries, Access::ReadWrite);
    registers_.number(reg::kMessageSourcePort, Access::ReadOnly);
    port(kPort);
    registers_.number(
        kPacketSize, [this] { return packetSizeRegister(); },
        [this](std::uint32_t value) { return writePacketSize(value); });
    registers_.number(
        kPacketDelay, [this] { return number(packetDelay_); },
        [this](std::uint32_t value) {
            packetDelay_->set(std::int64_t{std::min(value, kLongestDelay)});
            return gentl::err::kSuccess;
        });
    registers_.number(kDestination, Access::ReadWrite);
    registers_.number(kSourcePort, Access::ReadOnly);
    registers_.number(kChannelCapability, Access::ReadOnly,
                      kChannelSwitchBits | wire::kChannelExtendedChunk);
    registers_.checked(kChannelSwitches, Access::ReadWrite, [](std::uint32_t value) {
        return (value & ~(kChannelSwitchBits | wire::kChannelExtendedChunk)) == 0
                   ? gentl::err::kSuccess
                   : gentl::err::kInvalidValue;
    });
    registers_.setValue(kChannelSwitches, wire::kChannelExtendedChunk);
}

void NetworkSection::addManifest()
{
    // Version 1.0.0 of a description after schema 1.1, six bits a number and four for the schema's.
    constexpr std::uint32_t kDescription = 1U << 26U | 1U << 10U | 1U << 6U;
    std::uint32_t at = reg::kManifest;
    registers_.number(at, Access::ReadOnly, 2);
    for (const std::uint32_t word : {kDescription, reg::kFirstUrl, kDescription, reg::kSecondUrl}) {
        registers_.number(at += 4, Access::ReadOnly, word);
    }
    while (at + 4 < reg::kManifest + reg::kUrlSize) {
        registers_.number(at += 4, Access::ReadOnly);
    }
}

/// The features of ActionControl, which are declared later, hold the values.
void NetworkSection::addActions()
{
    constexpr std::uint32_t kSignals = 2;
    const auto kept = [this](std::uint32_t address, const char* name, std::size_t index) {
        registers_.number(
            address,
            [this, name, index] {
                return static_cast<std::uint32_t>(context_.table.find(name)->integer(index));
            },
            [this, name, index](std::uint32_t value) {
                context_.table.find(name)->set(std::int64_t{value}, index);
                return gentl::err::kSuccess;
            });
    };
    registers_.number(reg::kActionSignalCount, Access::ReadOnly, kSignals);
    registers_.checked(reg::kActionDeviceKey, Access::WriteOnly, [this](std::uint32_t value) {
        context_.table.find("ActionDeviceKey")->set(std::int64_t{value});
        return gentl::err::kSuccess;
    });
    for (std::uint32_t i = 0; i < kSignals; ++i) {
        const std::uint32_t at = reg::kActionGroups + i * reg::kActionGroupStep;
        kept(at, "ActionGroupKey", i);
        kept(at + 4, "ActionGroupMask", i);
    }
}

std::uint32_t NetworkSection::packetSizeRegister() const
{
    return number(packetSize_) | (doNotFragment_->integer() != 0 ? wire::kDoNotFragment : 0);
}

std::int32_t NetworkSection::writePacketSize(std::uint32_t value)
{
    if (packetSize_->isLocked()) {
        return gentl::err::kAccessDenied;
    }
    const std::uint32_t size =
        std::clamp(value & wire::kPacketSizeMask, kSmallestPacket, kLargestPacket);
    packetSize_->set(std::int64_t{size / kPacketStep} * kPacketStep);
    doNotFragment_->set(std::int64_t{(value & wire::kDoNotFragment) != 0});
    return gentl::err::kSuccess;
}

std::int32_t NetworkSection::latchTimestamp(std::uint32_t value)
{
    if (value != kLatch) { // the clock is never set back: frames on their way carry its times
        return gentl::err::kInvalidValue;
    }
    const std::uint64_t now = context_.stamp(context_.now());
    registers_.setValue(reg::kTimestampHigh, static_cast<std::uint32_t>(now >> 32));
    registers_.setValue(reg::kTimestampLow, static_cast<std::uint32_t>(now));
    return gentl::err::kSuccess;
}

void NetworkSection::setUrls(const std::string& zipped, const std::string& plain)
{
    firstUrl_ = zipped.empty() ? plain : zipped;
    secondUrl_ = plain;
}

void NetworkSection::forceIp(const IpConfig& ip)
{
    ip_ = ip;
    context_.post([](CameraObserver& observer) { observer.identityChanged(); });
}

void NetworkSection::restart()
{
    for (const std::uint32_t address :
         {reg::kControlConfiguration, reg::kStreamConfiguration, reg::kMessagePort,
          reg::kMessageDestination, reg::kMessageTimeout, reg::kMessageRetries, kPort,
          kDestination}) {
        registers_.setValue(address, 0);
    }
    registers_.setValue(kChannelSwitches, wire::kChannelExtendedChunk);
    if (usesPersistentIp_->integer() != 0) {
        const IpConfig kept = {number(persistentAddress_), number(persistentMask_),
                               number(persistentGateway_)};
        // Settings that no host can have are not taken: the camera would be out of reach.
        if (base::isHostSetting(kept.address, kept.mask, kept.gateway)) {
            forceIp(kept);
        }
    }
}

} // namespace simulator
