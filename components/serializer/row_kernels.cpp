#include "row_kernels.h"

#include <algorithm>

// Compiled once per instruction set: this file includes itself.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "serializer/row_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace serializer
{
namespace HWY_NAMESPACE
{

namespace hn = hwy::HWY_NAMESPACE;

void swapRedBlueRow(const unsigned char* from, unsigned char* to, std::size_t pixels)
{
    std::size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const hn::ScalableTag<std::uint8_t> d;
    for (const std::size_t step = hn::Lanes(d); x + step <= pixels; x += step) {
        hn::Vec<decltype(d)> first, second, third;
        hn::LoadInterleaved3(d, from + 3 * x, first, second, third);
        hn::StoreInterleaved3(third, second, first, d, to + 3 * x);
    }
#endif
    for (; x < pixels; ++x) {
        to[3 * x] = from[3 * x + 2];
        to[3 * x + 1] = from[3 * x + 1];
        to[3 * x + 2] = from[3 * x];
    }
}

void toBigEndianRow(const unsigned char* from, unsigned char* to, std::size_t count,
                    std::uint32_t bits, bool scale)
{
    const auto maxValue = static_cast<std::uint16_t>((1U << bits) - 1U);
    // Full 16-bit samples have nothing to repeat.
    const bool stretch = scale && bits < 16;
    const auto up = static_cast<int>(16 - bits);
    const auto down = static_cast<int>(2 * bits - 16);
    std::size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const hn::ScalableTag<std::uint16_t> d;
    const hn::Repartition<std::uint8_t, decltype(d)> bytes;
    const auto limit = hn::Set(d, maxValue);
    for (const std::size_t step = hn::Lanes(d); x + step <= count; x += step) {
        auto value = hn::Min(hn::BitCast(d, hn::LoadU(bytes, from + 2 * x)), limit);
        if (stretch) {
            value = hn::Or(hn::ShiftLeftSame(value, up), hn::ShiftRightSame(value, down));
        }
        value = hn::Or(hn::ShiftLeft<8>(value), hn::ShiftRight<8>(value));
        hn::StoreU(hn::BitCast(bytes, value), bytes, to + 2 * x);
    }
#endif
    for (; x < count; ++x) {
        const unsigned sample = from[2 * x] | unsigned{from[2 * x + 1]} << 8U;
        unsigned value = std::min<unsigned>(sample, maxValue);
        if (stretch) {
            value = value << static_cast<unsigned>(up) | value >> static_cast<unsigned>(down);
        }
        to[2 * x] = static_cast<unsigned char>(value >> 8U);
        to[2 * x + 1] = static_cast<unsigned char>(value & 0xFFU);
    }
}

void averageFilterRow(const unsigned char* row, const unsigned char* above, unsigned char* to,
                      std::size_t size, std::size_t pixelBytes)
{
    std::size_t i = 0;
    for (; i < pixelBytes && i < size; ++i) {
        to[i] = static_cast<unsigned char>(row[i] - above[i] / 2U);
    }
#if HWY_TARGET != HWY_SCALAR
    const hn::ScalableTag<std::uint8_t> d;
    const auto one = hn::Set(d, 1);
    for (const std::size_t step = hn::Lanes(d); i + step <= size; i += step) {
        const auto left = hn::LoadU(d, row + i - pixelBytes);
        const auto up = hn::LoadU(d, above + i);
        // The instruction rounds up.
        const auto mean = hn::Sub(hn::AverageRound(left, up), hn::And(hn::Xor(left, up), one));
        hn::StoreU(hn::Sub(hn::LoadU(d, row + i), mean), d, to + i);
    }
#endif
    for (; i < size; ++i) {
        to[i] = static_cast<unsigned char>(row[i] - (row[i - pixelBytes] + above[i]) / 2U);
    }
}

} // namespace HWY_NAMESPACE
} // namespace serializer
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace serializer
{

HWY_EXPORT(swapRedBlueRow);
HWY_EXPORT(toBigEndianRow);
HWY_EXPORT(averageFilterRow);

void swapRedBlue(const unsigned char* from, unsigned char* to, std::size_t pixels)
{
    HWY_DYNAMIC_DISPATCH(swapRedBlueRow)(from, to, pixels);
}

void toBigEndian(const unsigned char* from, unsigned char* to, std::size_t count,
                 std::uint32_t bits, bool scale)
{
    HWY_DYNAMIC_DISPATCH(toBigEndianRow)(from, to, count, bits, scale);
}

void averageFilter(const unsigned char* row, const unsigned char* above, unsigned char* to,
                   std::size_t size, std::size_t pixelBytes)
{
    HWY_DYNAMIC_DISPATCH(averageFilterRow)(row, above, to, size, pixelBytes);
}

} // namespace serializer
#endif
