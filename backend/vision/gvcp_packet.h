// Packets of the GigE Vision control protocol: what we send and read ourselves.
#pragma once

#include "zel_err.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace vision::gvcp
{

constexpr std::uint16_t kPort = 3956;

/// Bootstrap registers.
constexpr std::uint32_t kControlChannelPrivilege = 0x0A00;
constexpr std::uint32_t kMessageChannelPort = 0x0B00;
constexpr std::uint32_t kMessageChannelDestination = 0x0B10;
constexpr std::uint32_t kMessageChannelTimeout = 0x0B14; ///< Milliseconds; 0: no retries.
constexpr std::uint32_t kMessageChannelRetries = 0x0B18;

enum class Command : std::uint16_t {
    Discovery = 0x0002,
    DiscoveryAck = 0x0003,
    ForceIp = 0x0004,
    ForceIpAck = 0x0005,
    ReadRegister = 0x0080,
    ReadRegisterAck = 0x0081,
    Event = 0x00C0,
    EventAck = 0x00C1,
    EventData = 0x00C2,
    EventDataAck = 0x00C3,
};

/// Answers to commands; others are refusals.
constexpr std::uint16_t kSuccess = 0x0000;
constexpr std::uint16_t kInvalidParameter = 0x8002;

constexpr std::uint8_t kFlagAckRequired = 0x01;
/// Discovery: the answer may be a broadcast, which reaches us from a foreign subnet.
constexpr std::uint8_t kFlagBroadcastAck = 0x10;
/// Events: block ids have 64 bits.
constexpr std::uint8_t kFlagExtendedId = 0x10;

using MacAddress = std::array<std::uint8_t, 6>;

/// What a device tells of itself in the answer to a discovery. Numbers are host integers.
struct DiscoveryRecord {
    MacAddress mac{};
    std::uint32_t address = 0;
    std::uint32_t mask = 0;
    std::uint32_t gateway = 0;
    std::string vendor;
    std::string model;
    std::string version;
    std::string serialNumber;
    std::string userDefinedName;
};

/// A received packet: header fields and payload (borrowed from the bytes it was parsed from).
struct Packet {
    Command command{};
    std::uint16_t status = 0; ///< Acknowledges: 0 is success. Commands: key and flags.
    std::uint16_t id = 0;
    const std::uint8_t* payload = nullptr;
    std::size_t size = 0;
};

using Bytes = std::vector<std::uint8_t>;

Bytes makeCommand(Command command, std::uint8_t flags, std::uint16_t id, const Bytes& payload = {});
/// Acknowledge of a command that was received.
Bytes makeAck(Command command, std::uint16_t id, std::uint16_t status = kSuccess);
Bytes makeForceIp(std::uint16_t id, const MacAddress& mac, std::uint32_t address,
                  std::uint32_t mask, std::uint32_t gateway);
Bytes makeReadRegister(std::uint16_t id, std::uint32_t address);

/// False when the bytes are no whole packet.
bool parse(const std::uint8_t* data, std::size_t size, Packet* packet);
/// False when the payload is too short.
bool parseDiscovery(const Packet& packet, DiscoveryRecord* record);

/// Whether the packet has the key of commands; its flags then.
bool isCommand(const Packet& packet);
std::uint8_t flagsOf(const Packet& packet);
/// What a status of an acknowledge says, as a GenTL code; 0 for success.
ZelCamErr codeOf(std::uint16_t status);

std::uint16_t load16(const std::uint8_t* bytes);
std::uint32_t load32(const std::uint8_t* bytes);

/// "02:5a:43:00:00:01"
std::string macText(const MacAddress& mac);

} // namespace vision::gvcp
