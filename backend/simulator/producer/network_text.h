// Network addresses as numbers.
#pragma once

#include <cstdint>
#include <string>

namespace simulator::producer
{

/// "02:5a:43:00:00:01" is 0x025a43000001; 0 for anything else.
std::int64_t macAddress(const std::string& text);

} // namespace simulator::producer
