// Prefix codes of limited length, as deflate streams use them.
#pragma once

#include <cstddef>
#include <cstdint>

namespace serializer
{

/// Code lengths for `count` (at most 320) symbols of these frequencies: none is longer than
/// `limit`, symbols of frequency 0 get 0, a single used symbol gets 1. The lengths fill the code
/// space whole, except for a single symbol; they are the best possible ones if the limit does not
/// bind, and near to them if it does. Frequencies sum up to less than 2^32; `limit` bits must be
/// enough for the used symbols.
void chooseLengths(const std::uint32_t* frequencies, std::size_t count, unsigned limit,
                   std::uint8_t* lengths);

/// The codes that belong to lengths, canonical and with their first bit lowest, as they are
/// written.
void assignCodes(const std::uint8_t* lengths, std::size_t count, std::uint16_t* codes);

} // namespace serializer
