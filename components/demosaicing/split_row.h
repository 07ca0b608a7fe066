// Rows of a mosaic into even and odd columns, for the best instruction set of this machine.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ZelComponents
{

/// How samples lie in the source and become those of a SplitRow.
struct SampleFormat {
    std::size_t bytes; ///< 1, or 2 for little-endian words.
    unsigned excess;   ///< Low bits of a word to be rounded away (0 to 6).
};

/// Splits `width` samples, which need no alignment. Words are limited to 10 bits. `aligned` is an
/// even column from which on it is best to store whole vectors.
void splitRow(const std::uint8_t* source, std::size_t width, const SampleFormat& format,
              std::size_t aligned, std::int16_t* even, std::int16_t* odd);

} // namespace ZelComponents
