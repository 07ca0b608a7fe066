// Picture writer: PNM.
#pragma once

#include "picture.h"

namespace serializer
{

/// Portable any-map, binary: P5 for gray (16-bit samples big-endian with their unscaled maxval), P6
/// for colour, whatever the extension says: readers go by the number.
ZelCamErr writePnm(const Picture& picture, const WriteOptions& options, OutputFile& file);

} // namespace serializer
