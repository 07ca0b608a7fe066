#include "converter/convert_kernel.h"

#include "common/vector_targets.h"

#include <algorithm>
#include <cstring>

#ifndef ZEL_CONVERT_KERNEL_ONCE // This file includes itself once for every instruction set.
#define ZEL_CONVERT_KERNEL_ONCE

namespace ZelComponents
{

namespace
{

// Converts whole vectors only and returns the pixels done.
using ConvertVectors = std::size_t (*)(const std::uint8_t* source, std::uint8_t* target,
                                       std::size_t pixels);

// Luma weights, fractions of 65536. The weighted parts are cut to 256ths; the rounding term makes
// up for the half 256th that each of two of them loses on average.
constexpr std::uint16_t kRedWeight = 19595;
constexpr std::uint16_t kGreenWeight = 38470;
constexpr std::uint16_t kBlueWeight = 7471;
constexpr std::uint16_t kLumaRounding = 129;

} // namespace

} // namespace ZelComponents

#endif

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "converter/convert_kernel.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ZelComponents::HWY_NAMESPACE
{
namespace
{

#if HWY_TARGET != HWY_SCALAR

namespace hn = hwy::HWY_NAMESPACE;
using Bytes = hn::ScalableTag<std::uint8_t>;
using Words = hn::Repartition<std::uint16_t, Bytes>;
using ByteVector = hn::Vec<Bytes>;
using WordVector = hn::Vec<Words>;

template <int kShift> HWY_INLINE WordVector narrowedWords(const std::uint8_t* source)
{
    const WordVector words = hn::BitCast(Words(), hn::LoadU(Bytes(), source));
    return hn::Min(hn::ShiftRight<kShift>(words), hn::Set(Words(), std::uint16_t{255}));
}

// The bytes of as many words as a vector has bytes.
template <int kShift> HWY_INLINE ByteVector narrowed(const std::uint8_t* source)
{
    const Bytes bytes;
    const std::size_t lanes = hn::Lanes(bytes);
    if constexpr (kShift == 8) {
        return hn::ConcatOdd(bytes, hn::LoadU(bytes, source + lanes), hn::LoadU(bytes, source));
    } else {
        return hn::ConcatEven(bytes, hn::BitCast(bytes, narrowedWords<kShift>(source + lanes)),
                              hn::BitCast(bytes, narrowedWords<kShift>(source)));
    }
}

template <int kShift>
std::size_t narrowVectors(const std::uint8_t* source, std::uint8_t* target, std::size_t pixels)
{
    const Bytes bytes;
    const std::size_t step = hn::Lanes(bytes);
    std::size_t done = 0;
    for (; done + step <= pixels; done += step) {
        hn::StoreU(narrowed<kShift>(source + 2 * done), bytes, target + done);
    }
    return done;
}

template <int kShift>
std::size_t tripleVectors(const std::uint8_t* source, std::uint8_t* target, std::size_t pixels)
{
    const Bytes bytes;
    const std::size_t step = hn::Lanes(bytes);
    std::size_t done = 0;
    for (; done + step <= pixels; done += step) {
        ByteVector grey;
        if constexpr (kShift == 0) {
            grey = hn::LoadU(bytes, source + done);
        } else {
            grey = narrowed<kShift>(source + 2 * done);
        }
        hn::StoreInterleaved3(grey, grey, grey, bytes, target + 3 * done);
    }
    return done;
}

// Five pixels of every 16 bytes at a time. Byte 16 stays what it is, as the first of a pixel yet to
// come.
std::size_t swapVectors(const std::uint8_t* source, std::uint8_t* target, std::size_t pixels)
{
    const hn::CappedTag<std::uint8_t, 16> block;
    HWY_ALIGN static constexpr std::uint8_t kOrder[16] = {2, 1,  0,  5, 4,  3,  8,  7,
                                                          6, 11, 10, 9, 14, 13, 12, 15};
    const auto order = hn::Load(block, kOrder);
    std::size_t done = 0;
    for (; done + 6 <= pixels; done += 5) {
        const auto bytes = hn::LoadU(block, source + 3 * done);
        hn::StoreU(hn::TableLookupBytes(bytes, order), block, target + 3 * done);
    }
    return done;
}

HWY_INLINE WordVector luma(WordVector red, WordVector green, WordVector blue)
{
    const Words words;
    const WordVector redPart = hn::MulHigh(red, hn::Set(words, kRedWeight));
    const WordVector greenPart = hn::MulHigh(green, hn::Set(words, kGreenWeight));
    const WordVector bluePart = hn::MulHigh(blue, hn::Set(words, kBlueWeight));
    const WordVector sum = hn::Add(hn::Add(redPart, greenPart), bluePart);
    return hn::ShiftRight<8>(hn::Add(sum, hn::Set(words, kLumaRounding)));
}

HWY_INLINE ByteVector luma(ByteVector red, ByteVector green, ByteVector blue)
{
    const Bytes bytes;
    const Words words;
    const auto evenTimes256 = [&](ByteVector v) { return hn::ShiftLeft<8>(hn::BitCast(words, v)); };
    const auto oddTimes256 = [&](ByteVector v) {
        return hn::And(hn::BitCast(words, v), hn::Set(words, std::uint16_t{0xFF00}));
    };
    const WordVector even = luma(evenTimes256(red), evenTimes256(green), evenTimes256(blue));
    const WordVector odd = luma(oddTimes256(red), oddTimes256(green), oddTimes256(blue));
    return hn::BitCast(bytes, hn::Or(even, hn::ShiftLeft<8>(odd)));
}

template <bool kRedFirst>
std::size_t lumaVectors(const std::uint8_t* source, std::uint8_t* target, std::size_t pixels)
{
    const Bytes bytes;
    const std::size_t step = hn::Lanes(bytes);
    std::size_t done = 0;
    for (; done + step <= pixels; done += step) {
        ByteVector first;
        ByteVector second;
        ByteVector third;
        hn::LoadInterleaved3(bytes, source + 3 * done, first, second, third);
        const ByteVector grey = kRedFirst ? luma(first, second, third) : luma(third, second, first);
        hn::StoreU(grey, bytes, target + done);
    }
    return done;
}

// In the order of Conversion.
constexpr ConvertVectors kVectorFunctions[] = {
    narrowVectors<2>, narrowVectors<4>, narrowVectors<6>,  narrowVectors<8>,
    tripleVectors<0>, tripleVectors<2>, tripleVectors<4>,  tripleVectors<6>,
    tripleVectors<8>, swapVectors,      lumaVectors<true>, lumaVectors<false>,
};

ConvertVectors vectorFunction(std::size_t index) { return kVectorFunctions[index]; }

#else

std::size_t convertNothing(const std::uint8_t*, std::uint8_t*, std::size_t) { return 0; }

ConvertVectors vectorFunction(std::size_t) { return convertNothing; }

#endif

} // namespace
} // namespace ZelComponents::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace ZelComponents
{

namespace
{

HWY_EXPORT(vectorFunction);

template <unsigned kShift> std::uint8_t narrowedPixel(const std::uint8_t* source, std::size_t index)
{
    if constexpr (kShift == 0) {
        return source[index];
    } else {
        std::uint16_t word = 0;
        std::memcpy(&word, source + 2 * index, sizeof word);
        return static_cast<std::uint8_t>(std::min(word >> kShift, 255));
    }
}

template <unsigned kShift>
void narrowPixels(const std::uint8_t* source, std::uint8_t* target, std::size_t pixels)
{
    for (std::size_t i = 0; i < pixels; ++i) {
        target[i] = narrowedPixel<kShift>(source, i);
    }
}

template <unsigned kShift>
void triplePixels(const std::uint8_t* source, std::uint8_t* target, std::size_t pixels)
{
    for (std::size_t i = 0; i < pixels; ++i) {
        std::fill_n(target + 3 * i, 3, narrowedPixel<kShift>(source, i));
    }
}

void swapPixels(const std::uint8_t* source, std::uint8_t* target, std::size_t pixels)
{
    for (std::size_t i = 0; i < 3 * pixels; i += 3) {
        target[i] = source[i + 2];
        target[i + 1] = source[i + 1];
        target[i + 2] = source[i];
    }
}

template <bool kRedFirst>
void lumaPixels(const std::uint8_t* source, std::uint8_t* target, std::size_t pixels)
{
    const auto part = [](std::uint32_t sample, std::uint32_t weight) {
        return sample * 256U * weight >> 16U;
    };
    for (std::size_t i = 0; i < pixels; ++i) {
        const std::uint8_t* const pixel = source + 3 * i;
        const std::uint32_t sum = part(pixel[kRedFirst ? 0 : 2], kRedWeight) +
                                  part(pixel[1], kGreenWeight) +
                                  part(pixel[kRedFirst ? 2 : 0], kBlueWeight);
        target[i] = static_cast<std::uint8_t>((sum + kLumaRounding) >> 8U);
    }
}

using ConvertPixels = void (*)(const std::uint8_t*, std::uint8_t*, std::size_t);

struct PixelFunction {
    Conversion conversion;
    ConvertPixels convert;
    std::size_t sourceBytes; // Of one pixel.
    std::size_t targetBytes;
};

constexpr PixelFunction kPixelFunctions[] = {
    {Conversion::kNarrow10, narrowPixels<2>, 2, 1},
    {Conversion::kNarrow12, narrowPixels<4>, 2, 1},
    {Conversion::kNarrow14, narrowPixels<6>, 2, 1},
    {Conversion::kNarrow16, narrowPixels<8>, 2, 1},
    {Conversion::kTriple8, triplePixels<0>, 1, 3},
    {Conversion::kTriple10, triplePixels<2>, 2, 3},
    {Conversion::kTriple12, triplePixels<4>, 2, 3},
    {Conversion::kTriple14, triplePixels<6>, 2, 3},
    {Conversion::kTriple16, triplePixels<8>, 2, 3},
    {Conversion::kSwap, swapPixels, 3, 3},
    {Conversion::kLumaOfRgb, lumaPixels<true>, 3, 1},
    {Conversion::kLumaOfBgr, lumaPixels<false>, 3, 1},
};

constexpr bool rowsMatchPositions()
{
    std::size_t position = 0;
    for (const PixelFunction& function : kPixelFunctions) {
        if (static_cast<std::size_t>(function.conversion) != position++) {
            return false;
        }
    }
    return true;
}
static_assert(rowsMatchPositions());

} // namespace

void convertRun(Conversion conversion, const std::uint8_t* source, std::uint8_t* target,
                std::size_t pixels)
{
    const auto index = static_cast<std::size_t>(conversion);
    const std::size_t done = HWY_DYNAMIC_DISPATCH(vectorFunction)(index)(source, target, pixels);
    const PixelFunction& rest = kPixelFunctions[index];
    rest.convert(source + done * rest.sourceBytes, target + done * rest.targetBytes, pixels - done);
}

} // namespace ZelComponents

#endif // HWY_ONCE
