#include "vision/gvcp_packet.h"

#include "base/text.h"

#include <algorithm>
#include <cstdio>

namespace vision::gvcp
{

namespace
{

constexpr std::size_t kHeaderSize = 8;
constexpr std::uint8_t kCommandKey = 0x42;

// Offsets of the discovery answer; they are the addresses of the bootstrap registers.
constexpr std::size_t kMacOffset = 0x0A;
constexpr std::size_t kAddressOffset = 0x24;
constexpr std::size_t kMaskOffset = 0x34;
constexpr std::size_t kGatewayOffset = 0x44;
constexpr std::size_t kVendorOffset = 0x48;
constexpr std::size_t kModelOffset = 0x68;
constexpr std::size_t kVersionOffset = 0x88;
constexpr std::size_t kSerialOffset = 0xD8;
constexpr std::size_t kUserNameOffset = 0xE8;
constexpr std::size_t kDiscoverySize = 0xF8;

void append16(Bytes* bytes, std::uint16_t value)
{
    bytes->push_back(static_cast<std::uint8_t>(value >> 8U));
    bytes->push_back(static_cast<std::uint8_t>(value & 0xFFU));
}

void store32(Bytes* bytes, std::size_t offset, std::uint32_t value)
{
    for (std::size_t i = 0; i < 4; ++i) {
        (*bytes)[offset + i] = static_cast<std::uint8_t>(value >> (24U - 8U * i));
    }
}

std::string text(const std::uint8_t* bytes, std::size_t capacity)
{
    const std::uint8_t* end = std::find(bytes, bytes + capacity, std::uint8_t{0});
    return base::toUtf8(std::string(bytes, end));
}

} // namespace

std::uint16_t load16(const std::uint8_t* bytes)
{
    return static_cast<std::uint16_t>(bytes[0] << 8U | bytes[1]);
}

std::uint32_t load32(const std::uint8_t* bytes)
{
    return static_cast<std::uint32_t>(load16(bytes)) << 16U | load16(bytes + 2);
}

Bytes makeCommand(Command command, std::uint8_t flags, std::uint16_t id, const Bytes& payload)
{
    Bytes bytes{kCommandKey, flags};
    append16(&bytes, static_cast<std::uint16_t>(command));
    append16(&bytes, static_cast<std::uint16_t>(payload.size()));
    append16(&bytes, id);
    bytes.insert(bytes.end(), payload.begin(), payload.end());
    return bytes;
}

Bytes makeAck(Command command, std::uint16_t id, std::uint16_t status)
{
    Bytes bytes;
    append16(&bytes, status);
    append16(&bytes, static_cast<std::uint16_t>(command));
    append16(&bytes, 0);
    append16(&bytes, id);
    return bytes;
}

Bytes makeForceIp(std::uint16_t id, const MacAddress& mac, std::uint32_t address,
                  std::uint32_t mask, std::uint32_t gateway)
{
    Bytes payload(56, 0);
    std::copy(mac.begin(), mac.end(), payload.begin() + 2);
    store32(&payload, 20, address);
    store32(&payload, 36, mask);
    store32(&payload, 52, gateway);
    return makeCommand(Command::ForceIp, kFlagAckRequired | kFlagBroadcastAck, id, payload);
}

Bytes makeReadRegister(std::uint16_t id, std::uint32_t address)
{
    Bytes payload(4, 0);
    store32(&payload, 0, address);
    return makeCommand(Command::ReadRegister, kFlagAckRequired, id, payload);
}

bool parse(const std::uint8_t* data, std::size_t size, Packet* packet)
{
    if (size < kHeaderSize) {
        return false;
    }
    const std::size_t payload = load16(data + 4);
    if (payload > size - kHeaderSize) {
        return false;
    }
    packet->status = load16(data);
    packet->command = static_cast<Command>(load16(data + 2));
    packet->id = load16(data + 6);
    packet->payload = data + kHeaderSize;
    packet->size = payload;
    return true;
}

bool isCommand(const Packet& packet) { return packet.status >> 8U == kCommandKey; }

std::uint8_t flagsOf(const Packet& packet)
{
    return static_cast<std::uint8_t>(packet.status & 0xFFU);
}

ZelCamErr codeOf(std::uint16_t status)
{
    switch (status) {
    case kSuccess:
        return ZelErr::kOk;
    case 0x8001: // not implemented
        return ZelErr::kGenTLNotImplemented;
    case kInvalidParameter:
        return ZelErr::kGenTLInvalidParameter;
    case 0x8003: // invalid address
    case 0x8005: // bad alignment
        return ZelErr::kGenTLInvalidAddress;
    case 0x8004: // write protected
    case 0x8006: // access denied
        return ZelErr::kGenTLAccessDenied;
    case 0x8007:
        return ZelErr::kGenTLBusy;
    default:
        return ZelErr::kGenTLIo;
    }
}

bool parseDiscovery(const Packet& packet, DiscoveryRecord* record)
{
    if (packet.command != Command::DiscoveryAck || packet.status != 0 ||
        packet.size < kDiscoverySize) {
        return false;
    }
    const std::uint8_t* data = packet.payload;
    std::copy(data + kMacOffset, data + kMacOffset + 6, record->mac.begin());
    record->address = load32(data + kAddressOffset);
    record->mask = load32(data + kMaskOffset);
    record->gateway = load32(data + kGatewayOffset);
    record->vendor = text(data + kVendorOffset, 32);
    record->model = text(data + kModelOffset, 32);
    record->version = text(data + kVersionOffset, 32);
    record->serialNumber = text(data + kSerialOffset, 16);
    record->userDefinedName = text(data + kUserNameOffset, 16);
    return true;
}

std::string macText(const MacAddress& mac)
{
    char out[18];
    std::snprintf(out, sizeof(out), "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3],
                  mac[4], mac[5]);
    return out;
}

} // namespace vision::gvcp
