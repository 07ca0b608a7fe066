// Copies of frames, of sizes and at places that fit no vector.
#include "module/binding/large_copy.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

namespace
{

TEST(LargeCopy, CopiesAllBytesAndNoOthers)
{
    constexpr std::size_t kMost = (3U << 20U) + 1000;
    constexpr std::uint8_t kGuard = 0xC3;
    std::vector<std::uint8_t> from(kMost + 64);
    std::mt19937 random(5);
    std::generate(from.begin(), from.end(), [&] { return static_cast<std::uint8_t>(random()); });
    for (const std::size_t size : {std::size_t{1}, std::size_t{65537}, std::size_t{2U << 20U},
                                   (std::size_t{2} << 20U) + 255, kMost}) {
        for (const std::size_t shift : {0U, 1U, 31U}) {
            // No byte more than the source has, so that a sanitizer sees reads beyond it.
            const std::vector<std::uint8_t> exact(from.begin(),
                                                  from.begin() + static_cast<std::ptrdiff_t>(size));
            std::vector<std::uint8_t> to(size + 64, kGuard);
            binding::copyLarge(to.data() + shift, exact.data(), size);
            const auto begin = to.begin() + static_cast<std::ptrdiff_t>(shift);
            const auto end = begin + static_cast<std::ptrdiff_t>(size);
            EXPECT_TRUE(std::equal(begin, end, exact.begin())) << size << " at " << shift;
            const auto isGuard = [](std::uint8_t byte) { return byte == kGuard; };
            EXPECT_TRUE(std::all_of(to.begin(), begin, isGuard) &&
                        std::all_of(end, to.end(), isGuard))
                << size << " at " << shift;
        }
    }
}

} // namespace
