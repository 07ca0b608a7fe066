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
/// of the ChunkSelector. In the wire formats of GigE Vision and USB3 Vision everything is a chunk:
/// the image, with its padding, is the first one (kImageChunkId), and behind the data of each stand
/// its identifier and its length, 32 bits each, big-endian on GigE Vision, little-endian on USB3
/// Vision; readers walk backwards from the end.
constexpr std::uint32_t kImageChunkId = 0xA000;

class ChunkSection
{
public:
    explicit ChunkSection(CameraContext& context);

    /// The enabled chunks as a mask by selector value; 0 when chunk mode is off.
    std::uint64_t enabled() const;

    // Any thread may call these: they depend on what is fixed.
    std::uint64_t payload(std::uint64_t imageBytes, std::uint64_t enabled) const;
    /// As FrameLayout::chunkBytes.
    std::uint64_t chunkBytes(std::uint64_t imageBytes, std::uint64_t enabled) const;
    /// Places of the chunks, without the image; returns how many there are and writes up to
    /// `capacity` of them.
    std::size_t places(std::uint64_t imageBytes, std::uint64_t enabled, ChunkPlace* places,
                       std::size_t capacity) const;
    /// Writes the chunks of a frame whose image starts at `memory`.
    void write(const ChunkValues& values, std::uint64_t imageBytes, std::uint64_t enabled,
               unsigned char* memory) const;

private:
    bool hasTrailers() const { return wire_ != WireFormat::Plain; }
    /// Identifier and length behind the data of a chunk; returns the byte behind them.
    unsigned char* writeTrailer(std::uint32_t id, std::uint64_t length, unsigned char* out) const;

    const WireFormat wire_;
    Feature* active_ = nullptr;
    Feature* enable_ = nullptr;
};

} // namespace simulator
