// IPv4 addresses as dotted text and as host integers.
#pragma once

#include <cstdint>
#include <string>

namespace base
{

/// Parses exactly four decimal numbers of 0 to 255, at most three digits each, separated by dots;
/// no blanks, no shorter forms. False leaves `*address` alone.
bool parseIpv4(const char* text, std::uint32_t* address);

std::string formatIpv4(std::uint32_t address);

} // namespace base
