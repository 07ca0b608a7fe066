// Pixel conversions of one run of pixels, for the best instruction set of this machine.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ZelComponents
{

/// What is done to a run of adjacent pixels.
enum class Conversion {
    kNarrow10, ///< 16-bit words to bytes: x >> 2. Words above the range become 255.
    kNarrow12, ///< x >> 4, likewise.
    kNarrow14, ///< x >> 6, likewise.
    kNarrow16, ///< x >> 8.
    kTriple8,  ///< Grey bytes to three equal bytes each.
    kTriple10, ///< kNarrow10, then kTriple8; the following likewise.
    kTriple12,
    kTriple14,
    kTriple16,
    kSwap,      ///< Exchanges bytes 0 and 2 of every three.
    kLumaOfRgb, ///< Three bytes to 0.299 R + 0.587 G + 0.114 B, rounded.
    kLumaOfBgr, ///< The same with blue first.
};

/// Converts `pixels` adjacent pixels. The pointers need no alignment; source and target must not
/// overlap.
void convertRun(Conversion conversion, const std::uint8_t* source, std::uint8_t* target,
                std::size_t pixels);

} // namespace ZelComponents
