#include "simulator/network_channels.h"

#include "gentl_abi/gentl_abi.h"
#include "gige/wire/bootstrap.h"

#include <algorithm>

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

/// Channel 0, the only one.
constexpr std::uint32_t kPort = wire::streamRegister(0, wire::stream::kPort);
constexpr std::uint32_t kPacketSize = wire::streamRegister(0, wire::stream::kPacketSize);
constexpr std::uint32_t kPacketDelay = wire::streamRegister(0, wire::stream::kPacketDelay);
constexpr std::uint32_t kDestination = wire::streamRegister(0, wire::stream::kDestination);
constexpr std::uint32_t kSourcePort = wire::streamRegister(0, wire::stream::kSourcePort);
constexpr std::uint32_t kChannelCapability = wire::streamRegister(0, wire::stream::kCapability);
constexpr std::uint32_t kChannelSwitches = wire::streamRegister(0, wire::stream::kConfiguration);

/// Switches that say in which form the payload goes out: for closed channels only.
constexpr std::uint32_t kPayloadFormBits = wire::kChannelAllIn | wire::kChannelMultiPart;
constexpr std::uint32_t kChannelSwitchBits = wire::kChannelUnconditional |
                                             wire::kChannelResendToAsker |
                                             wire::kChannelExtendedChunk | kPayloadFormBits;
constexpr std::uint32_t kAllBits = 0xFFFFFFFF;

} // namespace

NetworkChannels::NetworkChannels(RegisterFeatures& features)
    : features_(features), context_(features.context), registers_(features.registers)
{
    declareMessages();
    declareStream();
    declareStreamSwitches();
    addMessageRegisters();
    addStreamRegisters();
}

void NetworkChannels::declareMessages()
{
    FeatureTable& table = context_.table;
    const auto channel = [&](const char* name, const char* toolTip, std::uint32_t reg,
                             std::int64_t most) {
        features_.shows(table.integer(name, toolTip), reg, kAllBits, true)
            .guru()
            .range(std::int64_t{0}, most);
    };
    table.integer("GevMessageChannelCount", "Number of message channels.")
        .guru()
        .readOnly()
        .value(std::int64_t{1});
    channel("GevMCPHostPort", "Port to which events are sent; 0: none.", reg::kMessagePort, 0xFFFF);
    features_
        .shows(features_.address("GevMCDA", "Address to which events are sent."),
               reg::kMessageDestination, kAllBits, true)
        .guru();
    channel("GevMCTT", "Milliseconds until an event is sent again; 0: never.", reg::kMessageTimeout,
            0xFFFFFFFF);
    channel("GevMCRC", "How often an event is sent again.", reg::kMessageRetries, 0xFFFFFFFF);
    features_
        .shows(table.integer("GevMCSP", "Port from which events are sent."),
               reg::kMessageSourcePort, wire::kPortMask, false)
        .guru();
}

void NetworkChannels::declareStream()
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

void NetworkChannels::declareStreamSwitches()
{
    FeatureTable& table = context_.table;
    features_.shows(features_.address("GevSCDA", "Address to which the stream is sent."),
                    kDestination, kAllBits, true);
    features_
        .shows(table.integer("GevSCPHostPort", "Port to which the stream is sent; 0: closed."),
               kPort, wire::kPortMask, true)
        .expert()
        .range(std::int64_t{0}, std::int64_t{0xFFFF});
    features_
        .shows(table.integer("GevSCSP", "Port from which the stream is sent."), kSourcePort,
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
    declareSwitch("GevSCCFGUnconditionalStreaming", "The stream outlives its session.",
                  wire::kChannelUnconditional);
    declareSwitch("GevSCCFGPacketResendDestination",
                  "Packets are sent again to the host that asked for them.",
                  wire::kChannelResendToAsker);
    declareSwitch("GevSCCFGAllInTransmission", "Frames that fit go into a single packet.",
                  wire::kChannelAllIn);
    declareSwitch("GevSCCFGMultiPart",
                  "With GevGVSPExtendedIDMode, image and chunks are parts of a payload.",
                  wire::kChannelMultiPart);
}

void NetworkChannels::declareSwitch(const char* name, const char* toolTip, std::uint32_t bit)
{
    features_.shows(context_.table.boolean(name, toolTip), kChannelSwitches, bit, true)
        .guru()
        .lockedIf(
            [this, bit] { return (bit & kPayloadFormBits) != 0 && registers_.value(kPort) != 0; });
}

void NetworkChannels::addPort(std::uint32_t address)
{
    registers_.checked(address, Access::ReadWrite, [](std::uint32_t value) {
        return value <= wire::kPortMask ? gentl::err::kSuccess : gentl::err::kInvalidValue;
    });
}

void NetworkChannels::addMessageRegisters()
{
    registers_.number(reg::kMessageChannelCount, Access::ReadOnly, 1);
    registers_.number(reg::kMessageCapability, Access::ReadOnly, 0x80000000); // source port
    addPort(reg::kMessagePort);
    registers_.number(reg::kMessageDestination, Access::ReadWrite);
    registers_.number(reg::kMessageTimeout, Access::ReadWrite);
    registers_.number(reg::kMessageRetries, Access::ReadWrite);
    registers_.number(reg::kMessageSourcePort, Access::ReadOnly);
}

void NetworkChannels::addStreamRegisters()
{
    registers_.number(reg::kStreamChannelCount, Access::ReadOnly, 1);
    registers_.number(reg::kStreamCapability, Access::ReadOnly,
                      wire::kSourcePortReadable | wire::kStandardIdsSupported);
    registers_.checked(reg::kStreamConfiguration, Access::ReadWrite, [this](std::uint32_t value) {
        const bool closed = registers_.value(kPort) == 0;
        return (value & ~wire::kExtendedIds) != 0 ? gentl::err::kInvalidValue
               : closed                           ? gentl::err::kSuccess
                                                  : gentl::err::kAccessDenied;
    });
    addPort(kPort);
    registers_.number(
        kPacketSize, [this] { return packetSizeRegister(); },
        [this](std::uint32_t value) { return writePacketSize(value); });
    registers_.number(
        kPacketDelay, [this] { return RegisterFeatures::number(packetDelay_); },
        [this](std::uint32_t value) {
            packetDelay_->set(std::int64_t{std::min(value, kLongestDelay)});
            return gentl::err::kSuccess;
        });
    registers_.number(kDestination, Access::ReadWrite);
    registers_.number(kSourcePort, Access::ReadOnly);
    registers_.number(kChannelCapability, Access::ReadOnly, kChannelSwitchBits);
    registers_.checked(kChannelSwitches, Access::ReadWrite, [this](std::uint32_t value) {
        const std::uint32_t changed = value ^ registers_.value(kChannelSwitches);
        const bool tooLate = (changed & kPayloadFormBits) != 0 && registers_.value(kPort) != 0;
        return (value & ~kChannelSwitchBits) != 0 ? gentl::err::kInvalidValue
               : tooLate                          ? gentl::err::kAccessDenied
                                                  : gentl::err::kSuccess;
    });
    registers_.setValue(kChannelSwitches, wire::kChannelExtendedChunk);
}

void NetworkChannels::restart()
{
    for (const std::uint32_t address :
         {reg::kStreamConfiguration, reg::kMessagePort, reg::kMessageDestination,
          reg::kMessageTimeout, reg::kMessageRetries, kPort, kDestination}) {
        registers_.setValue(address, 0);
    }
    registers_.setValue(kChannelSwitches, wire::kChannelExtendedChunk);
}

std::uint32_t NetworkChannels::packetSizeRegister() const
{
    return RegisterFeatures::number(packetSize_) |
           (doNotFragment_->integer() != 0 ? wire::kDoNotFragment : 0);
}

std::int32_t NetworkChannels::writePacketSize(std::uint32_t value)
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

} // namespace simulator
