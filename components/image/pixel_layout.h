// Which pixel types exist and what one pixel of them is made of.
#pragma once

#include "zel_image/pixel_type.h"

#include <cstdint>

namespace ZelComponents
{

/// True for the 133 codes of the format table.
bool isKnownPixelType(ZelPixelType type);

/// Components of one pixel of a known type: 1, 3 or 4.
std::uint32_t componentCount(ZelPixelType type);

} // namespace ZelComponents
