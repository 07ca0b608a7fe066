// A copy of a frame that several clients share.
#pragma once

#include "zel_image_api.h"

#include <chrono>
#include <cstdint>
#include <vector>

namespace view
{

struct RawFrame {
    std::uint64_t sequence = 0; ///< Counted by the viewer, from 1, over all openings of the camera.
    std::uint64_t id = 0;       ///< The camera's number.
    std::uint64_t timestamp = 0;
    bool incomplete = false;
    std::chrono::steady_clock::time_point arrival;
    ZelImage image{}; ///< Its data stands in `bytes`.
    std::vector<unsigned char> bytes;
};

} // namespace view
