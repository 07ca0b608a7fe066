// Picture writer: TIFF.
#pragma once

#include "picture.h"

namespace serializer
{

/// TIFF, uncompressed: 8-bit gray and colour, 16-bit gray with unscaled values and their largest
/// possible one as MaxSampleValue. Classic TIFF, BigTIFF when the pixels need 4 GiB or more.
ZelCamErr writeTiff(const Picture& picture, const WriteOptions& options, OutputFile& file);

} // namespace serializer
