// Conversion kernels on every instruction set of this machine against plain arithmetic.
#include "common/cpu_targets.h"
#include "serializer/movie/frame_kernels.h"
#include "serializer/row_kernels.h"

#include <gtest/gtest.h>
#include <hwy/highway.h>

#include <cmath>
#include <functional>
#include <random>
#include <vector>

namespace
{

using Bytes = std::vector<unsigned char>;
constexpr unsigned char kGuard = 0xC3;

Bytes noise(std::size_t size, unsigned seed)
{
    std::mt19937 random(seed);
    Bytes out(size);
    for (unsigned char& byte : out) {
        // A third each of black, white and anything: overflow shows at the ends of the range.
        const unsigned value = static_cast<unsigned>(random());
        byte = static_cast<unsigned char>(value % 3 == 0 ? 0 : value % 3 == 1 ? 255 : value >> 8);
    }
    return out;
}

void onEveryTarget(const std::function<void()>& check)
{
    const auto all = static_cast<std::uint64_t>(hwy::SupportedTargets());
    for (std::uint64_t one = 1; one != 0; one <<= 1U) {
        if ((all & one) != 0) {
            const auto bit = static_cast<std::int64_t>(one);
            SCOPED_TRACE(hwy::TargetName(bit));
            hwy::SetSupportedTargetsForTest(bit);
            hwy::GetChosenTarget().Update(hwy::SupportedTargets());
            check();
            hwy::SetSupportedTargetsForTest(0);
        }
    }
    hwy::GetChosenTarget().DeInit();
}

TEST(CpuTargets, AreWhatHighwayFinds)
{
    constexpr std::int64_t kKnown = HWY_SSSE3 | HWY_SSE4 | HWY_AVX2 | HWY_AVX3 | HWY_STATIC_TARGET;
    EXPECT_EQ(ZelComponents::supportedTargets() & kKnown, hwy::SupportedTargets() & kKnown);
    EXPECT_EQ(ZelComponents::supportedTargets() & ~kKnown, 0);
}

struct Planes {
    Bytes y0, y1, u, v;
};

double at(const Bytes& row, std::size_t x, unsigned c) { return row[3 * x + c]; }

// BT.601 from its definition. `red` is red's place in a pixel.
void expectPlanes(const Bytes& upper, const Bytes& lower, std::size_t width, unsigned red,
                  bool full, const Planes& got)
{
    const double yScale = full ? 1.0 : 219.0 / 255.0;
    const double cScale = full ? 1.0 : 224.0 / 255.0;
    const auto luma = [&](double r, double g, double b) {
        return 0.299 * r + 0.587 * g + 0.114 * b;
    };
    for (std::size_t x = 0; x < width; ++x) {
        const auto y = [&](const Bytes& row) {
            return luma(at(row, x, red), at(row, x, 1), at(row, x, 2 - red)) * yScale +
                   (full ? 0 : 16);
        };
        ASSERT_NEAR(got.y0[x], y(upper), 0.52) << x;
        ASSERT_NEAR(got.y1[x], y(lower), 0.52) << x;
        const std::size_t left = x & ~std::size_t{1};
        const std::size_t right = left + 1 < width ? left + 1 : left;
        const auto mean = [&](unsigned c) {
            return (at(upper, left, c) + at(upper, right, c) + at(lower, left, c) +
                    at(lower, right, c)) /
                   4;
        };
        const double gray = luma(mean(red), mean(1), mean(2 - red));
        ASSERT_NEAR(got.u[x / 2], 128 + (mean(2 - red) - gray) / 1.772 * cScale, 0.52) << x;
        ASSERT_NEAR(got.v[x / 2], 128 + (mean(red) - gray) / 1.402 * cScale, 0.52) << x;
    }
    EXPECT_EQ(got.y0[width], kGuard);
    EXPECT_EQ(got.y1[width], kGuard);
    EXPECT_EQ(got.u[(width + 1) / 2], kGuard);
    EXPECT_EQ(got.v[(width + 1) / 2], kGuard);
}

} // namespace

TEST(FrameKernels, ColourToPlanarIsWithinRoundingOnEveryTarget)
{
    onEveryTarget([] {
        for (std::size_t width = 1; width <= 200; ++width) {
            const Bytes upper = noise(3 * width, static_cast<unsigned>(width));
            const Bytes lower = noise(3 * width, static_cast<unsigned>(width) + 1000);
            for (const bool full : {false, true}) {
                for (const bool rgb : {false, true}) {
                    const Bytes luma(width + 1, kGuard);
                    const Bytes chroma((width + 1) / 2 + 1, kGuard);
                    Planes got = {luma, luma, chroma, chroma};
                    movie::colourToPlanar({upper.data(), lower.data(), got.y0.data(), got.y1.data(),
                                           got.u.data(), got.v.data(), width},
                                          rgb ? movie::ColourOrder::kRgb : movie::ColourOrder::kBgr,
                                          full ? movie::fullRange() : movie::limitedRange());
                    ASSERT_NO_FATAL_FAILURE(
                        expectPlanes(upper, lower, width, rgb ? 0 : 2, full, got));
                }
            }
        }
    });
}

TEST(FrameKernels, GrayIsScaledAndWidened)
{
    Bytes gray(256);
    for (unsigned i = 0; i < 256; ++i) {
        gray[i] = static_cast<unsigned char>(i);
    }
    onEveryTarget([&] {
        for (const std::size_t width : {1U, 15U, 17U, 63U, 130U, 256U}) {
            Bytes got(width + 1, kGuard);
            movie::grayToLuma(gray.data(), got.data(), width, movie::limitedRange());
            for (std::size_t x = 0; x < width; ++x) {
                ASSERT_NEAR(got[x], 16 + gray[x] * 219.0 / 255.0, 0.51);
            }
            EXPECT_EQ(got[width], kGuard);
            const Bytes colour = noise(3 * width, 4);
            Bytes wide(4 * width + 1, kGuard);
            movie::colourToBgrx(colour.data(), wide.data(), width, movie::ColourOrder::kRgb);
            for (std::size_t x = 0; x < width; ++x) {
                ASSERT_EQ(wide[4 * x], colour[3 * x + 2]);
                ASSERT_EQ(wide[4 * x + 1], colour[3 * x + 1]);
                ASSERT_EQ(wide[4 * x + 2], colour[3 * x]);
            }
            EXPECT_EQ(wide[4 * width], kGuard);
        }
    });
}

TEST(RowKernels, SwapAndByteOrderOnEveryTarget)
{
    onEveryTarget([] {
        for (std::size_t width = 0; width <= 200; ++width) {
            const Bytes from = noise(3 * width, static_cast<unsigned>(width));
            Bytes to(3 * width + 1, kGuard);
            serializer::swapRedBlue(from.data(), to.data(), width);
            for (std::size_t i = 0; i < 3 * width; ++i) {
                ASSERT_EQ(to[i], from[i - i % 3 + 2 - i % 3]) << i;
            }
            EXPECT_EQ(to[3 * width], kGuard);
            for (const unsigned bits : {10U, 12U, 14U, 16U}) {
                for (const bool scale : {false, true}) {
                    // An odd address: rows of a packed frame may start anywhere.
                    const Bytes words = noise(2 * width + 1, bits);
                    Bytes big(2 * width + 1, kGuard);
                    serializer::toBigEndian(words.data() + 1, big.data(), width, bits, scale);
                    for (std::size_t i = 0; i < width; ++i) {
                        const unsigned value = std::min(
                            words[2 * i + 1] | unsigned{words[2 * i + 2]} << 8, (1U << bits) - 1);
                        const double want =
                            scale ? value * 65535.0 / ((1U << bits) - 1) : double(value);
                        ASSERT_NEAR(big[2 * i] * 256.0 + big[2 * i + 1], want, scale ? 1 : 0);
                    }
                    EXPECT_EQ(big[2 * width], kGuard);
                }
            }
        }
    });
}

TEST(RowKernels, AverageFilterCanBeUndoneAndCheckSumsAreRight)
{
    onEveryTarget([] {
        for (std::size_t size = 1; size <= 200; ++size) {
            const Bytes row = noise(size, static_cast<unsigned>(size));
            const Bytes above = noise(size, static_cast<unsigned>(size) + 500);
            for (const std::size_t pixel : {1U, 2U, 3U}) {
                Bytes got(size + 1, kGuard);
                serializer::averageFilter(row.data(), above.data(), got.data(), size, pixel);
                for (std::size_t i = 0; i < size; ++i) {
                    const unsigned left = i < pixel ? 0U : row[i - pixel];
                    const unsigned undone = got[i] + (left + above[i]) / 2U;
                    ASSERT_EQ(undone & 0xFFU, row[i]) << size << " " << i;
                }
                EXPECT_EQ(got[size], kGuard);
            }
            const Bytes all(size * 50, row.empty() ? 0 : row.back());
            for (const Bytes& data : {row, all}) {
                std::uint32_t sum = 1;
                std::uint32_t weighted = 0;
                for (const unsigned char byte : data) {
                    sum = (sum + byte) % 65521U;
                    weighted = (weighted + sum) % 65521U;
                }
                ASSERT_EQ(serializer::adlerOf(data.data(), data.size()), weighted << 16U | sum);
            }
        }
    });
}
