// The pixel formats with their component-index functions, found from the code itself.
#pragma once

#include "imaging/component_index.h"
#include "zel_image/image.h"
#include "zel_image/pixel_format_table.h"

#include <array>
#include <cstdint>

namespace imaging
{

struct PixelFormat {
    const char* name;         ///< For example "Mono8".
    const char* layout;       ///< Components of one pixel or mosaic cell, separated by one blank.
    std::uint32_t components; ///< Per pixel: 1, 3 or 4.
    std::uint32_t bits;       ///< Significant bits per component: 8, 10, 12, 14 or 16.
    ComponentIndex indexOf;   ///< Position of a component of this family.
    std::uint32_t phase;      ///< Phase 0 to 3 of a TrueSense mosaic, else 0.
    ZelPixelType code;
};

constexpr std::uint32_t kPixelFormatCount = ZelPixel::kFormatCount;

/// All rows; row number n of a code stands at position n - 1.
extern const std::array<PixelFormat, kPixelFormatCount> s_colorModelDescription;

/// The row of a pixel type, or null for a code that is not in the table.
const PixelFormat* findPixelFormat(ZelPixelType code);

/// Makes an image describe pixels of a type of the table: type, bits, components, packing and
/// depth, stored bits; it is no mosaic any more. Size and memory stay. False, and nothing changed,
/// for a code that is not in the table.
bool describePixels(ZelImage& image, ZelPixelType code);

} // namespace imaging
