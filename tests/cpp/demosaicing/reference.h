// Demosaicing written plainly, to compare with.
#pragma once

#include "guarded_image.h"

#include <array>
#include <string>

namespace ImageTests
{

constexpr const char* kOrders[] = {"GRBG", "RGGB", "GBRG", "BGGR"};
constexpr unsigned kDepths[] = {8, 10, 12, 14, 16};

/// The Bayer type of an order (index into kOrders) and a depth.
ZelPixelType bayerType(std::size_t order, unsigned depth);

/// Sample of a mosaic reflected about its border samples.
int reflectedSample(const GuardedImage& mosaic, std::ptrdiff_t x, std::ptrdiff_t y);

/// Red, green and blue of a pixel by Malvar, He and Cutler's 5x5 filters.
std::array<std::uint8_t, 3> referencePixel(const GuardedImage& mosaic, const std::string& order,
                                           std::size_t x, std::size_t y);

} // namespace ImageTests
