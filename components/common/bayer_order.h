// Where the colours of a Bayer mosaic lie.
#pragma once

#include "zel_image/pixel_type.h"

#include <cstddef>

namespace ZelComponents
{

/// True for the twenty unpacked Bayer types (8, 10, 12, 14, 16 bits in four orders).
constexpr bool isUnpackedBayer(ZelPixelType type)
{
    switch (type) {
    case ZelPixel::kBayerGR8:
    case ZelPixel::kBayerRG8:
    case ZelPixel::kBayerGB8:
    case ZelPixel::kBayerBG8:
    case ZelPixel::kBayerGR10:
    case ZelPixel::kBayerRG10:
    case ZelPixel::kBayerGB10:
    case ZelPixel::kBayerBG10:
    case ZelPixel::kBayerGR12:
    case ZelPixel::kBayerRG12:
    case ZelPixel::kBayerGB12:
    case ZelPixel::kBayerBG12:
    case ZelPixel::kBayerGR14:
    case ZelPixel::kBayerRG14:
    case ZelPixel::kBayerGB14:
    case ZelPixel::kBayerBG14:
    case ZelPixel::kBayerGR16:
    case ZelPixel::kBayerRG16:
    case ZelPixel::kBayerGB16:
    case ZelPixel::kBayerBG16:
        return true;
    default:
        return false;
    }
}

/// The first row of a mosaic; the second row has the other of red and blue, shifted by one.
struct BayerOrder {
    bool redFirst;           ///< The first row holds red and green, not blue and green.
    std::size_t chromaPhase; ///< Column (0 or 1) of its first red or blue sample.
};

/// Order of an unpacked Bayer type. Its rows of the format table come in fours: GR, RG, GB, BG.
constexpr BayerOrder bayerOrder(ZelPixelType type)
{
    const std::uint32_t index = (ZelPixel::row(type) - ZelPixel::row(ZelPixel::kBayerGR8)) % 4U;
    return BayerOrder{index < 2U, index % 2U == 0U ? std::size_t{1} : std::size_t{0}};
}

static_assert(bayerOrder(ZelPixel::kBayerGR12).redFirst);
static_assert(bayerOrder(ZelPixel::kBayerGR12).chromaPhase == 1);
static_assert(bayerOrder(ZelPixel::kBayerBG16).chromaPhase == 0);
static_assert(!bayerOrder(ZelPixel::kBayerGB8).redFirst);

} // namespace ZelComponents
