// Colour formats that the converter component does not take, as RGB8.
#pragma once

#include "zel_image_api.h"

namespace common
{

/// Fills `target` (RGB8, size of the source) from RGBa8, BGRa8, RGB10 to RGB16, BGR10 to BGR16 and
/// the 8-bit YUV 4:2:2 orders (full range, BT.601). False, and `target` untouched, for other
/// formats. The caller has checked that the source's data is as large as its description says.
bool toRgb8(const ZelImage& source, ZelImage& target);

} // namespace common
