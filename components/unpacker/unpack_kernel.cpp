#include "unpacker/unpack_kernel.h"

#include "common/vector_targets.h"

#include <cstring>

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
using Words = hn::ScalableTag<std::uint16_t>;
using Bytes = hn::Repartition<std::uint8_t, Words>;
using WordVector = hn::Vec<Words>;
using ByteVector = hn::Vec<Bytes>;

constexpr std::size_t kPixelsPerBlock = 8; // 12 packed bytes fill one 128-bit block of words.
constexpr std::size_t kPackedBytesPerBlock = 12;

// Puts 12 bytes of packed pixels to the beginning of every 128-bit block.
HWY_INLINE ByteVector loadBlocks(const std::uint8_t* source)
{
    const Bytes bytes;
#if HWY_MAX_BYTES == 16
    return hn::LoadU(bytes, source);
#else
    const hn::Repartition<std::uint32_t, Bytes> dwords;
    HWY_ALIGN static constexpr std::uint32_t kBlockDwords[16] = {0, 1, 2, 2, 3, 4,  5,  5,
                                                                 6, 7, 8, 8, 9, 10, 11, 11};
    const auto packed = hn::BitCast(dwords, hn::LoadU(bytes, source));
    return hn::BitCast(bytes,
                       hn::TableLookupLanes(packed, hn::SetTableIndices(dwords, kBlockDwords)));
#endif
}

// Highway's own choice looks at whole lanes only.
HWY_INLINE WordVector chooseBits(WordVector mask, WordVector yes, WordVector no)
{
    return hn::OrAnd(hn::AndNot(mask, no), mask, yes);
}

template <PackedDepth kDepth> HWY_INLINE WordVector unpackVector(const std::uint8_t* source)
{
    const Words words;
    const Bytes bytes;
    // Words of a first pixel: low bits, high bits; of a second pixel: the same, bytes 1 and 2.
    HWY_ALIGN static constexpr std::uint8_t kPairs[16] = {1, 0, 1, 2, 4,  3, 4,  5,
                                                          7, 6, 7, 8, 10, 9, 10, 11};
    const WordVector pairs =
        hn::BitCast(words, hn::TableLookupBytes(loadBlocks(source), hn::LoadDup128(bytes, kPairs)));
    if constexpr (kDepth == PackedDepth::k12) {
        // A second pixel is the word shifted; a first pixel keeps its own low nibble.
        HWY_ALIGN static constexpr std::uint16_t kLowBits[8] = {15, 0, 15, 0, 15, 0, 15, 0};
        return chooseBits(hn::LoadDup128(words, kLowBits), pairs, hn::ShiftRight<4>(pairs));
    } else {
        const WordVector low = hn::OddEven(hn::ShiftRight<4>(pairs), pairs);
        return chooseBits(hn::Set(words, std::uint16_t{3}), low, hn::ShiftRight<6>(pairs));
    }
}

// Pixels up to where vectors begin at multiples of their size; 0 where they cannot with whole
// triples in front.
HWY_INLINE std::size_t pixelsUntilAligned(const std::uint8_t* target)
{
    const std::size_t size = hn::Lanes(Bytes());
    const auto beyond = static_cast<std::size_t>(reinterpret_cast<std::uintptr_t>(target) % size);
    return beyond % 4 == 0 ? (size - beyond) % size / 2 : 0;
}

// Unpacks as many whole vectors as the source holds; returns the pixels done.
template <PackedDepth kDepth>
std::size_t unpackVectors(const std::uint8_t* source, std::size_t pixels, std::uint8_t* target)
{
    const Words words;
    const std::size_t step = hn::Lanes(words);
    const std::size_t packedStep = step / kPixelsPerBlock * kPackedBytesPerBlock;
    const std::size_t sourceBytes = (pixels * 3 + 1) / 2;
    // A load reads a third more than it uses.
    const std::size_t loaded = hn::Lanes(Bytes());
    if (sourceBytes < loaded) {
        return 0;
    }
    const auto unpackAt = [&](std::size_t pixel, std::size_t offset) {
        const WordVector pixelWords = unpackVector<kDepth>(source + offset);
        hn::StoreU(hn::BitCast(Bytes(), pixelWords), Bytes(), target + 2 * pixel);
    };
    // Stores across cache lines cost: the first vector overlaps the second, and the others are
    // aligned.
    unpackAt(0, 0);
    std::size_t done = pixelsUntilAligned(target);
    if (done == 0) {
        done = step;
    }
    std::size_t offset = done / 2 * 3;
    for (; offset + loaded <= sourceBytes; offset += packedStep) {
        unpackAt(done, offset);
        done += step;
    }
    return done;
}

#else

template <PackedDepth kDepth>
std::size_t unpackVectors(const std::uint8_t*, std::size_t, std::uint8_t*)
{
    return 0;
}

#endif

std::size_t unpackVectors10(const std::uint8_t* source, std::size_t pixels, std::uint8_t* target)
{
    return unpackVectors<PackedDepth::k10>(source, pixels, target);
}

std::size_t unpackVectors12(const std::uint8_t* source, std::size_t pixels, std::uint8_t* target)
{
    return unpackVectors<PackedDepth::k12>(source, pixels, target);
}

} // namespace
} // namespace ZelComponents::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace ZelComponents
{

namespace
{

HWY_EXPORT(unpackVectors10);
HWY_EXPORT(unpackVectors12);

template <PackedDepth kDepth>
std::uint16_t unpackPixel(const std::uint8_t* source, std::size_t index)
{
    constexpr unsigned kHighShift = kDepth == PackedDepth::k10 ? 2 : 4;
    constexpr unsigned kLowMask = (1U << kHighShift) - 1U;
    const std::uint8_t* const triple = source + index / 2 * 3;
    const unsigned high = index % 2 == 0 ? triple[0] : triple[2];
    const unsigned low = index % 2 == 0 ? triple[1] : triple[1] >> 4U;
    return static_cast<std::uint16_t>(high << kHighShift | (low & kLowMask));
}

template <PackedDepth kDepth>
void unpackPixels(const std::uint8_t* source, std::size_t first, std::size_t pixels,
                  std::uint8_t* target)
{
    for (std::size_t i = 0; i < pixels; ++i) {
        const std::uint16_t pixel = unpackPixel<kDepth>(source, first + i);
        std::memcpy(target + 2 * i, &pixel, sizeof pixel);
    }
}

template <PackedDepth kDepth>
void unpackRunOf(const std::uint8_t* source, std::size_t first, std::size_t pixels,
                 std::uint8_t* target)
{
    const std::size_t untilTriple = first % 2 == 0 || pixels == 0 ? 0 : 1;
    unpackPixels<kDepth>(source, first, untilTriple, target);
    first += untilTriple;
    pixels -= untilTriple;
    target += 2 * untilTriple;

    const std::uint8_t* const triples = source + first / 2 * 3;
    const std::size_t done = kDepth == PackedDepth::k10
                                 ? HWY_DYNAMIC_DISPATCH(unpackVectors10)(triples, pixels, target)
                                 : HWY_DYNAMIC_DISPATCH(unpackVectors12)(triples, pixels, target);
    unpackPixels<kDepth>(triples, done, pixels - done, target + 2 * done);
}

} // namespace

void unpackRun(PackedDepth depth, const std::uint8_t* source, std::size_t first, std::size_t pixels,
               std::uint8_t* target)
{
    if (depth == PackedDepth::k10) {
        unpackRunOf<PackedDepth::k10>(source, first, pixels, target);
    } else {
        unpackRunOf<PackedDepth::k12>(source, first, pixels, target);
    }
}

} // namespace ZelComponents

#endif // HWY_ONCE
