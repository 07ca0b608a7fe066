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

} // namespace serializer
