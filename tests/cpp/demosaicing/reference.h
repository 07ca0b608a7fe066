// Demosaicing written plainly, to compare with.
#pragma once

#include "guarded_image.h"

#include <array>
#include <string>
#include <vector>

namespace ImageTests
{

constexpr const char* kOrders[] = {"GRBG", "RGGB", "GBRG", "BGGR"};
constexpr unsigned kDepths[] = {8, 10, 12, 14, 16};

/// The Bayer type of an order (index into kOrders) and a depth.
ZelPixelType bayerType(std::size_t order, unsigned depth);

/// The picture that a mosaic should give.
class Reference
{
public:
    Reference(const GuardedImage& mosaic, std::string order);

    /// Red, green and blue of a pixel by Malvar, He and Cutler's 5x5 filters.
    std::array<std::uint8_t, 3> pixel(std::size_t x, std::size_t y) const;

private:
    std::string order_;
    int toEight_;              // Shift from sixteenths of a sample.
    std::size_t stride_;       // Of samples_, which reach two beyond every border.
    std::vector<int> samples_; // 8 or 10 bits.
};

} // namespace ImageTests
