// Registers that every GigE Vision device has: addresses and bits.
#pragma once

#include <cstdint>

namespace gige::wire
{

/// Addresses. A number has four bytes, big endian, whatever the device's own byte order.
namespace reg
{
constexpr std::uint32_t kVersion = 0x0000; ///< Major in the upper half.
constexpr std::uint32_t kDeviceMode = 0x0004;
constexpr std::uint32_t kMacHigh = 0x0008; ///< Low 16 bits.
constexpr std::uint32_t kMacLow = 0x000C;
constexpr std::uint32_t kSupportedIpConfiguration = 0x0010;
constexpr std::uint32_t kCurrentIpConfiguration = 0x0014;
constexpr std::uint32_t kCurrentAddress = 0x0024;
constexpr std::uint32_t kCurrentMask = 0x0034;
constexpr std::uint32_t kCurrentGateway = 0x0044;
constexpr std::uint32_t kVendor = 0x0048;           ///< 32 bytes.
constexpr std::uint32_t kModel = 0x0068;            ///< 32 bytes.
constexpr std::uint32_t kDeviceVersion = 0x0088;    ///< 32 bytes.
constexpr std::uint32_t kManufacturerInfo = 0x00A8; ///< 48 bytes.
constexpr std::uint32_t kSerialNumber = 0x00D8;     ///< 16 bytes.
constexpr std::uint32_t kUserName = 0x00E8;         ///< 16 bytes.
constexpr std::uint32_t kFirstUrl = 0x0200;
constexpr std::uint32_t kSecondUrl = 0x0400;
constexpr std::uint32_t kUrlSize = 512;
constexpr std::uint32_t kInterfaceCount = 0x0600;
constexpr std::uint32_t kPersistentAddress = 0x064C;
constexpr std::uint32_t kPersistentMask = 0x065C;
constexpr std::uint32_t kPersistentGateway = 0x066C;
constexpr std::uint32_t kLinkSpeed = 0x0670; ///< Mbit/s.
constexpr std::uint32_t kMessageChannelCount = 0x0900;
constexpr std::uint32_t kStreamChannelCount = 0x0904;
constexpr std::uint32_t kActionSignalCount = 0x0908;
constexpr std::uint32_t kActionDeviceKey = 0x090C;
constexpr std::uint32_t kActiveLinkCount = 0x0910;
constexpr std::uint32_t kStreamCapability = 0x092C;
constexpr std::uint32_t kMessageCapability = 0x0930;
constexpr std::uint32_t kControlCapability = 0x0934;
constexpr std::uint32_t kHeartbeatTimeout = 0x0938; ///< Milliseconds.
constexpr std::uint32_t kTickFrequencyHigh = 0x093C;
constexpr std::uint32_t kTickFrequencyLow = 0x0940;
constexpr std::uint32_t kTimestampControl = 0x0944; ///< Write 2: latch, 1: reset.
constexpr std::uint32_t kTimestampHigh = 0x0948;
constexpr std::uint32_t kTimestampLow = 0x094C;
constexpr std::uint32_t kDiscoveryDelay = 0x0950; ///< Milliseconds.
constexpr std::uint32_t kControlConfiguration = 0x0954;
constexpr std::uint32_t kPendingTimeout = 0x0958; ///< Milliseconds.
constexpr std::uint32_t kSwitchoverKey = 0x095C;
constexpr std::uint32_t kStreamConfiguration = 0x0960;
constexpr std::uint32_t kLinkCapability = 0x0964;
constexpr std::uint32_t kLinkConfiguration = 0x0968;
constexpr std::uint32_t kPtpStatus = 0x096C;
constexpr std::uint32_t kScheduledActionQueue = 0x0970;
constexpr std::uint32_t kControlPrivilege = 0x0A00;
constexpr std::uint32_t kPrimaryPort = 0x0A04;
constexpr std::uint32_t kPrimaryAddress = 0x0A14;
constexpr std::uint32_t kMessagePort = 0x0B00;
constexpr std::uint32_t kMessageDestination = 0x0B10;
constexpr std::uint32_t kMessageTimeout = 0x0B14; ///< Milliseconds; 0: no answers wanted.
constexpr std::uint32_t kMessageRetries = 0x0B18;
constexpr std::uint32_t kMessageSourcePort = 0x0B1C;
constexpr std::uint32_t kManifest = 0x9000; ///< 512 bytes.
constexpr std::uint32_t kActionGroups = 0x9800;
constexpr std::uint32_t kActionGroupStep = 0x10; ///< Key at +0, mask at +4.
constexpr std::uint32_t kManufacturer = 0xA000;  ///< The maker's own space begins.

constexpr std::uint32_t kStreamChannels = 0x0D00;
constexpr std::uint32_t kStreamChannelStep = 0x40;
} // namespace reg

/// Offsets in the registers of one stream channel.
namespace stream
{
constexpr std::uint32_t kPort = 0x00;
constexpr std::uint32_t kPacketSize = 0x04;
constexpr std::uint32_t kPacketDelay = 0x08; ///< Ticks of the device's clock.
constexpr std::uint32_t kDestination = 0x18;
constexpr std::uint32_t kSourcePort = 0x1C;
constexpr std::uint32_t kCapability = 0x20;
constexpr std::uint32_t kConfiguration = 0x24;
} // namespace stream

/// The register `offset` (stream::) of a stream channel, `channel` below 512.
constexpr std::uint32_t streamRegister(std::uint32_t channel, std::uint32_t offset)
{
    return reg::kStreamChannels + (channel & 0x1FFU) * reg::kStreamChannelStep + offset;
}

/// Bits of the packet size register; the low half is the size.
constexpr std::uint32_t kFireTestPacket = 0x80000000U;
constexpr std::uint32_t kDoNotFragment = 0x40000000U;
constexpr std::uint32_t kBigEndianPixels = 0x20000000U;
constexpr std::uint32_t kPacketSizeMask = 0xFFFFU;
/// Ports stand in the low half of their registers.
constexpr std::uint32_t kPortMask = 0xFFFFU;

/// 224.0.0.0 to 239.255.255.255: a group of receivers.
constexpr bool isMulticast(std::uint32_t address) { return address >> 28U == 0xE; }

/// Bits of the control channel privilege.
constexpr std::uint32_t kPrivilegeExclusive = 1;
constexpr std::uint32_t kPrivilegeControl = 2;
constexpr std::uint32_t kPrivilegeSwitchover = 4;

/// Bits of the IP configuration.
constexpr std::uint32_t kIpPersistent = 1;
constexpr std::uint32_t kIpDhcp = 2;
constexpr std::uint32_t kIpLinkLocal = 4;

/// Bits of the control capability.
namespace capability
{
constexpr std::uint32_t kConcatenation = 0x1;
constexpr std::uint32_t kWriteMemory = 0x2;
constexpr std::uint32_t kPacketResend = 0x4;
constexpr std::uint32_t kEvent = 0x8;
constexpr std::uint32_t kEventData = 0x10;
constexpr std::uint32_t kPendingAck = 0x20;
constexpr std::uint32_t kAction = 0x40;
constexpr std::uint32_t kScheduledAction = 0x20000;
constexpr std::uint32_t kStatusCodes20 = 0x40000;
constexpr std::uint32_t kPtp = 0x80000;
constexpr std::uint32_t kUnconditionalAction = 0x100000;
constexpr std::uint32_t kSwitchover = 0x200000;
constexpr std::uint32_t kStatusCodes11 = 0x400000;
constexpr std::uint32_t kDiscoveryDelayWritable = 0x800000;
constexpr std::uint32_t kDiscoveryDelay = 0x1000000;
constexpr std::uint32_t kTestData = 0x2000000;
constexpr std::uint32_t kManifest = 0x4000000;
constexpr std::uint32_t kPrimaryRegisters = 0x8000000;
constexpr std::uint32_t kLinkSpeed = 0x10000000;
constexpr std::uint32_t kHeartbeatSwitch = 0x20000000;
constexpr std::uint32_t kSerialNumber = 0x40000000;
constexpr std::uint32_t kUserName = 0x80000000;
} // namespace capability

/// Bits of the control configuration.
namespace configuration
{
constexpr std::uint32_t kHeartbeatOff = 0x1;
constexpr std::uint32_t kPendingAck = 0x2;
constexpr std::uint32_t kStatusCodes11 = 0x4;
constexpr std::uint32_t kUnconditionalAction = 0x8;
constexpr std::uint32_t kStatusCodes20 = 0x40000;
constexpr std::uint32_t kPtp = 0x80000;
} // namespace configuration

/// Bit of the stream configuration.
constexpr std::uint32_t kExtendedIds = 0x40000000U;

/// Bits of the stream channels' capability register.
constexpr std::uint32_t kSourcePortReadable = 0x80000000U;
constexpr std::uint32_t kStandardIdsSupported = 0x40000000U;

/// Bits of one stream channel's capability and configuration.
constexpr std::uint32_t kChannelExtendedChunk = 1;
constexpr std::uint32_t kChannelUnconditional = 2;
constexpr std::uint32_t kChannelAllIn = 4;
constexpr std::uint32_t kChannelResendToAsker = 8;
constexpr std::uint32_t kChannelMultiPart = 0x40;

} // namespace gige::wire
