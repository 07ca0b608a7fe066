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

// The sums of a piece so small that its weighted sum stays in 32 bits, added to earlier ones.
void addToAdler(const unsigned char* data, std::size_t size, std::uint64_t& sum,
                std::uint64_t& weighted)
{
    std::size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
    const hn::CappedTag<std::uint8_t, 32> bytes;
    const hn::RepartitionToWide<decltype(bytes)> unsignedWords;
    const hn::RebindToSigned<decltype(unsignedWords)> words;
    const hn::RepartitionToWide<decltype(words)> sums;
    const hn::RepartitionToWide<hn::RepartitionToWide<decltype(unsignedWords)>> counts;
    const hn::Half<decltype(bytes)> half;
    const std::size_t step = hn::Lanes(bytes);
    // A byte counts as often as there are bytes from it to the end of its vector.
    const auto last = hn::Set(words, static_cast<std::int16_t>(step));
    const auto lowWeights = last - hn::Iota(words, 0);
    const auto highWeights = lowWeights - hn::Set(words, static_cast<std::int16_t>(step / 2));
    auto inVector = hn::Zero(sums);
    auto inVectorToo = hn::Zero(sums);
    auto plain = hn::Zero(counts);
    auto before = hn::Zero(counts); // The plain sums in front of each vector.
    for (; i + step <= size; i += step) {
        const auto low = hn::PromoteTo(words, hn::LoadU(half, data + i));
        const auto high = hn::PromoteTo(words, hn::LoadU(half, data + i + step / 2));
        inVector = hn::ReorderWidenMulAccumulate(sums, low, lowWeights, inVector, inVectorToo);
        inVector = hn::ReorderWidenMulAccumulate(sums, high, highWeights, inVector, inVectorToo);
        before = before + plain;
        plain = plain + hn::SumsOf8(hn::LoadU(bytes, data + i));
    }
    const std::uint64_t bytesSum = hn::GetLane(hn::SumOfLanes(counts, plain));
    const auto inVectors =
        static_cast<std::uint32_t>(hn::GetLane(hn::SumOfLanes(sums, inVector + inVectorToo)));
    weighted += i * sum + step * hn::GetLane(hn::SumOfLanes(counts, before)) + inVectors;
    sum += bytesSum;
#endif
    for (; i < size; ++i) {
        sum += data[i];
        weighted += sum;
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
HWY_EXPORT(addToAdler);

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

std::uint32_t adlerOf(const unsigned char* data, std::size_t size)
{
    constexpr std::uint64_t kModulus = 65521;
    constexpr std::size_t kPiece = 4096;
    std::uint64_t sum = 1;
    std::uint64_t weighted = 0;
    for (std::size_t i = 0; i < size; i += kPiece) {
        HWY_DYNAMIC_DISPATCH(addToAdler)(data + i, std::min(kPiece, size - i), sum, weighted);
        sum %= kModulus;
        weighted %= kModulus;
    }
    return static_cast<std::uint32_t>(weighted << 16U | sum);
}

} // namespace serializer
#endif
