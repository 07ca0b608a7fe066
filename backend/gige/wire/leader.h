// First and last packet of a block: what it holds and how it ended.
#pragma once

#include "gige/wire/gvsp.h"

#include <string_view>

namespace gige::wire
{

/// Payload types without their flags.
namespace payload
{
constexpr std::uint16_t kImage = 1;
constexpr std::uint16_t kRaw = 2;
constexpr std::uint16_t kFile = 3;
constexpr std::uint16_t kChunk = 4;         ///< Of version 1: an image may be the first chunk.
constexpr std::uint16_t kExtendedChunk = 5; ///< Of version 1: with an image's leader.
constexpr std::uint16_t kJpeg = 6;
constexpr std::uint16_t kJpeg2000 = 7;
constexpr std::uint16_t kH264 = 8;
constexpr std::uint16_t kMultiZone = 9;
constexpr std::uint16_t kMultiPart = 10;
constexpr std::uint16_t kGenDc = 11;
constexpr std::uint16_t kTypeMask = 0x3FFF;
constexpr std::uint16_t kChunksAppended = 0x4000;
constexpr std::uint16_t kDeviceSpecific = 0x8000;
} // namespace payload

/// Type of the image among the parts of a multi-part block.
constexpr std::uint16_t kPartImage = 1;
constexpr std::size_t kPartEntry = 48;

/// Of an image or of a part that is one.
struct ImageGeometry {
    std::uint32_t pixelFormat = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t xOffset = 0;
    std::uint32_t yOffset = 0;
    std::uint16_t xPadding = 0; ///< Bytes at the end of a line.
    std::uint16_t yPadding = 0; ///< Bytes at the end of the image.
};

/// One part of a multi-part block.
struct PartEntry {
    std::uint16_t dataType = kPartImage;
    std::uint64_t length = 0; ///< Bytes; 48 bits.
    std::uint8_t sourceId = 0;
    std::uint16_t dataPurpose = 0;
    std::uint16_t region = 0;
    ImageGeometry image;
};

struct Leader {
    std::uint8_t fieldInfo = 0;
    std::uint16_t payloadType = payload::kImage; ///< With its flags.
    std::uint64_t timestamp = 0;                 ///< Ticks; 0 where the type has none.
    bool hasImage = false;                       ///< `image` was told (set by the reader).
    ImageGeometry image;
    std::uint64_t dataSize = 0;      ///< Raw, file, JPEG, GenDC: bytes; else 0.
    std::uint32_t dataFormat = 0;    ///< JPEG.
    std::uint64_t tickFrequency = 0; ///< JPEG.
    std::string_view fileName;       ///< File; borrowed.
    std::uint8_t partCount = 0;      ///< Multi-part: entries that are there.
    Bytes parts;                     ///< Multi-part: kPartEntry bytes each; borrowed.

    std::uint16_t type() const { return payloadType & payload::kTypeMask; }
    bool hasChunks() const
    {
        return (payloadType & payload::kChunksAppended) != 0 || type() == payload::kChunk ||
               type() == payload::kExtendedChunk;
    }
};

/// Bytes after the header of a leader of this type; 0 for one that we do not know. Multi-part and
/// file: without their variable rest.
std::size_t leaderSize(std::uint16_t payloadType);

/// `body`: after the header. False when it is shorter than its type wants. Unknown types are read
/// as far as the time stamp.
bool readLeader(const StreamHeader& header, Bytes body, Leader* leader);
/// Appends the body. Multi-part: set `partCount` and pass as many entries; the header's count is
/// the caller's to set.
void writeLeader(const Leader& leader, const PartEntry* parts, Writer* writer);
/// Entry `index`, below partCount.
PartEntry partEntry(const Leader& leader, std::size_t index);

struct Trailer {
    std::uint16_t payloadType = payload::kImage;
    bool hasHeight = false;   ///< `height` was told (set by the reader).
    std::uint32_t height = 0; ///< Lines that were really sent.
    bool hasChunkLength = false;
    std::uint32_t chunkLength = 0; ///< Bytes of chunk data with its image, or appended.
    std::uint32_t chunkLayoutId = 0;
};

/// Bytes after the header of a trailer of this type; 0 for one that we do not know.
std::size_t trailerSize(std::uint16_t payloadType);

/// What is missing at the end is not told; false below four bytes.
bool readTrailer(Bytes body, Trailer* trailer);
void writeTrailer(const Trailer& trailer, Writer* writer);

/// A packet of Format::AllIn: leader, trailer and data in one. False for types that cannot be sent
/// so. `body`: after the header; `*data` borrows from it.
bool readAllIn(const StreamHeader& header, Bytes body, Leader* leader, Trailer* trailer,
               Bytes* data);

} // namespace gige::wire
