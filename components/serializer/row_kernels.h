// Kernels that bring rows of samples into the order a file wants.
#pragma once

#include <cstddef>
#include <cstdint>

namespace serializer
{

/// Copies `pixels` pixels of three bytes with the first and third exchanged. No overlap.
void swapRedBlue(const unsigned char* from, unsigned char* to, std::size_t pixels);

/// Copies `count` little-endian 16-bit samples as big-endian ones, values above the largest of
/// `bits` bits (10 to 16) cut to it. `scale`: stretched to 16 bits by repeating the leading bits,
/// so that the largest value becomes 65535. No alignment needed; no overlap.
void toBigEndian(const unsigned char* from, unsigned char* to, std::size_t count,
                 std::uint32_t bits, bool scale);

/// PNG's average filter: every byte less the mean, rounded down, of the byte one pixel
/// (`pixelBytes`) before it and the byte above it; what lies outside the row counts as 0. The row
/// above the first one is a row of zeros. No overlap.
void averageFilter(const unsigned char* row, const unsigned char* above, unsigned char* to,
                   std::size_t size, std::size_t pixelBytes);

/// Adler-32 of `size` bytes, as adler32() of zlib gives for a new sum.
std::uint32_t adlerOf(const unsigned char* data, std::size_t size);

} // namespace serializer
