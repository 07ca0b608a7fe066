// Whether the description allows to keep the value of a node between reads.
#pragma once

#include <cstdint>

namespace genapi
{

struct Description;

/// True when every register that reading the node touches says so: its value, the variables of
/// formulas, addresses, lengths, selectors and the conditions of being readable; for enumerations
/// what tells which entries are implemented. Commands, polled nodes, formulas over anything but
/// values, and the bytes of events and chunks are never kept.
bool isCachable(const Description& description, std::int32_t node);

} // namespace genapi
