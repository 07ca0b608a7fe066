#include "genapi/register_value.h"

#include <algorithm>
#include <limits>

namespace genapi
{

namespace
{

std::uint64_t maskOf(unsigned width)
{
    return width >= 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << width) - 1;
}

} // namespace

std::int64_t RegisterBits::min() const
{
    if (!isSigned)
        return 0;
    return width >= 64 ? std::numeric_limits<std::int64_t>::min()
                       : -(std::int64_t{1} << (width - 1));
}

std::int64_t RegisterBits::max() const
{
    return static_cast<std::int64_t>(maskOf(std::min(isSigned ? width - 1 : width, 63U)));
}

RegisterBits bitsOf(const Node& node, std::size_t length)
{
    const auto bits = static_cast<unsigned>(length * 8);
    if (node.kind == NodeKind::kIntReg)
        return {0, bits, node.isSigned};
    const unsigned low = std::min(node.lowBit, node.highBit);
    const unsigned high = std::max(node.lowBit, node.highBit);
    if (high >= bits)
        return {};
    return {node.isBigEndian ? bits - 1 - high : low, high - low + 1, node.isSigned};
}

std::uint64_t loadRegister(const void* bytes, std::size_t length, bool isBigEndian)
{
    const auto* const data = static_cast<const std::uint8_t*>(bytes);
    std::uint64_t word = 0;
    for (std::size_t i = 0; i < length; ++i)
        word = (word << 8U) | data[isBigEndian ? i : length - 1 - i];
    return word;
}

void storeRegister(std::uint64_t value, void* bytes, std::size_t length, bool isBigEndian)
{
    auto* const data = static_cast<std::uint8_t*>(bytes);
    for (std::size_t i = 0; i < length; ++i)
        data[isBigEndian ? length - 1 - i : i] = static_cast<std::uint8_t>(value >> (8 * i));
}

std::int64_t extractBits(std::uint64_t word, const RegisterBits& bits)
{
    const std::uint64_t value = (word >> bits.shift) & maskOf(bits.width);
    const bool isNegative = bits.isSigned && ((value >> (bits.width - 1)) & 1U) != 0;
    return static_cast<std::int64_t>(isNegative ? value | ~maskOf(bits.width) : value);
}

std::uint64_t replaceBits(std::uint64_t word, const RegisterBits& bits, std::int64_t value)
{
    const std::uint64_t mask = maskOf(bits.width) << bits.shift;
    return (word & ~mask) | ((static_cast<std::uint64_t>(value) << bits.shift) & mask);
}

} // namespace genapi
