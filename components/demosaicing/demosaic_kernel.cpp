#include "demosaicing/demosaic_kernel.h"

#include <algorithm>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "demosaicing/demosaic_kernel.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#ifndef ZEL_DEMOSAIC_KERNEL_ONCE // This file includes itself once for every instruction set.
#define ZEL_DEMOSAIC_KERNEL_ONCE

namespace ZelComponents
{

namespace
{

constexpr std::int16_t kMaxSample = 1023;

// Rounding shifts from the scale of a sum to 8 bits.
struct Shifts {
    int native; // Of twice a sample.
    int green;  // Of eight times the green estimate.
    int chroma; // Of sixteen times a red or blue estimate.
};

constexpr Shifts shiftsFor(unsigned sampleBits)
{
    const int excess = static_cast<int>(sampleBits) - 8;
    return Shifts{1 + excess, 3 + excess, 4 + excess};
}

std::uint8_t roundedShift(int sum, int shift)
{
    return static_cast<std::uint8_t>(std::clamp((sum + (1 << (shift - 1))) >> shift, 0, 255));
}

// One row for machines without a vector instruction set of ours. `rows` begins two rows above it.
HWY_MAYBE_UNUSED void interpolateRowScalar(const SplitRow* rows, std::size_t width,
                                           const MosaicLayout& layout, std::size_t chromaPhase,
                                           bool chromaFirst, std::uint8_t* target)
{
    const Shifts shifts = shiftsFor(layout.sampleBits);
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
        const std::uint8_t native = roundedShift(2 * centre, shifts.native);
        std::uint8_t* const pixel = target + 3 * x;
        std::uint8_t& own = pixel[chromaFirst ? 0 : 2];
        std::uint8_t& other = pixel[chromaFirst ? 2 : 0];
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

// Vectors of 512 bits gain nothing here: the interleaving of three components costs them more.
using Samples = hn::CappedTag<std::int16_t, 16>;
using Bytes = hn::Repartition<std::uint8_t, Samples>;
using SampleVector = hn::Vec<Samples>;
using ByteVector = hn::Vec<Bytes>;
using ByteMask = hn::Mask<Bytes>;

HWY_INLINE SampleVector load(const std::int16_t* samples) { return hn::LoadU(Samples(), samples); }

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
    RowSums sums;
    sums.even = load(row.even + k);
    sums.odd = load(row.odd + k);
    sums.besideEven = hn::Add(load(row.odd + k - 1), sums.odd);
    sums.besideOdd = hn::Add(sums.even, load(row.even + k + 1));
    return sums;
}

HWY_INLINE CentreSums centreSums(const SplitRow& row, std::size_t k)
{
    CentreSums sums;
    sums.even = load(row.even + k);
    sums.odd = load(row.odd + k);
    const SampleVector evenAfter = load(row.even + k + 1);
    const SampleVector oddBefore = load(row.odd + k - 1);
    sums.besideEven = hn::Add(oddBefore, sums.odd);
    sums.besideOdd = hn::Add(sums.even, evenAfter);
    sums.twoBesideEven = hn::Add(load(row.even + k - 1), evenAfter);
    sums.twoBesideOdd = hn::Add(oddBefore, load(row.odd + k + 1));
    return sums;
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

// Factors that make MulFixedPoint15 a rounding shift.
struct Scales {
    SampleVector native;
    SampleVector green;
    SampleVector chroma;
};

HWY_INLINE Scales scalesFor(unsigned sampleBits)
{
    const Shifts shifts = shiftsFor(sampleBits);
    const auto scale = [](int shift) {
        return hn::Set(Samples(), static_cast<std::int16_t>(1 << (15 - shift)));
    };
    return Scales{scale(shifts.native), scale(shifts.green), scale(shifts.chroma)};
}

HWY_INLINE Colours atChroma(const Neighbourhood& n, const Scales& scales)
{
    const SampleVector twice = hn::Add(n.centre, n.centre);
    const SampleVector nearCross = hn::Add(n.beside, n.above);
    const SampleVector farCross = hn::Add(n.twoBeside, n.twoAbove);
    // 4 C + 2 near - far
    const SampleVector green = hn::Sub(hn::ShiftLeft<1>(hn::Add(twice, nearCross)), farCross);
    // 12 C + 4 diagonal - 3 far
    const SampleVector triple = hn::Add(twice, n.centre);
    const SampleVector other =
        hn::Add(hn::ShiftLeft<2>(hn::Sub(hn::Add(triple, n.diagonal), farCross)), farCross);
    return Colours{hn::MulFixedPoint15(twice, scales.native),
                   hn::MulFixedPoint15(green, scales.green),
                   hn::MulFixedPoint15(other, scales.chroma)};
}

HWY_INLINE Colours atGreen(const Neighbourhood& n, const Scales& scales)
{
    const SampleVector twice = hn::Add(n.centre, n.centre);
    // 5 C - diagonal
    const SampleVector common = hn::Sub(hn::Add(hn::Add(twice, twice), n.centre), n.diagonal);
    const auto along = [&](SampleVector near, SampleVector far, SampleVector across) {
        // 10 C - 2 diagonal + 8 near - 2 far + across
        const SampleVector half = hn::Sub(hn::Add(common, hn::ShiftLeft<2>(near)), far);
        return hn::MulFixedPoint15(hn::Add(hn::ShiftLeft<1>(half), across), scales.chroma);
    };
    return Colours{along(n.beside, n.twoBeside, n.twoAbove),
                   hn::MulFixedPoint15(twice, scales.native),
                   along(n.above, n.twoAbove, n.twoBeside)};
}

// Limits to 0..255. Within every 128-bit block: the even columns' bytes, then the odd columns'.
HWY_INLINE ByteVector pack(SampleVector even, SampleVector odd)
{
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX2
    return ByteVector{_mm256_packus_epi16(even.raw, odd.raw)};
#elif HWY_ARCH_X86
    return ByteVector{_mm_packus_epi16(even.raw, odd.raw)};
#else
    const hn::Half<Bytes> half;
    return hn::Combine(Bytes(), hn::DemoteTo(half, odd), hn::DemoteTo(half, even));
#endif
}

struct PackedColours {
    ByteVector own;
    ByteVector green;
    ByteVector other;
};

template <std::size_t kPhase>
HWY_INLINE PackedColours interpolate(const SplitRow* rows, const RowSums& up,
                                     const CentreSums& centre, const RowSums& down, std::size_t k,
                                     const Scales& scales)
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
    const Colours even = kPhase == 0 ? atChroma(atEven, scales) : atGreen(atEven, scales);
    const Colours odd = kPhase == 0 ? atGreen(atOdd, scales) : atChroma(atOdd, scales);
    return PackedColours{pack(even.own, odd.own), pack(even.green, odd.green),
                         pack(even.other, odd.other)};
}

// Merges three packed components. Byte 3 i + p of a block's 48 output bytes is pixel i of the
// component at position p. As 3 and 16 have no common factor, one table per component brings all
// its bytes to their places modulo 16, and masks choose between the components.
class Interleaver
{
public:
    // `first` is the position (0 or 2) of the first argument of `store`; the third has the other.
    HWY_INLINE explicit Interleaver(std::size_t first)
        : firstTable_(table(first)), greenTable_(table(1)),
          thirdTable_(table(2 - first)), firstMasks_{mask(0, first), mask(1, first),
                                                     mask(2, first)},
          greenMasks_{mask(0, 1), mask(1, 1), mask(2, 1)}
    {
    }

    HWY_INLINE void store(ByteVector first, ByteVector green, ByteVector third,
                          std::uint8_t* target) const
    {
        const ByteVector a = hn::TableLookupBytes(first, firstTable_);
        const ByteVector b = hn::TableLookupBytes(green, greenTable_);
        const ByteVector c = hn::TableLookupBytes(third, thirdTable_);
        const auto part = [&](std::size_t i) {
            return hn::IfThenElse(firstMasks_[i], a, hn::IfThenElse(greenMasks_[i], b, c));
        };
        storeBlocks(part(0), part(1), part(2), target);
    }

private:
    static HWY_INLINE ByteVector table(std::size_t position)
    {
        HWY_ALIGN std::uint8_t indices[16] = {};
        for (std::size_t pixel = 0; pixel < 16; ++pixel) {
            indices[(3 * pixel + position) % 16] =
                static_cast<std::uint8_t>(pixel % 2 * 8 + pixel / 2);
        }
        return hn::LoadDup128(Bytes(), indices);
    }

    static HWY_INLINE ByteMask mask(std::size_t part, std::size_t position)
    {
        HWY_ALIGN std::uint8_t bits[16] = {};
        for (std::size_t i = 0; i < 16; ++i) {
            bits[i] = (16 * part + i) % 3 == position ? 0xFF : 0;
        }
        return hn::MaskFromVec(hn::LoadDup128(Bytes(), bits));
    }

    // The three parts of every block follow each other.
    static HWY_INLINE void storeBlocks(ByteVector a, ByteVector b, ByteVector c,
                                       std::uint8_t* target)
    {
        const Bytes bytes;
        constexpr std::size_t kSize = sizeof(ByteVector);
        if constexpr (kSize == 32) {
#if HWY_MAX_BYTES >= 32
            hn::StoreU(hn::ConcatLowerLower(bytes, b, a), bytes, target);
            hn::StoreU(hn::ConcatUpperLower(bytes, a, c), bytes, target + kSize);
            hn::StoreU(hn::ConcatUpperUpper(bytes, c, b), bytes, target + 2 * kSize);
#endif
        } else {
            hn::StoreU(a, bytes, target);
            hn::StoreU(b, bytes, target + kSize);
            hn::StoreU(c, bytes, target + 2 * kSize);
        }
    }

    ByteVector firstTable_;
    ByteVector greenTable_;
    ByteVector thirdTable_;
    ByteMask firstMasks_[3];
    ByteMask greenMasks_[3];
};

template <std::size_t kPhase>
void interpolateRowsOf(const RowPair& pair, const MosaicLayout& layout)
{
    const Scales scales = scalesFor(layout.sampleBits);
    const Interleaver interleaver(layout.chromaFirst ? 0 : 2);
    const SplitRow* const rows = pair.rows.data();
    const std::size_t lanes = hn::Lanes(Samples());

    const auto twoRows = [&](std::size_t k, std::uint8_t* first, std::uint8_t* second) HWY_ATTR {
        const RowSums above = rowSums(rows[1], k);
        const CentreSums upper = centreSums(rows[2], k);
        const CentreSums lower = centreSums(rows[3], k);
        const RowSums below = rowSums(rows[4], k);
        const PackedColours p = interpolate<kPhase>(rows, above, upper, lower, k, scales);
        interleaver.store(p.own, p.green, p.other, first);
        const PackedColours q = interpolate<1 - kPhase>(rows + 1, upper, lower, below, k, scales);
        interleaver.store(q.other, q.green, q.own, second);
    };

    std::size_t column = 0;
    for (; column + 2 * lanes <= pair.width; column += 2 * lanes) {
        twoRows(column / 2, pair.targets[0] + 3 * column, pair.targets[1] + 3 * column);
    }
    if (column < pair.width) {
        std::uint8_t ends[2][3 * sizeof(ByteVector)];
        twoRows(column / 2, ends[0], ends[1]);
        const std::size_t rest = 3 * (pair.width - column);
        std::memcpy(pair.targets[0] + 3 * column, ends[0], rest);
        std::memcpy(pair.targets[1] + 3 * column, ends[1], rest);
    }
}

std::size_t splitBytes(const std::uint8_t* source, std::size_t width, std::int16_t* even,
                       std::int16_t* odd)
{
    const Samples samples;
    const hn::RebindToUnsigned<Samples> words;
    const std::size_t lanes = hn::Lanes(samples);
    std::size_t column = 0;
    for (; column + 2 * lanes <= width; column += 2 * lanes) {
        const auto pairs = hn::BitCast(words, hn::LoadU(Bytes(), source + column));
        const auto low = hn::And(pairs, hn::Set(words, std::uint16_t{0xFF}));
        hn::StoreU(hn::BitCast(samples, low), samples, even + column / 2);
        hn::StoreU(hn::BitCast(samples, hn::ShiftRight<8>(pairs)), samples, odd + column / 2);
    }
    return column;
}

template <unsigned kExcess>
std::size_t splitWords(const std::uint8_t* source, std::size_t width, std::int16_t* even,
                       std::int16_t* odd)
{
    const Samples samples;
    const hn::RebindToUnsigned<Samples> words;
    const std::size_t lanes = hn::Lanes(samples);
    const auto limited = [&](const std::uint8_t* from) HWY_ATTR {
        auto v = hn::BitCast(words, hn::LoadU(Bytes(), from));
        if constexpr (kExcess != 0) {
            v = hn::ShiftRight<kExcess>(
                hn::SaturatedAdd(v, hn::Set(words, std::uint16_t{1U << (kExcess - 1)})));
        }
        return hn::Min(v, hn::Set(words, std::uint16_t{kMaxSample}));
    };
    std::size_t column = 0;
    for (; column + 2 * lanes <= width; column += 2 * lanes) {
        const auto lower = limited(source + 2 * column);
        const auto upper = limited(source + 2 * column + sizeof(ByteVector));
        const auto evens = hn::ConcatEven(words, upper, lower);
        const auto odds = hn::ConcatOdd(words, upper, lower);
        hn::StoreU(hn::BitCast(samples, evens), samples, even + column / 2);
        hn::StoreU(hn::BitCast(samples, odds), samples, odd + column / 2);
    }
    return column;
}

std::size_t splitVectors(const std::uint8_t* source, std::size_t width, const SampleFormat& format,
                         std::int16_t* even, std::int16_t* odd)
{
    if (format.bytes == 1) {
        return splitBytes(source, width, even, odd);
    }
    switch (format.excess) {
    case 0:
        return splitWords<0>(source, width, even, odd);
    case 2:
        return splitWords<2>(source, width, even, odd);
    case 4:
        return splitWords<4>(source, width, even, odd);
    case 6:
        return splitWords<6>(source, width, even, odd);
    default:
        return 0;
    }
}

#else

template <std::size_t kPhase>
void interpolateRowsOf(const RowPair& pair, const MosaicLayout& layout)
{
    interpolateRowScalar(pair.rows.data(), pair.width, layout, kPhase, layout.chromaFirst,
                         pair.targets[0]);
    interpolateRowScalar(pair.rows.data() + 1, pair.width, layout, 1 - kPhase, !layout.chromaFirst,
                         pair.targets[1]);
}

std::size_t splitVectors(const std::uint8_t*, std::size_t, const SampleFormat&, std::int16_t*,
                         std::int16_t*)
{
    return 0;
}

#endif

void interpolateTwoRows(const RowPair& pair, const MosaicLayout& layout)
{
    if (layout.chromaPhase == 0) {
        interpolateRowsOf<0>(pair, layout);
    } else {
        interpolateRowsOf<1>(pair, layout);
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
HWY_EXPORT(splitVectors);

std::int16_t sampleAt(const std::uint8_t* source, std::size_t column, const SampleFormat& format)
{
    if (format.bytes == 1) {
        return source[column];
    }
    std::uint16_t word = 0;
    std::memcpy(&word, source + 2 * column, sizeof word);
    const unsigned half = (1U << format.excess) >> 1U;
    const unsigned rounded = std::min(word + half, 0xFFFFU) >> format.excess;
    return static_cast<std::int16_t>(std::min<unsigned>(rounded, kMaxSample));
}

} // namespace

void interpolateRows(const RowPair& pair, const MosaicLayout& layout)
{
    HWY_DYNAMIC_DISPATCH(interpolateTwoRows)(pair, layout);
}

void splitRow(const std::uint8_t* source, std::size_t width, const SampleFormat& format,
              std::int16_t* even, std::int16_t* odd)
{
    std::size_t column = HWY_DYNAMIC_DISPATCH(splitVectors)(source, width, format, even, odd);
    for (; column < width; ++column) {
        (column % 2 == 0 ? even : odd)[column / 2] = sampleAt(source, column, format);
    }
}

} // namespace ZelComponents

#endif // HWY_ONCE
