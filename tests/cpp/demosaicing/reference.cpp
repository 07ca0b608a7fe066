#include "reference.h"

#include <utility>

namespace ImageTests
{

namespace
{

using Filter = std::array<std::array<int, 5>, 5>; // In sixteenths.

constexpr Filter kNone{{{0, 0, 0, 0, 0}, {0, 0, 0, 0, 0}, {0, 0, 16, 0, 0}}};
constexpr Filter kGreen{
    {{0, 0, -2, 0, 0}, {0, 0, 4, 0, 0}, {-2, 4, 8, 4, -2}, {0, 0, 4, 0, 0}, {0, 0, -2, 0, 0}}};
constexpr Filter kFromRow{
    {{0, 0, 1, 0, 0}, {0, -2, 0, -2, 0}, {-2, 8, 10, 8, -2}, {0, -2, 0, -2, 0}, {0, 0, 1, 0, 0}}};
constexpr Filter kFromColumn{
    {{0, 0, -2, 0, 0}, {0, -2, 8, -2, 0}, {1, 0, 10, 0, 1}, {0, -2, 8, -2, 0}, {0, 0, -2, 0, 0}}};
constexpr Filter kOpposite{
    {{0, 0, -3, 0, 0}, {0, 4, 0, 4, 0}, {-3, 0, 12, 0, -3}, {0, 4, 0, 4, 0}, {0, 0, -3, 0, 0}}};

const Filter& filterFor(char wanted, const std::string& order, std::size_t x, std::size_t y)
{
    const auto colourAt = [&](std::size_t column, std::size_t row) {
        return order[row % 2 * 2 + column % 2];
    };
    if (colourAt(x, y) == wanted) {
        return kNone;
    }
    if (wanted == 'G') {
        return kGreen;
    }
    if (colourAt(x, y) != 'G') {
        return kOpposite;
    }
    return colourAt(x + 1, y) == wanted ? kFromRow : kFromColumn;
}

std::size_t reflect(std::ptrdiff_t i, std::size_t count)
{
    const auto last = static_cast<std::ptrdiff_t>(count) - 1;
    while (last > 0 && (i < 0 || i > last)) {
        i = i < 0 ? -i : 2 * last - i;
    }
    return static_cast<std::size_t>(last > 0 ? i : 0);
}

} // namespace

ZelPixelType bayerType(std::size_t order, unsigned depth)
{
    constexpr ZelPixelType kFirst[] = {ZelPixel::kBayerGR8, ZelPixel::kBayerGR10,
                                       ZelPixel::kBayerGR12, ZelPixel::kBayerGR14,
                                       ZelPixel::kBayerGR16};
    return kFirst[(depth - 8) / 2] + static_cast<ZelPixelType>(order);
}

Reference::Reference(const GuardedImage& mosaic, std::string order)
    : order_(std::move(order)), toEight_(mosaic.image.bitsPerComponent == 8 ? 4 : 6),
      stride_(mosaic.image.size.width + 4)
{
    const int depth = static_cast<int>(mosaic.image.bitsPerComponent);
    const int toTen = std::max(depth - 10, 0);
    const ZelSize size = mosaic.image.size;
    for (std::size_t row = 0; row < size.height + 4U; ++row) {
        const std::size_t y = reflect(static_cast<std::ptrdiff_t>(row) - 2, size.height);
        for (std::size_t column = 0; column < stride_; ++column) {
            const std::size_t x = reflect(static_cast<std::ptrdiff_t>(column) - 2, size.width);
            const int sample =
                depth == 8
                    ? int{mosaic.row(y)[x]}
                    : std::min((static_cast<int>(mosaic.word(x, y)) + (1 << toTen) / 2) >> toTen,
                               1023);
            samples_.push_back(sample);
        }
    }
}

std::array<std::uint8_t, 3> Reference::pixel(std::size_t x, std::size_t y) const
{
    std::array<std::uint8_t, 3> pixel{};
    for (std::size_t i = 0; i < 3; ++i) {
        const Filter& filter = filterFor("RGB"[i], order_, x, y);
        int sum = 0;
        for (std::size_t row = 0; row < 5; ++row) {
            const int* const samples = &samples_[(y + row) * stride_ + x];
            for (std::size_t column = 0; column < 5; ++column) {
                sum += filter[row][column] * samples[column];
            }
        }
        const int rounded = (sum + (1 << (toEight_ - 1))) >> toEight_;
        pixel[i] = static_cast<std::uint8_t>(std::clamp(rounded, 0, 255));
    }
    return pixel;
}

} // namespace ImageTests
