// Inner loops of demosaicing, for the best instruction set of this machine.
//
// Interpolation is that of Malvar, He and Cutler (ICASSP 2004): every missing colour is a linear
// combination of the 5x5 samples around the pixel. Samples have 8 or 10 bits, so that all sums fit
// into 16 bits; the results are brought to 8 bits by one rounding.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace ZelComponents
{

/// One mosaic row, even and odd columns apart: `even[k]` is column 2k, `odd[k]` column 2k + 1. With
/// n = (width + 1) / 2, entries -1 to n hold what the row, continued beyond its ends, has there.
/// Memory is readable for kRowSlack further entries.
struct SplitRow {
    const std::int16_t* even;
    const std::int16_t* odd;
};

/// Entries that loops may read behind entry n. Their values do not matter.
constexpr std::size_t kRowSlack = 64;

constexpr std::size_t kCacheLine = 64;

/// Two adjacent rows of the result and what they are made from.
struct RowPair {
    std::array<SplitRow, 6> rows; ///< From two rows above the first to two below the second.
    std::array<std::uint8_t*, 2> targets; ///< 3 * width bytes each.
    std::size_t width;
    /// Source rows that will be needed next, to be fetched ahead of time; null where images fit
    /// into the caches.
    std::array<const std::uint8_t*, 2> upcoming;
    std::size_t upcomingBytes; ///< Bytes of one of their samples.
    /// Even column, below kCacheLine, where both targets begin a cache line, 0 if there is none. It
    /// is faster to begin there.
    std::size_t lineColumn;
    bool pastCaches; ///< The result is better not left in the caches. Ends with finishRows.
};

/// What the samples of a row pair mean.
struct MosaicLayout {
    std::size_t chromaPhase; ///< Column (0 or 1) of the first row's first red or blue sample.
    bool chromaFirst;        ///< The first row's red or blue is component 0 of the result, not 2.
    unsigned sampleBits;     ///< 8 or 10.
};

/// Writes three bytes for every pixel of both rows.
void interpolateRows(const RowPair& pair, const MosaicLayout& layout);

/// To be called by the thread that wrote rows past the caches, before others may read them.
void finishRows();

} // namespace ZelComponents
