// Where the colours of a Bayer mosaic lie.
#pragma once

#include "zel_image/pixel_format_table.h"

#include <cstddef>

namespace ZelComponents
{

using ZelPixel::isUnpackedBayer;

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
