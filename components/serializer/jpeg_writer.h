// Picture writer: JPEG.
#pragma once

#include "picture.h"

namespace serializer
{

/// JPEG of the quality in the options, colour with 4:2:0 chroma. -40007 for 16-bit gray and for
/// sides above 65500 pixels.
ZelCamErr writeJpeg(const Picture& picture, const WriteOptions& options, OutputFile& file);

} // namespace serializer
