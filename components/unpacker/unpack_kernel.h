// Unpacking of two pixels in three bytes, for the best instruction set of this machine.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ZelComponents
{

/// Significant bits of a packed pixel.
enum class PackedDepth { k10, k12 };

/// Unpacks `pixels` pixels of a flat run in which bytes 0 and 2 of every triple hold the high bits
/// of a pixel each, and byte 1 the low bits of both (first pixel in the low nibble). `source` is
/// the beginning of the run, `first` the index of the first pixel wanted. Writes little-endian
/// 16-bit words, which need not be aligned. Reads nothing behind the last pixel's bytes.
void unpackRun(PackedDepth depth, const std::uint8_t* source, std::size_t first, std::size_t pixels,
               std::uint8_t* target);

} // namespace ZelComponents
