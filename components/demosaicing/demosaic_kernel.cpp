#include "demosaicing/demosaic_kernel.h"

#include "common/vector_targets.h"

#include <algorithm>
#include <cstring>

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

HWY_BEFORE_NAMESPACE();
namespace ZelComponents::HWY_NAMESPACE
{
namespace
{

#if HWY_TARGET != HWY_SCALAR

namespace hn = hwy::HWY_NAMESPACE;

// Vectors of 512 bits gain nothing here: putting three components together costs them more.
using Samples = hn::CappedTag<std::int16_t, 16>;
using Bytes = hn::Repartition<std::uint8_t, Samples>;
using SampleVector = hn::Vec<Samples>;
using ByteVector = hn::Vec<Bytes>;

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

struct Colours {
    SampleVector own; // The red or blue that this row has.
    SampleVector green;
    SampleVector other;
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

struct Interpolated {
    Colours even;
    Colours odd;
};

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

// Limits to 0..255. Within every 128-bit block: the bytes of `low`, then those of `high`.
HWY_INLINE ByteVector pack(SampleVector low, SampleVector high)
{
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX2
    return ByteVector{_mm256_packus_epi16(low.raw, high.raw)};
#elif HWY_ARCH_X86 && HWY_TARGET <= HWY_SSSE3
    return ByteVector{_mm_packus_epi16(low.raw, high.raw)};
#else
    const hn::Half<Bytes> half;
    return hn::Combine(Bytes(), hn::DemoteTo(half, high), hn::DemoteTo(half, low));
#endif
}

// Takes word i of every 128-bit block from `yes` where bit i of kWords is set, else from `no`.
template <unsigned kWords> HWY_INLINE ByteVector chooseWords(ByteVector yes, ByteVector no)
{
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX2
    return ByteVector{_mm256_blend_epi16(no.raw, yes.raw, kWords)};
#elif HWY_ARCH_X86 && HWY_TARGET <= HWY_SSE4
    return ByteVector{_mm_blend_epi16(no.raw, yes.raw, kWords)};
#else
    HWY_ALIGN static constexpr std::uint16_t kMask[8] = {
        kWords & 1U ? 0xFFFF : 0,      kWords >> 1 & 1U ? 0xFFFF : 0, kWords >> 2 & 1U ? 0xFFFF : 0,
        kWords >> 3 & 1U ? 0xFFFF : 0, kWords >> 4 & 1U ? 0xFFFF : 0, kWords >> 5 & 1U ? 0xFFFF : 0,
        kWords >> 6 & 1U ? 0xFFFF : 0, kWords >> 7 & 1U ? 0xFFFF : 0};
    const hn::Repartition<std::uint16_t, Bytes> words;
    return hn::IfVecThenElse(hn::BitCast(Bytes(), hn::LoadDup128(words, kMask)), yes, no);
#endif
}

// Merges the components of even and odd columns. The six bytes of two pixels are three words: the
// first two components of the even pixel; its third and the first of the odd pixel; the odd pixel's
// last two. Word w of the i-th pair of pixels in a block is word 3 i + w of the block's output. As
// 3 and 8 have no common factor, one table for each w brings all its words to their places modulo
// 8, and every part of the output chooses between the three.
class Interleaver
{
public:
    HWY_INLINE Interleaver() : tables_{table(0), table(1), table(2)} {}

    template <bool kOwnFirst>
    HWY_INLINE void store(const Interpolated& pixels, std::uint8_t* target) const
    {
        const auto first = [](const Colours& c) HWY_ATTR { return kOwnFirst ? c.own : c.other; };
        const auto third = [](const Colours& c) HWY_ATTR { return kOwnFirst ? c.other : c.own; };
        const ByteVector words[3] = {
            place(0, first(pixels.even), pixels.even.green),
            place(1, third(pixels.even), first(pixels.odd)),
            place(2, pixels.odd.green, third(pixels.odd)),
        };
        storeBlocks(part<0>(words), part<1>(words), part<2>(words), target);
    }

private:
    static HWY_INLINE ByteVector table(std::size_t w)
    {
        HWY_ALIGN std::uint8_t indices[16] = {};
        for (std::size_t i = 0; i < 8; ++i) {
            const std::size_t word = (3 * i + w) % 8;
            indices[2 * word] = static_cast<std::uint8_t>(i);
            indices[2 * word + 1] = static_cast<std::uint8_t>(8 + i);
        }
        return hn::LoadDup128(Bytes(), indices);
    }

    HWY_INLINE ByteVector place(std::size_t w, SampleVector low, SampleVector high) const
    {
        return hn::TableLookupBytes(pack(low, high), tables_[w]);
    }

    // Which words of a part of the output have number w modulo 3.
    static constexpr unsigned wordsOf(std::size_t part, std::size_t w)
    {
        unsigned words = 0;
        for (std::size_t i = 0; i < 8; ++i) {
            words |= (8 * part + i) % 3 == w ? 1U << i : 0U;
        }
        return words;
    }

    template <std::size_t kPart> static HWY_INLINE ByteVector part(const ByteVector* words)
    {
        return chooseWords<wordsOf(kPart, 0)>(words[0],
                                              chooseWords<wordsOf(kPart, 1)>(words[1], words[2]));
    }

    // The three parts of every block follow each other.
    static HWY_INLINE void storeBlocks(ByteVector a, ByteVector b, ByteVector c,
                                       std::uint8_t* target)
    {
        const Bytes bytes;
#if HWY_MAX_BYTES >= 32
        hn::StoreU(hn::ConcatLowerLower(bytes, b, a), bytes, target);
        hn::StoreU(hn::ConcatUpperLower(bytes, a, c), bytes, target + sizeof(ByteVector));
        hn::StoreU(hn::ConcatUpperUpper(bytes, c, b), bytes, target + 2 * sizeof(ByteVector));
#else
        hn::StoreU(a, bytes, target);
        hn::StoreU(b, bytes, target + sizeof(ByteVector));
        hn::StoreU(c, bytes, target + 2 * sizeof(ByteVector));
#endif
    }

    ByteVector tables_[3];
};

// For images beyond the caches: fetching the rows that come next and claiming the lines to be
// written keeps the memory busy while the sums are made (1.4 times the speed at 5120 x 5120).
HWY_INLINE void prefetch(const RowPair& pair, std::size_t column)
{
    constexpr std::size_t kAhead = 768;
    constexpr std::size_t kLine = 64;
    for (const std::uint8_t* const upcoming : pair.upcoming) {
        hwy::Prefetch(upcoming + pair.upcomingBytes * column);
    }
    for (const std::uint8_t* const target : pair.targets) {
        hwy::Prefetch(target + 3 * column + kAhead);
        hwy::Prefetch(target + 3 * column + kAhead + kLine);
    }
}

template <std::size_t kPhase, bool kOwnFirst, unsigned kSampleBits>
void interpolateRowsOf(const RowPair& source)
{
    const RowPair pair = source; // A copy, which the stores to the targets cannot change.
    const SplitRow* const rows = pair.rows.data();
    const Interleaver interleaver;
    const std::size_t step = 2 * hn::Lanes(Samples());

    std::uint8_t ends[2][3 * sizeof(ByteVector)];
    for (std::size_t column = 0; column < pair.width; column += step) {
        const std::size_t k = column / 2;
        const bool isWhole = column + step <= pair.width;
        if (pair.upcoming[0] != nullptr) {
            prefetch(pair, column);
        }
        const RowSums above = rowSums(rows[1], k);
        const CentreSums upper = centreSums(rows[2], k);
        const CentreSums lower = centreSums(rows[3], k);
        const RowSums below = rowSums(rows[4], k);
        interleaver.store<kOwnFirst>(interpolate<kPhase, kSampleBits>(rows, above, upper, lower, k),
                                     isWhole ? pair.targets[0] + 3 * column : ends[0]);
        interleaver.store<!kOwnFirst>(
            interpolate<1 - kPhase, kSampleBits>(rows + 1, upper, lower, below, k),
            isWhole ? pair.targets[1] + 3 * column : ends[1]);
        if (!isWhole) {
            std::memcpy(pair.targets[0] + 3 * column, ends[0], 3 * (pair.width - column));
            std::memcpy(pair.targets[1] + 3 * column, ends[1], 3 * (pair.width - column));
        }
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

} // namespace ZelComponents

#endif // HWY_ONCE
