// Chunk data at the end of a payload.
#pragma once

#include "core/transport.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vision
{

/// Places of the chunks of a payload, found from its end backwards: each chunk's data is followed
/// by its id and its length, four bytes each, big-endian for GigE Vision and little-endian for USB3
/// Vision. In the order of the payload; nothing when the lengths do not fit.
std::vector<core::ChunkPlace> chunkPlaces(const std::uint8_t* data, std::size_t size,
                                          bool bigEndian);

} // namespace vision
