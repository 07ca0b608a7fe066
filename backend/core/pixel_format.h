// The pixel formats that have both a PFNC code and a ZelPixelType.
#pragma once

#include "zel_image/pixel_type.h"

#include <cstdint>

namespace core
{

/// One format in both numberings.
struct PixelFormat {
    std::uint32_t pfnc;
    ZelPixelType type;
    std::uint32_t components; ///< Per pixel; what ZelImage::components counts.
};

/// The format with this PFNC code, or null for one that the image components do not know.
const PixelFormat* findPixelFormat(std::uint32_t pfnc);

/// Bits per pixel of a PFNC code, known to the image components or not: the code itself tells.
constexpr std::uint32_t pfncBitsPerPixel(std::uint32_t pfnc) { return (pfnc >> 16U) & 0xFFU; }

} // namespace core
