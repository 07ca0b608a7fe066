#include "unpacker/unpack_kernel.h"

#include "common/vector_targets.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "unpacker/unpack_kernel.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ZelComponents::HWY_NAMESPACE
{
namespace
{

#if HWY_TARGET != HWY_SCALAR

namespace hn = hwy::HWY_NAMESPACE;

// Ten bytes a block cannot be spread over wide vectors by moving whole dwords.
template <PackedLayout kLayout>
using WordsOf = std::conditional_t<kLayout == PackedLayout::k10p, hn::CappedTag<std::uint16_t, 8>,
                                   hn::ScalableTag<std::uint16_t>>;

// Puts the packed bytes of eight pixels to the beginning of every 128-bit block.
template <class Bytes> HWY_INLINE hn::Vec<Bytes> loadBlocks(Bytes bytes, const std::uint8_t* source)
{
    if constexpr (hn::MaxLanes(Bytes()) == 16) {
        return hn::LoadU(bytes, source);
    } else {
        const hn::Repartition<std::uint32_t, Bytes> dwords;
        HWY_ALIGN static constexpr std::uint32_t kBlockDwords[16] = {0, 1, 2, 2, 3, 4,  5,  5,
                                                                     6, 7, 8, 8, 9, 10, 11, 11};
        const auto packed = hn::BitCast(dwords, hn::LoadU(bytes, source));
        return hn::BitCast(bytes,
                           hn::TableLookupLanes(packed, hn::SetTableIndices(dwords, kBlockDwords)));
    }
}

// Highway's own choice looks at whole lanes only.
template <class Vector> HWY_INLINE Vector chooseBits(Vector mask, Vector yes, Vector no)
{
    return hn::OrAnd(hn::AndNot(mask, no), mask, yes);
}

// For each pixel the two bytes that hold it, low byte first.
template <PackedLayout kLayout, class Words>
HWY_INLINE hn::Vec<Words> loadPairs(Words words, const std::uint8_t* source)
{
    HWY_ALIGN static constexpr std::uint8_t kPacked[16] = {1, 0, 1, 2, 4,  3, 4,  5,
                                                           7, 6, 7, 8, 10, 9, 10, 11};
    HWY_ALIGN static constexpr std::uint8_t k12p[16] = {0, 1, 1, 2, 3, 4,  4,  5,
                                                        6, 7, 7, 8, 9, 10, 10, 11};
    HWY_ALIGN static constexpr std::uint8_t k10p[16] = {0, 1, 1, 2, 2, 3, 3, 4,
                                                        5, 6, 6, 7, 7, 8, 8, 9};
    const hn::Repartition<std::uint8_t, Words> bytes;
    const std::uint8_t* pairs = kPacked;
    if constexpr (kLayout == PackedLayout::k12p) {
        pairs = k12p;
    } else if constexpr (kLayout == PackedLayout::k10p) {
        pairs = k10p;
    }
    return hn::BitCast(
        words, hn::TableLookupBytes(loadBlocks(bytes, source), hn::LoadDup128(bytes, pairs)));
}

template <PackedLayout kLayout, class Words>
HWY_INLINE hn::Vec<Words> unpackVector(Words words, const std::uint8_t* source)
{
    const auto pairs = loadPairs<kLayout>(words, source);
    if constexpr (kLayout == PackedLayout::k12Packed) {
        // A second pixel is the word shifted; a first pixel keeps its own low nibble.
        HWY_ALIGN static constexpr std::uint16_t kLowBits[8] = {15, 0, 15, 0, 15, 0, 15, 0};
        return chooseBits(hn::LoadDup128(words, kLowBits), pairs, hn::ShiftRight<4>(pairs));
    } else if constexpr (kLayout == PackedLayout::k10Packed) {
        const auto low = hn::OddEven(hn::ShiftRight<4>(pairs), pairs);
        return chooseBits(hn::Set(words, std::uint16_t{3}), low, hn::ShiftRight<6>(pairs));
    } else if constexpr (kLayout == PackedLayout::k12p) {
        return hn::OddEven(hn::ShiftRight<4>(pairs),
                           hn::And(pairs, hn::Set(words, std::uint16_t{0xFFF})));
    } else {
        // Each pixel to the top of its word, which drops the next one's bits.
        HWY_ALIGN static constexpr std::uint16_t kUp[8] = {64, 16, 4, 1, 64, 16, 4, 1};
        return hn::ShiftRight<6>(pairs * hn::LoadDup128(words, kUp));
    }
}

// Pixels up to where vectors begin at multiples of their size; 0 where they cannot with whole
// groups in front.
HWY_INLINE std::size_t pixelsUntilAligned(const std::uint8_t* target, std::size_t size,
                                          std::size_t group)
{
    const auto beyond = static_cast<std::size_t>(reinterpret_cast<std::uintptr_t>(target) % size);
    return beyond % (2 * group) == 0 ? (size - beyond) % size / 2 : 0;
}

// Unpacks as many whole vectors as the source holds; returns the pixels done.
template <PackedLayout kLayout>
std::size_t unpackVectors(const std::uint8_t* source, std::size_t sourceBytes, std::uint8_t* target,
                          int scale)
{
    const WordsOf<kLayout> words;
    const hn::Repartition<std::uint8_t, WordsOf<kLayout>> bytes;
    const std::size_t step = hn::Lanes(words);
    const std::size_t packedStep = step / groupPixels(kLayout) * groupBytes(kLayout);
    // A load reads more than it uses.
    const std::size_t loaded = hn::Lanes(bytes);
    if (sourceBytes < loaded) {
        return 0;
    }
    const auto unpackAt = [&](std::size_t pixel, std::size_t offset) {
        const auto pixelWords =
            hn::ShiftLeftSame(unpackVector<kLayout>(words, source + offset), scale);
        hn::StoreU(hn::BitCast(bytes, pixelWords), bytes, target + 2 * pixel);
    };
    // Stores across cache lines cost: the first vector overlaps the second, and the others are
    // aligned.
    unpackAt(0, 0);
    std::size_t done = pixelsUntilAligned(target, loaded, groupPixels(kLayout));
    if (done == 0) {
        done = step;
    }
    std::size_t offset = done / groupPixels(kLayout) * groupBytes(kLayout);
    for (; offset + loaded <= sourceBytes; offset += packedStep) {
        unpackAt(done, offset);
        done += step;
    }
    return done;
}

#else

template <PackedLayout kLayout>
std::size_t unpackVectors(const std::uint8_t*, std::size_t, std::uint8_t*, int)
{
    return 0;
}

#endif

std::size_t unpackWhole(PackedLayout layout, const std::uint8_t* source, std::size_t sourceBytes,
                        std::uint8_t* target, int scale)
{
    switch (layout) {
    case PackedLayout::k10Packed:
        return unpackVectors<PackedLayout::k10Packed>(source, sourceBytes, target, scale);
    case PackedLayout::k12Packed:
        return unpackVectors<PackedLayout::k12Packed>(source, sourceBytes, target, scale);
    case PackedLayout::k10p:
        return unpackVectors<PackedLayout::k10p>(source, sourceBytes, target, scale);
    default:
        return unpackVectors<PackedLayout::k12p>(source, sourceBytes, target, scale);
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

HWY_EXPORT(unpackWhole);

unsigned unpackPixel(PackedLayout layout, const std::uint8_t* source, std::size_t index)
{
    if (layout == PackedLayout::k10p || layout == PackedLayout::k12p) {
        const std::size_t bits = layout == PackedLayout::k10p ? 10 : 12;
        const std::uint8_t* const at = source + index * bits / 8;
        const unsigned pair = at[0] | unsigned{at[1]} << 8U;
        return pair >> index * bits % 8 & ((1U << bits) - 1U);
    }
    const unsigned lowBits = layout == PackedLayout::k10Packed ? 2 : 4;
    const std::uint8_t* const triple = source + index / 2 * 3;
    const unsigned high = index % 2 == 0 ? triple[0] : triple[2];
    const unsigned low = index % 2 == 0 ? triple[1] : triple[1] >> 4U;
    return high << lowBits | (low & ((1U << lowBits) - 1U));
}

void unpackPixels(PackedLayout layout, const std::uint8_t* source, std::size_t first,
                  std::size_t pixels, std::uint8_t* target, int scale)
{
    for (std::size_t i = 0; i < pixels; ++i) {
        const auto pixel =
            static_cast<std::uint16_t>(unpackPixel(layout, source, first + i) << scale);
        std::memcpy(target + 2 * i, &pixel, sizeof pixel);
    }
}

} // namespace

void unpackRun(PackedLayout layout, const std::uint8_t* source, std::size_t first,
               std::size_t pixels, std::uint8_t* target, int scale)
{
    const std::size_t group = groupPixels(layout);
    const std::size_t bytes = groupBytes(layout);
    const std::size_t untilGroup = std::min((group - first % group) % group, pixels);
    unpackPixels(layout, source, first, untilGroup, target, scale);
    pixels -= untilGroup;
    target += 2 * untilGroup;

    const std::uint8_t* const groups = source + (first + untilGroup) / group * bytes;
    const std::size_t done = HWY_DYNAMIC_DISPATCH(unpackWhole)(
        layout, groups, (pixels * bytes + group - 1) / group, target, scale);
    unpackPixels(layout, groups, done, pixels - done, target + 2 * done, scale);
}

} // namespace ZelComponents

#endif // HWY_ONCE
