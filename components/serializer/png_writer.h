// Picture writer: PNG.
#pragma once

#include "picture.h"

namespace serializer
{

/// PNG: 8-bit gray and colour; gray of more bits as 16 bits, scaled to the full range, with the
/// significant bits in the sBIT chunk. Compressed for speed. Sides up to 1000000 pixels.
ZelCamErr writePng(const Picture& picture, const WriteOptions& options, OutputFile& file);

} // namespace serializer
