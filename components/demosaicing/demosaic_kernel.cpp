#include "demosaicing/demosaic_kernel.h"

#define HWY_WANT_AVX3_DL // Which puts components together at a third of the cost.
#include "common/vector_targets.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "demosaicing/demosaic_kernel.cpp"
#include <hwy/cache_control.h>
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#ifndef ZEL_DEMOSAIC_KERNEL_ONCE // This file includes itself once for every instruction set.
#define ZEL_DEMOSAIC_KERNEL_ONCE

namespace ZelComponents
{

namespace
{

// Rounding shifts from the scale of a sum to 8 bits.
struct Shifts {
    int native; // Of a sample.
    int green;  // Of eight times the green estimate.
    int chroma; // Of sixteen times a red or blue estimate.
};

constexpr Shifts shiftsFor(unsigned sampleBits)
{
    const int excess = static_cast<int>(sampleBits) - 8;
    return Shifts{excess, 3 + excess, 4 + excess};
}

std::uint8_t roundedShift(int sum, int shift)
{
    return static_cast<std::uint8_t>(std::clamp((sum + (1 << shift >> 1)) >> shift, 0, 255));
}

// One row for machines without a vector instruction set of ours. `rows` begins two rows above it.
HWY_MAYBE_UNUSED void interpolateRow(const SplitRow* rows, std::size_t width, const Shifts& shifts,
                                     std::size_t chromaPhase, bool ownFirst, std::uint8_t* target)
{
    for (std::size_t x = 0; x < width; ++x) {
        const auto at = [&](int dx, int dy) -> int {
            const std::ptrdiff_t column = static_cast<std::ptrdiff_t>(x) + dx;
            const SplitRow& row = rows[2 + dy];
            return (column % 2 == 0 ? row.even[column / 2] : row.odd[(column - 1) / 2]);
        };
        const int centre = at(0, 0);
        const int beside = at(-1, 0) + at(1, 0);
        const int above = at(0, -1) + at(0, 1);
        const int twoBeside = at(-2, 0) + at(2, 0);
        const int twoAbove = at(0, -2) + at(0, 2);
        const int diagonal = at(-1, -1) + at(1, -1) + at(-1, 1) + at(1, 1);
        const std::uint8_t native = roundedShift(centre, shifts.native);
        std::uint8_t* const pixel = target + 3 * x;
        std::uint8_t& own = pixel[ownFirst ? 0 : 2];
        std::uint8_t& other = pixel[ownFirst ? 2 : 0];
        if (x % 2 == chromaPhase) {
            const int far = twoBeside + twoAbove;
            own = native;
            pixel[1] = roundedShift(4 * centre + 2 * (beside + above) - far, shifts.green);
            other = roundedShift(12 * centre + 4 * diagonal - 3 * far, shifts.chroma);
        } else {
            const int common = 10 * centre - 2 * diagonal;
            own = roundedShift(common + 8 * beside - 2 * twoBeside + twoAbove, shifts.chroma);
            pixel[1] = native;
            other = roundedShift(common + 8 * above - 2 * twoAbove + twoBeside, shifts.chroma);
        }
    }
}

} // namespace

} // namespace ZelComponents

#endif

#include "demosaicing/cover_row-inl.h"
#include "demosaicing/interleaver-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ZelComponents::HWY_NAMESPACE
{
namespace
{

#if HWY_TARGET != HWY_SCALAR

HWY_INLINE SampleVector load(const std::int16_t* samples) { return hn::LoadU(Samples(), samples); }

// Addition has more execution units than shifts have.
HWY_INLINE SampleVector twice(SampleVector v) { return hn::Add(v, v); }

// Sums along one row around the even and the odd columns of a vector.
struct RowSums {
    SampleVector even; // The samples themselves.
    SampleVector odd;
    SampleVector besideEven; // Left and right neighbour.
    SampleVector besideOdd;
};

struct CentreSums : RowSums {
    SampleVector twoBesideEven; // Neighbours two columns away.
    SampleVector twoBesideOdd;
};

HWY_INLINE RowSums rowSums(const SplitRow& row, std::size_t k)
{
    const SampleVector even = load(row.even + k);
    const SampleVector odd = load(row.odd + k);
    return RowSums{even, odd, hn::Add(load(row.odd + k - 1), odd),
                   hn::Add(even, load(row.even + k + 1))};
}

HWY_INLINE CentreSums centreSums(const SplitRow& row, std::size_t k)
{
    const SampleVector even = load(row.even + k);
    const SampleVector odd = load(row.odd + k);
    const SampleVector evenAfter = load(row.even + k + 1);
    const SampleVector oddBefore = load(row.odd + k - 1);
    return CentreSums{{even, odd, hn::Add(oddBefore, odd), hn::Add(even, evenAfter)},
                      hn::Add(load(row.even + k - 1), evenAfter),
                      hn::Add(oddBefore, load(row.odd + k + 1))};
}

// What surrounds the pixels of one parity.
struct Neighbourhood {
    SampleVector centre;
    SampleVector beside;
    SampleVector twoBeside;
    SampleVector above; // And below.
    SampleVector twoAbove;
    SampleVector diagonal;
};

// Arithmetic shift to the right, rounded to nearest, halves up.
template <int kShift> HWY_INLINE SampleVector roundedShift(SampleVector v)
{
    if constexpr (kShift == 0) {
        return v;
    } else {
        return hn::MulFixedPoint15(v, hn::Set(Samples(), std::int16_t{1 << (15 - kShift)}));
    }
}

template <unsigned kSampleBits> HWY_INLINE Colours atChroma(const Neighbourhood& n)
{
    constexpr Shifts kShifts = shiftsFor(kSampleBits);
    // Four times what the sample stands out by.
    const SampleVector excess = hn::Sub(twice(twice(n.centre)), hn::Add(n.twoBeside, n.twoAbove));
    // 4 C + 2 near - far
    const SampleVector green = hn::Add(twice(hn::Add(n.beside, n.above)), excess);
    // 12 C + 4 diagonal - 3 far
    const SampleVector other = hn::Sub(hn::ShiftLeft<2>(hn::Add(n.diagonal, excess)), excess);
    return Colours{roundedShift<kShifts.native>(n.centre), roundedShift<kShifts.green>(green),
                   roundedShift<kShifts.chroma>(other)};
}

template <unsigned kSampleBits> HWY_INLINE Colours atGreen(const Neighbourhood& n)
{
    constexpr Shifts kShifts = shiftsFor(kSampleBits);
    // 5 C - diagonal
    const SampleVector common = hn::Sub(hn::Add(twice(twice(n.centre)), n.centre), n.diagonal);
    const auto along = [&](SampleVector near, SampleVector far, SampleVector across) HWY_ATTR {
        // 10 C - 2 diagonal + 8 near - 2 far + across
        const SampleVector half = hn::Sub(hn::Add(common, hn::ShiftLeft<2>(near)), far);
        return roundedShift<kShifts.chroma>(hn::Add(twice(half), across));
    };
    return Colours{along(n.beside, n.twoBeside, n.twoAbove), roundedShift<kShifts.native>(n.centre),
                   along(n.above, n.twoAbove, n.twoBeside)};
}

// `rows` begins two rows above the centre.
template <std::size_t kPhase, unsigned kSampleBits>
HWY_INLINE Interpolated interpolate(const SplitRow* rows, const RowSums& up,
                                    const CentreSums& centre, const RowSums& down, std::size_t k)
{
    const Neighbourhood atEven{centre.even,
                               centre.besideEven,
                               centre.twoBesideEven,
                               hn::Add(up.even, down.even),
                               hn::Add(load(rows[0].even + k), load(rows[4].even + k)),
                               hn::Add(up.besideEven, down.besideEven)};
    const Neighbourhood atOdd{centre.odd,
                              centre.besideOdd,
                              centre.twoBesideOdd,
                              hn::Add(up.odd, down.odd),
                              hn::Add(load(rows[0].odd + k), load(rows[4].odd + k)),
                              hn::Add(up.besideOdd, down.besideOdd)};
    if constexpr (kPhase == 0) {
        return Interpolated{atChroma<kSampleBits>(atEven), atGreen<kSampleBits>(atOdd)};
    } else {
        return Interpolated{atGreen<kSampleBits>(atEven), atChroma<kSampleBits>(atOdd)};
    }
}

// For images beyond the caches: fetching the rows that come next keeps the memory busy while the
// sums are made.
HWY_INLINE void fetchUpcoming(const RowPair& pair, std::size_t column)
{
    const std::size_t bytes = pair.upcomingBytes * sizeof(ByteVector);
    for (const std::uint8_t* const upcoming : pair.upcoming) {
        for (std::size_t i = 0; i < bytes; i += kCacheLine) {
            hwy::Prefetch(upcoming + pair.upcomingBytes * column + i);
        }
    }
}

// So does claiming the lines to be written (with both 1.4 times the speed at 5120 x 5120).
HWY_INLINE void claimTargets(const RowPair& pair, std::size_t column)
{
    constexpr std::size_t kAhead = 768;
    for (const std::uint8_t* const target : pair.targets) {
        for (std::size_t i = 0; i < 3 * sizeof(ByteVector); i += kCacheLine) {
            hwy::Prefetch(target + 3 * column + kAhead + i);
        }
    }
}

// Stores past the caches save reading the lines first (1.2 times the speed at 5120 x 5120), but
// only where every one of them fills whole lines; with less they are slower than any other.
HWY_INLINE bool goesPastCaches(const RowPair& pair, std::size_t column)
{
    if constexpr (sizeof(ByteVector) % kCacheLine == 0) {
        const auto inLine = [&](const std::uint8_t* target) {
            return reinterpret_cast<std::uintptr_t>(target + 3 * column) % kCacheLine;
        };
        return pair.pastCaches && inLine(pair.targets[0]) == 0 && inLine(pair.targets[1]) == 0;
    }
    return false;
}

// As many columns as fit into two vectors.
template <std::size_t kPhase, bool kOwnFirst, unsigned kSampleBits, bool kPastCaches>
HWY_INLINE void interpolateStep(const RowPair& pair, const Interleaver& interleaver,
                                std::size_t column, std::uint8_t* upperTarget,
                                std::uint8_t* lowerTarget)
{
    const SplitRow* const rows = pair.rows.data();
    const std::size_t k = column / 2;
    const RowSums above = rowSums(rows[1], k);
    const CentreSums upper = centreSums(rows[2], k);
    const CentreSums lower = centreSums(rows[3], k);
    const RowSums below = rowSums(rows[4], k);
    interleaver.store<kOwnFirst, kPastCaches>(
        interpolate<kPhase, kSampleBits>(rows, above, upper, lower, k), upperTarget);
    interleaver.store<!kOwnFirst, kPastCaches>(
        interpolate<1 - kPhase, kSampleBits>(rows + 1, upper, lower, below, k), lowerTarget);
}

template <std::size_t kPhase, bool kOwnFirst, unsigned kSampleBits>
void interpolateRowsOf(const RowPair& source)
{
    const RowPair pair = source; // A copy, which the stores to the targets cannot change.
    const Interleaver interleaver;
    const std::size_t step = 2 * hn::Lanes(Samples());
    const auto interpolatePart = [&](std::size_t begin, std::size_t end) HWY_ATTR {
        std::uint8_t parts[2][3 * sizeof(ByteVector)];
        interpolateStep<kPhase, kOwnFirst, kSampleBits, false>(pair, interleaver, begin, parts[0],
                                                               parts[1]);
        std::memcpy(pair.targets[0] + 3 * begin, parts[0], 3 * (end - begin));
        std::memcpy(pair.targets[1] + 3 * begin, parts[1], 3 * (end - begin));
    };
    const auto interpolateInto = [&](std::size_t column, auto kPastCaches) HWY_ATTR {
        interpolateStep<kPhase, kOwnFirst, kSampleBits, kPastCaches>(
            pair, interleaver, column, pair.targets[0] + 3 * column, pair.targets[1] + 3 * column);
    };

    std::size_t column = pair.lineColumn % step;
    if (column + step <= pair.width && goesPastCaches(pair, column)) {
        if (column != 0) {
            interpolatePart(0, column);
        }
        for (; column + step <= pair.width; column += step) {
            fetchUpcoming(pair, column);
            interpolateInto(column, std::true_type());
        }
    } else {
        column = coverRow(pair.width, pair.lineColumn, step, [&](std::size_t begin) HWY_ATTR {
            if (pair.upcoming[0] != nullptr) {
                fetchUpcoming(pair, begin);
                claimTargets(pair, begin);
            }
            interpolateInto(begin, std::false_type());
        });
    }
    if (column < pair.width) {
        interpolatePart(column, pair.width);
    }
}

#else

template <std::size_t kPhase, bool kOwnFirst, unsigned kSampleBits>
void interpolateRowsOf(const RowPair& pair)
{
    constexpr Shifts shifts = shiftsFor(kSampleBits);
    interpolateRow(pair.rows.data(), pair.width, shifts, kPhase, kOwnFirst, pair.targets[0]);
    interpolateRow(pair.rows.data() + 1, pair.width, shifts, 1 - kPhase, !kOwnFirst,
                   pair.targets[1]);
}

#endif

template <unsigned kSampleBits>
void interpolateTwoRowsOf(const RowPair& pair, const MosaicLayout& layout)
{
    constexpr void (*kFunctions[2][2])(const RowPair&) = {
        {interpolateRowsOf<0, false, kSampleBits>, interpolateRowsOf<0, true, kSampleBits>},
        {interpolateRowsOf<1, false, kSampleBits>, interpolateRowsOf<1, true, kSampleBits>},
    };
    kFunctions[layout.chromaPhase][layout.chromaFirst ? 1 : 0](pair);
}

void interpolateTwoRows(const RowPair& pair, const MosaicLayout& layout)
{
    if (layout.sampleBits == 8) {
        interpolateTwoRowsOf<8>(pair, layout);
    } else {
        interpolateTwoRowsOf<10>(pair, layout);
    }
}

} // namespace
} // namespace ZelComponents::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace ZelComponents
{

namespace
{

HWY_EXPORT(interpolateTwoRows);

} // namespace

void interpolateRows(const RowPair& pair, const MosaicLayout& layout)
{
    HWY_DYNAMIC_DISPATCH(interpolateTwoRows)(pair, layout);
}

void finishRows() { hwy::FlushStream(); }

} // namespace ZelComponents

#endif // HWY_ONCE
