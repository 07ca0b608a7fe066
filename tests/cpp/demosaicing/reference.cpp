#include "reference.h"

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

int reflectedSample(const GuardedImage& mosaic, std::ptrdiff_t x, std::ptrdiff_t y)
{
    const std::size_t column = reflect(x, mosaic.image.size.width);
    const std::size_t row = reflect(y, mosaic.image.size.height);
    return mosaic.image.bitsPerComponent == 8 ? mosaic.row(row)[column]
                                              : static_cast<int>(mosaic.word(column, row));
}

std::array<std::uint8_t, 3> referencePixel(const GuardedImage& mosaic, const std::string& order,
                                           std::size_t x, std::size_t y)
{
    const int depth = static_cast<int>(mosaic.image.bitsPerComponent);
    const int toTen = std::max(depth - 10, 0);
    const int toEight = depth == 8 ? 4 : 6; // From sixteenths of 8 or 10 bits.
    std::array<std::uint8_t, 3> pixel{};
    for (std::size_t i = 0; i < 3; ++i) {
        const Filter& filter = filterFor("RGB"[i], order, x, y);
        int sum = 0;
        for (int dy = -2; dy <= 2; ++dy) {
            for (int dx = -2; dx <= 2; ++dx) {
                int sample = reflectedSample(mosaic, static_cast<std::ptrdiff_t>(x) + dx,
                                             static_cast<std::ptrdiff_t>(y) + dy);
                if (depth > 8) {
                    sample = std::min((sample + (1 << toTen) / 2) >> toTen, 1023);
                }
                sum += filter[static_cast<std::size_t>(dy + 2)][static_cast<std::size_t>(dx + 2)] *
                       sample;
            }
        }
        const int rounded = (sum + (1 << (toEight - 1))) >> toEight;
        pixel[i] = static_cast<std::uint8_t>(std::clamp(rounded, 0, 255));
    }
    return pixel;
}

} // namespace ImageTests
