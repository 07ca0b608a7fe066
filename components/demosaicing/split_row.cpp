#include "demosaicing/split_row.h"

#include "common/vector_targets.h"

#include <algorithm>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "demosaicing/split_row.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#ifndef ZEL_SPLIT_ROW_ONCE // This file includes itself once for every instruction set.
#define ZEL_SPLIT_ROW_ONCE

namespace ZelComponents
{

namespace
{

constexpr std::uint16_t kMaxSample = 1023;

} // namespace

} // namespace ZelComponents

#endif

#include "demosaicing/cover_row-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ZelComponents::HWY_NAMESPACE
{
namespace
{

#if HWY_TARGET != HWY_SCALAR

namespace hn = hwy::HWY_NAMESPACE;

using Samples = hn::ScalableTag<std::int16_t>;
using Bytes = hn::Repartition<std::uint8_t, Samples>;

std::size_t splitBytes(const std::uint8_t* source, std::size_t width, std::size_t aligned,
                       std::int16_t* even, std::int16_t* odd)
{
    const Samples samples;
    const hn::RebindToUnsigned<Samples> words;
    return coverRow(width, aligned, 2 * hn::Lanes(samples), [&](std::size_t column) HWY_ATTR {
        const auto pairs = hn::BitCast(words, hn::LoadU(Bytes(), source + column));
        const auto low = hn::And(pairs, hn::Set(words, std::uint16_t{0xFF}));
        hn::StoreU(hn::BitCast(samples, low), samples, even + column / 2);
        hn::StoreU(hn::BitCast(samples, hn::ShiftRight<8>(pairs)), samples, odd + column / 2);
    });
}

template <unsigned kExcess>
std::size_t splitWords(const std::uint8_t* source, std::size_t width, std::size_t aligned,
                       std::int16_t* even, std::int16_t* odd)
{
    const Samples samples;
    const hn::RebindToUnsigned<Samples> words;
    const auto limited = [&](const std::uint8_t* from) HWY_ATTR {
        auto v = hn::BitCast(words, hn::LoadU(Bytes(), from));
        if constexpr (kExcess != 0) {
            v = hn::ShiftRight<kExcess>(
                hn::SaturatedAdd(v, hn::Set(words, std::uint16_t{1U << (kExcess - 1)})));
        }
        return hn::Min(v, hn::Set(words, kMaxSample));
    };
    return coverRow(width, aligned, 2 * hn::Lanes(samples), [&](std::size_t column) HWY_ATTR {
        const auto lower = limited(source + 2 * column);
        const auto upper = limited(source + 2 * column + hn::Lanes(Bytes()));
        const auto evens = hn::ConcatEven(words, upper, lower);
        const auto odds = hn::ConcatOdd(words, upper, lower);
        hn::StoreU(hn::BitCast(samples, evens), samples, even + column / 2);
        hn::StoreU(hn::BitCast(samples, odds), samples, odd + column / 2);
    });
}

// Splits whole vectors only and returns the samples done.
std::size_t splitVectors(const std::uint8_t* source, std::size_t width, const SampleFormat& format,
                         std::size_t aligned, std::int16_t* even, std::int16_t* odd)
{
    if (format.bytes == 1) {
        return splitBytes(source, width, aligned, even, odd);
    }
    switch (format.excess) {
    case 0:
        return splitWords<0>(source, width, aligned, even, odd);
    case 2:
        return splitWords<2>(source, width, aligned, even, odd);
    case 4:
        return splitWords<4>(source, width, aligned, even, odd);
    case 6:
        return splitWords<6>(source, width, aligned, even, odd);
    default:
        return 0;
    }
}

#else

std::size_t splitVectors(const std::uint8_t*, std::size_t, const SampleFormat&, std::size_t,
                         std::int16_t*, std::int16_t*)
{
    return 0;
}

#endif

} // namespace
} // namespace ZelComponents::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace ZelComponents
{

namespace
{

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

void splitRow(const std::uint8_t* source, std::size_t width, const SampleFormat& format,
              std::size_t aligned, std::int16_t* even, std::int16_t* odd)
{
    const std::size_t done =
        HWY_DYNAMIC_DISPATCH(splitVectors)(source, width, format, aligned, even, odd);
    for (std::size_t column = done; column < width; ++column) {
        (column % 2 == 0 ? even : odd)[column / 2] = sampleAt(source, column, format);
    }
}

} // namespace ZelComponents

#endif // HWY_ONCE
