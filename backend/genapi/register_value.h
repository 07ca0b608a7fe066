// Numbers in the bytes of registers.
#pragma once

#include "genapi/description.h"

#include <cstddef>
#include <cstdint>

namespace genapi
{

/// Where the bits of a register's number are, and what it can hold.
struct RegisterBits {
    unsigned shift = 0; ///< From the least significant bit.
    unsigned width = 0; ///< 1 to 64; 0: no register of this length can have these bits.
    bool isSigned = false;

    std::int64_t min() const;
    /// Unsigned ones of 64 bits end at 2^63 - 1.
    std::int64_t max() const;
};

/// Of an integer register of `length` bytes (1 to 8). Bits of little-endian registers are counted
/// from the least significant one, those of big-endian registers from the most significant one.
RegisterBits bitsOf(const Node& node, std::size_t length);

/// The whole register as a number, `length` 1 to 8.
std::uint64_t loadRegister(const void* bytes, std::size_t length, bool isBigEndian);
void storeRegister(std::uint64_t value, void* bytes, std::size_t length, bool isBigEndian);

/// The number at its bits, its sign extended; and the register with another number there.
std::int64_t extractBits(std::uint64_t word, const RegisterBits& bits);
std::uint64_t replaceBits(std::uint64_t word, const RegisterBits& bits, std::int64_t value);

} // namespace genapi
