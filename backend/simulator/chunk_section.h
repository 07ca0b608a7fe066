// ChunkDataControl: facts about a frame, delivered behind its image.
#pragma once

#include "simulator/camera_context.h"

#include <cstddef>
#include <cstdint>

namespace simulator
{

/// What chunks of one frame say.
struct ChunkValues {
    std::uint64_t frameId = 0;
    std::uint64_t timestampNs = 0;
    double exposureUs = 0.0;
    double gainDb = 0.0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t offsetX = 0;
    std::uint32_t offsetY = 0;
    std::uint32_t pixelFormat = 0;
};

/// Chunks lie behind the image at the next multiple of 8, 8 bytes each (big-endian), in the order
/// of the ChunkSelector.
class ChunkSection
{
public:
    explicit ChunkSection(CameraContext& context);

    /// The enabled chunks as a mask by selector value; 0 when chunk mode is off.
    std::uint64_t enabled() const;
    static std::uint64_t payload(std::uint64_t imageBytes, std::uint64_t enabled);
    /// Places of the chunks; returns how many there are and writes up to `capacity` of them.
    static std::size_t places(std::uint64_t imageBytes, std::uint64_t enabled, ChunkPlace* places,
                              std::size_t capacity);
    /// Writes the chunks of a frame whose image starts at `memory`.
    static void write(const ChunkValues& values, std::uint64_t imageBytes, std::uint64_t enabled,
                      unsigned char* memory);

private:
    Feature* active_ = nullptr;
    Feature* enable_ = nullptr;
};

} // namespace simulator
