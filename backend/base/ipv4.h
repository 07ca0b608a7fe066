// IPv4 addresses as dotted text and as host integers.
#pragma once

#include <cstdint>
#include <string>

namespace base
{

/// Parses exactly four decimal numbers of 0 to 255 without leading zeros (some read those as
/// octal), separated by dots; no blanks, no shorter forms. False leaves `*address` alone.
bool parseIpv4(const char* text, std::uint32_t* address);

std::string formatIpv4(std::uint32_t address);

/// Whether a device can live with these settings: the mask has no holes and leaves room for hosts,
/// the address is a unicast address and neither the network's own nor its broadcast address, the
/// gateway is none (0) or another host of the same network.
bool isHostSetting(std::uint32_t address, std::uint32_t mask, std::uint32_t gateway);

/// 127.x.y.z: no address for the world outside.
inline bool isLoopback(std::uint32_t address) { return address >> 24U == 127; }

} // namespace base
