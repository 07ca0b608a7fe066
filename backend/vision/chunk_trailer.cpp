#include "vision/chunk_trailer.h"

#include <algorithm>

namespace vision
{

std::vector<core::ChunkPlace> chunkPlaces(const std::uint8_t* data, std::size_t size,
                                          bool bigEndian)
{
    const auto load = [data, bigEndian](std::size_t offset) {
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < 4; ++i) {
            value = value << 8U | data[offset + (bigEndian ? i : 3 - i)];
        }
        return value;
    };
    constexpr std::size_t kTrailer = 8;
    std::vector<core::ChunkPlace> places;
    std::size_t end = size;
    while (end >= kTrailer) {
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

} // namespace vision
