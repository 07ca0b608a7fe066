// Picture writer: BMP.
#pragma once

#include "picture.h"

namespace serializer
{

/// BMP: gray with a palette of 256 grays, colour with 24 bits, rows from the bottom up. -40007 for
/// 16-bit gray and for files of 4 GiB or more.
ZelCamErr writeBmp(const Picture& picture, const WriteOptions& options, OutputFile& file);

} // namespace serializer
