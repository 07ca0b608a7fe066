// Chunk data at the end of a payload, as GigE Vision and USB3 Vision have them.
#pragma once

#include "base/endian.h"
#include "core/transport.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace core
{

/// Places of the chunks of a payload, found from its end backwards: each chunk's data is followed
/// by its id and its length, four bytes each, big-endian for GigE Vision and little-endian for USB3
/// Vision. In the order of the payload; nothing when the lengths do not fit or when there are more
/// chunks than any camera has (bytes of zeros are empty chunks without end). Header-only.
inline std::vector<ChunkPlace> chunkPlaces(const std::uint8_t* data, std::size_t size,
                                           bool bigEndian)
{
    constexpr std::size_t kTrailer = 8;
    constexpr std::size_t kMostChunks = 1024;
    const auto load = [data, bigEndian](std::size_t offset) {
        return bigEndian ? base::loadBig<std::uint32_t>(data + offset)
                         : base::loadLittle<std::uint32_t>(data + offset);
    };
    std::vector<ChunkPlace> places;
    std::size_t end = size;
    while (end >= kTrailer && places.size() < kMostChunks) {
        const std::size_t length = load(end - 4);
        if (length > end - kTrailer) {
            return {};
        }
        places.push_back({load(end - kTrailer), end - kTrailer - length, length});
        end -= kTrailer + length;
    }
    if (end != 0) {
        return {};
    }
    std::reverse(places.begin(), places.end());
    return places;
}

} // namespace core
