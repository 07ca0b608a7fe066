// The pixels of a PNG file, compressed in bands on all cores.
#pragma once

#include "picture.h"

#include <cstdint>
#include <vector>

namespace serializer
{

/// Some rows of a picture as a piece of a deflate stream that ends on a byte, so that the pieces
/// of all bands in order make one stream.
struct PngBand {
    std::vector<unsigned char> data;
    std::uint32_t crc = 0;      ///< CRC-32 of the data.
    std::uint32_t adler = 1;    ///< Adler-32 of the filtered rows.
    std::uint64_t filtered = 0; ///< Their bytes.
};

/// Filters and compresses all rows of `picture`, spread over the cores when it is large enough.
/// 0 or -1021.
ZelCamErr compressBands(const Picture& picture, std::vector<PngBand>* bands);

} // namespace serializer
