// Leader and trailer of a frame, as they go over the wire.
#pragma once

#include <cstddef>
#include <cstdint>

namespace usb3::wire
{

/// What the bytes of a transfer are, by how they begin.
enum class Packet { Leader, Trailer, Other };
Packet packetOf(const std::uint8_t* bytes, std::size_t size);

enum class Payload : std::uint16_t {
    Image = 0x0001,
    ExtendedChunk = 0x4001, ///< An image, with chunks behind it.
    Chunk = 0x4000,
};

struct Leader {
    std::uint64_t blockId = 0;
    std::uint64_t timestamp = 0;
    std::uint16_t payload = 0;
    bool hasImage = false; ///< Whether the rest was told.
    std::uint32_t pixelFormat = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t xOffset = 0;
    std::uint32_t yOffset = 0;
    std::uint16_t xPadding = 0;
};

struct Trailer {
    std::uint64_t blockId = 0;
    std::uint16_t status = 0;
    std::uint64_t validSize = 0; ///< Bytes of payload that mean something.
    std::uint32_t height = 0;    ///< Lines of an image that were sent; 0: not told.
};

/// False for what is too short or begins otherwise. Image fields of a leader that ends before them
/// stay 0. Only the `size` bytes are read.
bool readLeader(const std::uint8_t* bytes, std::size_t size, Leader* leader);
bool readTrailer(const std::uint8_t* bytes, std::size_t size, Trailer* trailer);

} // namespace usb3::wire
