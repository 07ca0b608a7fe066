// Chunk data of a simulated camera.
#include "simulator/chunk_section.h"

#include "base/endian.h"

#include <array>
#include <cstring>
#include <string>

namespace simulator
{

namespace
{

constexpr std::uint64_t kFirstChunkId = kImageChunkId + 1;
constexpr std::size_t kChunkSize = 8;
constexpr std::size_t kTrailerSize = 8;

struct ChunkText {
    const char* name;
    const char* toolTip;
    const char* unit;
    bool isReal;
};

constexpr std::array<ChunkText, 9> kChunks = {{
    {"FrameID", "Number of the frame.", "", false},
    {"Timestamp", "Start of the exposure.", "ns", false},
    {"ExposureTime", "Exposure time of the frame.", "us", true},
    {"Gain", "Gain of the frame.", "dB", true},
    {"Width", "Width of the image.", "px", false},
    {"Height", "Height of the image.", "px", false},
    {"OffsetX", "Horizontal start of the image.", "px", false},
    {"OffsetY", "Vertical start of the image.", "px", false},
    {"PixelFormat", "Code of the pixel format.", "", false},
}};

std::uint64_t aligned(std::uint64_t size)
{
    return (size + kChunkSize - 1) / kChunkSize * kChunkSize;
}

std::uint64_t bitsOf(double value)
{
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

} // namespace

ChunkSection::ChunkSection(CameraContext& context) : wire_(context.config.wire)
{
    FeatureTable& table = context.table;
    table.category("ChunkDataControl", "Facts about a frame, delivered behind its image.");
    active_ = &table.boolean("ChunkModeActive", "Delivers chunks.")
                   .expert()
                   .streamable()
                   .lockedIf(context.whileStreaming());
    Feature& selector =
        table.enumeration("ChunkSelector", "Chunk that ChunkEnable shows.").expert();
    enable_ = &table.boolean("ChunkEnable", "Delivers the selected chunk.")
                   .expert()
                   .streamable()
                   .lockedIf(context.whileStreaming());
    for (std::size_t i = 0; i < kChunks.size(); ++i) {
        const std::string name = std::string("Chunk") + kChunks[i].name;
        selector.entry(kChunks[i].name, static_cast<std::int64_t>(i), kChunks[i].toolTip);
        table.port(name + "Port", true, kFirstChunkId + i);
        Feature& value = kChunks[i].isReal ? table.real(name, kChunks[i].toolTip)
                                           : table.integer(name, kChunks[i].toolTip);
        value.unit(kChunks[i].unit).expert().inPort(name + "Port", 0);
    }
    enable_->selectedBy("ChunkSelector", kChunks.size()).value(std::int64_t{1});
}

std::uint64_t ChunkSection::enabled() const
{
    std::uint64_t mask = 0;
    for (std::size_t i = 0; active_->integer() != 0 && i < kChunks.size(); ++i) {
        mask |= static_cast<std::uint64_t>(enable_->integer(i)) << i;
    }
    return mask;
}

std::size_t ChunkSection::places(std::uint64_t imageBytes, std::uint64_t enabled,
                                 ChunkPlace* places, std::size_t capacity) const
{
    std::size_t count = 0;
    std::uint64_t offset = aligned(imageBytes) + (hasTrailers() ? kTrailerSize : 0);
    for (std::size_t i = 0; i < kChunks.size(); ++i) {
        if ((enabled >> i & 1) == 0) {
            continue;
        }
        if (count < capacity) {
            places[count] = {kFirstChunkId + i, static_cast<std::size_t>(offset), kChunkSize};
        }
        offset += kChunkSize + (hasTrailers() ? kTrailerSize : 0);
        ++count;
    }
    return count;
}

std::uint64_t ChunkSection::payload(std::uint64_t imageBytes, std::uint64_t enabled) const
{
    const std::size_t count = places(imageBytes, enabled, nullptr, 0);
    if (count == 0) {
        return imageBytes;
    }
    const std::uint64_t trailers = hasTrailers() ? (count + 1) * kTrailerSize : 0;
    return aligned(imageBytes) + count * kChunkSize + trailers;
}

std::uint64_t ChunkSection::chunkBytes(std::uint64_t imageBytes, std::uint64_t enabled) const
{
    const std::uint64_t all = payload(imageBytes, enabled);
    return hasTrailers() && enabled != 0 ? all : all - imageBytes;
}

unsigned char* ChunkSection::writeTrailer(std::uint32_t id, std::uint64_t length,
                                          unsigned char* out) const
{
    const auto bytes = static_cast<std::uint32_t>(length);
    if (wire_ == WireFormat::GigEVision) {
        base::storeBig(out, id);
        base::storeBig(out + 4, bytes);
        return out + kTrailerSize;
    }
    if (wire_ == WireFormat::Usb3Vision) {
        base::storeLittle(out, id);
        base::storeLittle(out + 4, bytes);
        return out + kTrailerSize;
    }
    return out;
}

void ChunkSection::write(const ChunkValues& values, std::uint64_t imageBytes, std::uint64_t enabled,
                         unsigned char* memory) const
{
    const std::array<std::uint64_t, kChunks.size()> raw = {
        values.frameId,        values.timestampNs, bitsOf(values.exposureUs),
        bitsOf(values.gainDb), values.width,       values.height,
        values.offsetX,        values.offsetY,     values.pixelFormat};
    if (enabled == 0) {
        return;
    }
    std::memset(memory + imageBytes, 0, aligned(imageBytes) - imageBytes);
    unsigned char* out =
        writeTrailer(kImageChunkId, aligned(imageBytes), memory + aligned(imageBytes));
    for (std::size_t i = 0; i < kChunks.size(); ++i) {
        if ((enabled >> i & 1) != 0) {
            base::storeBig(out, raw[i]);
            out = writeTrailer(static_cast<std::uint32_t>(kFirstChunkId + i), kChunkSize,
                               out + kChunkSize);
        }
    }
}

} // namespace simulator
