// Unpacking of bit-packed pixels, for the best instruction set of this machine.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ZelComponents
{

/// How pixels lie in the bytes of a flat run. "Packed": bytes 0 and 2 of every three hold the high
/// bits of a pixel each, byte 1 the low bits of both (first pixel in the low nibble). "p": bits
/// follow each other from the lowest up.
enum class PackedLayout { k10Packed, k12Packed, k10p, k12p };

/// Pixels that together fill whole bytes.
constexpr std::size_t groupPixels(PackedLayout layout)
{
    return layout == PackedLayout::k10p ? 4 : 2;
}

/// The bytes they fill.
constexpr std::size_t groupBytes(PackedLayout layout)
{
    return layout == PackedLayout::k10p ? 5 : 3;
}

/// Unpacks `pixels` pixels of a flat run, each shifted left by `scale` bits (0 to 6). `source` is
/// the beginning of the run, `first` the index of the first pixel wanted. Writes little-endian
/// 16-bit words, which need not be aligned. Reads nothing behind the last pixel's bytes.
void unpackRun(PackedLayout layout, const std::uint8_t* source, std::size_t first,
               std::size_t pixels, std::uint8_t* target, int scale);

} // namespace ZelComponents
