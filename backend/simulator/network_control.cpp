#include "simulator/network_control.h"

#include "base/endian.h"
#include "gentl_abi/gentl_abi.h"
#include "gige/wire/bootstrap.h"
#include "simulator/action_section.h"

#include <algorithm>

namespace simulator
{

namespace
{

namespace wire = ::gige::wire;
namespace reg = ::gige::wire::reg;
using Access = BootstrapRegisters::Access;

constexpr std::uint32_t kShortestHeartbeat = 500;
constexpr std::uint32_t kLongestHeartbeat = 600000;
constexpr std::uint32_t kTicksPerSecond = 1000000000;
constexpr std::uint32_t kLongestDiscoveryDelay = 1000;
constexpr std::uint32_t kLatch = 2;
constexpr std::uint32_t kControlSwitchBits =
    wire::configuration::kHeartbeatOff | wire::configuration::kPendingAck |
    wire::configuration::kStatusCodes11 | wire::configuration::kUnconditionalAction |
    wire::configuration::kStatusCodes20 | wire::configuration::kPtp;
constexpr std::uint32_t kAllBits = 0xFFFFFFFF;
constexpr std::uint32_t kPendingAfterMs = 50;

} // namespace

NetworkControl::NetworkControl(RegisterFeatures& features)
    : features_(features), context_(features.context), registers_(features.registers)
{
    declare();
    addRegisters();
    addSwitches();
    addActions();
}

void NetworkControl::declare()
{
    FeatureTable& table = context_.table;
    heartbeat_ =
        &table.integer("GevHeartbeatTimeout", "Silence after which the camera ends the session.")
             .unit("ms")
             .guru()
             .range(std::int64_t{kShortestHeartbeat}, std::int64_t{kLongestHeartbeat})
             .value(std::int64_t{3000});
    features_
        .shows(table.boolean("GevGVCPHeartbeatDisable", "Sessions do not end by silence."),
               reg::kControlConfiguration, wire::configuration::kHeartbeatOff, true)
        .guru();
    features_
        .shows(table.boolean("GevGVCPPendingAck", "Long work is announced before it is answered."),
               reg::kControlConfiguration, wire::configuration::kPendingAck, true)
        .guru();
    features_
        .shows(
            table.boolean("GevGVCPExtendedStatusCodes", "Status codes of later versions are sent."),
            reg::kControlConfiguration, wire::configuration::kStatusCodes11, true)
        .guru();
    table.integer("GevTimestampTickFrequency", "Ticks of the clock in a second.")
        .unit("Hz")
        .expert()
        .readOnly()
        .value(std::int64_t{kTicksPerSecond});
    features_
        .shows(table.enumeration("GevCCP", "Who controls the camera.")
                   .entry("OpenAccess", 0, "Nobody.")
                   .entry("ExclusiveAccess", 1, "One host; others may not even read.")
                   .entry("ControlAccess", 2, "One host; others may read.")
                   .entry("ExclusiveControlAccess", 3, "One host; others may not even read.")
                   .entry("ControlAccessSwitchoverActive", 6, "One host that can be followed."),
               reg::kControlPrivilege, 7, false)
        .guru();
    features_.shows(
        features_.address("GevPrimaryApplicationIPAddress", "Address of the controlling host."),
        reg::kPrimaryAddress, kAllBits, false);
    features_
        .shows(table.integer("GevPrimaryApplicationSocket", "Port of the controlling host."),
               reg::kPrimaryPort, wire::kPortMask, false)
        .expert();
}

void NetworkControl::addRegisters()
{
    namespace can = wire::capability;
    registers_.number(reg::kControlCapability, Access::ReadOnly,
                      can::kConcatenation | can::kWriteMemory | can::kPacketResend | can::kEvent |
                          can::kEventData | can::kPendingAck | can::kStatusCodes20 |
                          can::kSwitchover | can::kStatusCodes11 | can::kDiscoveryDelayWritable |
                          can::kDiscoveryDelay | can::kManifest | can::kPrimaryRegisters |
                          can::kLinkSpeed | can::kAction | can::kUnconditionalAction |
                          can::kScheduledAction | can::kPtp | can::kTestData |
                          can::kHeartbeatSwitch | can::kSerialNumber | can::kUserName);
    registers_.number(
        reg::kHeartbeatTimeout, [this] { return RegisterFeatures::number(heartbeat_); },
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
    registers_.number(reg::kPendingTimeout, Access::ReadOnly, kPendingAfterMs);
    registers_.number(reg::kSwitchoverKey, Access::WriteOnly);
    registers_.number(reg::kControlPrivilege, Access::ReadWrite);
    registers_.number(reg::kPrimaryPort, Access::ReadOnly);
    registers_.number(reg::kPrimaryAddress, Access::ReadOnly);
}

/// Whether the clock follows a master is PtpEnable's, which is declared later, in both directions.
void NetworkControl::addSwitches()
{
    registers_.number(
        reg::kControlConfiguration,
        [this] {
            const bool isOn = context_.table.find("PtpEnable")->integer() != 0;
            return switches_ | (isOn ? wire::configuration::kPtp : 0);
        },
        [this](std::uint32_t value) { return writeSwitches(value); });
}

std::int32_t NetworkControl::writeSwitches(std::uint32_t value)
{
    if ((value & ~kControlSwitchBits) != 0) {
        return gentl::err::kInvalidValue;
    }
    const std::int64_t wanted = (value & wire::configuration::kPtp) != 0 ? 1 : 0;
    if (context_.table.find("PtpEnable")->integer() != wanted) {
        unsigned char bytes[4];
        base::storeBig(bytes, static_cast<std::uint32_t>(wanted));
        const std::int32_t code =
            context_.table.write(context_.table.address("PtpEnable"), bytes, sizeof bytes);
        if (code != gentl::err::kSuccess) {
            return code;
        }
    }
    switches_ = value & ~wire::configuration::kPtp;
    return gentl::err::kSuccess;
}

void NetworkControl::restart() { switches_ = 0; }

/// The features of ActionControl, which are declared later, hold the values.
void NetworkControl::addActions()
{
    constexpr std::uint32_t kSignals = ActionSection::kActions;
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
    registers_.number(reg::kScheduledActionQueue, Access::ReadOnly, ActionSection::kMostScheduled);
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

std::int32_t NetworkControl::latchTimestamp(std::uint32_t value)
{
    if (value != kLatch) { // the clock is never set back: frames on their way carry its times
        return gentl::err::kInvalidValue;
    }
    const std::uint64_t now = context_.stamp(context_.now());
    registers_.setValue(reg::kTimestampHigh, static_cast<std::uint32_t>(now >> 32));
    registers_.setValue(reg::kTimestampLow, static_cast<std::uint32_t>(now));
    return gentl::err::kSuccess;
}

} // namespace simulator
