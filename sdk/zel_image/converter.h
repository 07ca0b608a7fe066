// Conversion between unpacked formats (libZelImageConverter.so).
#pragma once

#include "../zel_err.h"
#include "image.h"

struct ZelImageConverter;

extern "C" {

/// A new converter; null for want of memory. One thread at a time.
ZEL_API ZelImageConverter* ZelImageConverter_CreateComponent();

/// Converts the source into the target's pixel type; sizes must be equal. Known: Mono8, 10, 12, 14,
/// 16 to Mono8 (exact truncation, x >> n; Mono8 is a copy), RGB8 to BGR8 and back and to
/// themselves, Mono8 to 16 to RGB8 or BGR8, RGB8 and BGR8 to Mono8 (BT.601 luma). -40007 for any
/// other pair, for sizes that differ and for null.
ZEL_API ZelCamErr ZelImageConverter_ConvertImage(ZelImageConverter* converter,
                                                 const ZelImage* source, ZelImage* target);

/// Frees a converter; null is accepted.
ZEL_API void ZelImageConverter_DeleteComponent(ZelImageConverter* converter);
}
