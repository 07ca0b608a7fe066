#include "gige/wire/leader.h"

namespace gige::wire
{

namespace
{

constexpr std::size_t kCommonLeader = 12;
constexpr std::size_t kImageBody = 24; ///< From the pixel format to the paddings.
constexpr std::size_t kZoneDirections = 4;
constexpr std::size_t kSmallestTrailer = 4;

std::uint16_t plainType(std::uint16_t payloadType) { return payloadType & payload::kTypeMask; }

bool isImageType(std::uint16_t type)
{
    return type == payload::kImage || type == payload::kExtendedChunk ||
           type == payload::kMultiZone;
}

bool hasDataSize(std::uint16_t type)
{
    return type == payload::kRaw || type == payload::kFile || type == payload::kJpeg ||
           type == payload::kJpeg2000 || type == payload::kGenDc;
}

ImageGeometry readGeometry(Bytes bytes)
{
    ImageGeometry image;
    image.pixelFormat = bytes.u32(0);
    image.width = bytes.u32(4);
    image.height = bytes.u32(8);
    image.xOffset = bytes.u32(12);
    image.yOffset = bytes.u32(16);
    image.xPadding = bytes.u16(20);
    image.yPadding = bytes.u16(22);
    return image;
}

void writeGeometry(const ImageGeometry& image, Writer* writer)
{
    writer->u32(image.pixelFormat).u32(image.width).u32(image.height);
    writer->u32(image.xOffset).u32(image.yOffset).u16(image.xPadding).u16(image.yPadding);
}

void writePart(const PartEntry& part, Writer* writer)
{
    writer->u16(part.dataType).u48(part.length).u32(part.image.pixelFormat).zeros(2);
    writer->u8(part.sourceId).u8(0).u32(0).u16(part.dataPurpose).u16(part.region);
    writer->u32(part.image.width).u32(part.image.height);
    writer->u32(part.image.xOffset).u32(part.image.yOffset);
    writer->u16(part.image.xPadding).u16(part.image.yPadding).zeros(4);
}

} // namespace

std::size_t leaderSize(std::uint16_t payloadType)
{
    switch (plainType(payloadType)) {
    case payload::kImage:
    case payload::kExtendedChunk:
        return kCommonLeader + kImageBody;
    case payload::kRaw:
    case payload::kFile:
        return 20;
    case payload::kChunk:
    case payload::kMultiPart:
        return kCommonLeader;
    case payload::kJpeg:
    case payload::kJpeg2000:
    case payload::kH264:
        return 32;
    case payload::kMultiZone:
        return kCommonLeader + kZoneDirections + kImageBody;
    case payload::kGenDc:
        return 28;
    default:
        return 0;
    }
}

bool readLeader(const StreamHeader& header, Bytes body, Leader* leader)
{
    *leader = {};
    leader->fieldInfo = body.u8(0);
    leader->payloadType = body.u16(2);
    const std::uint16_t type = leader->type();
    leader->timestamp = type == payload::kH264 ? 0 : body.u64(4);
    if (body.size < std::max(kCommonLeader, leaderSize(type))) {
        return false;
    }
    const Bytes special = body.from(kCommonLeader);
    leader->hasImage = isImageType(type);
    if (leader->hasImage) {
        leader->image =
            readGeometry(special.from(type == payload::kMultiZone ? kZoneDirections : 0));
    } else if (type == payload::kH264) {
        leader->dataSize = body.u64(4);
    } else if (hasDataSize(type)) {
        leader->dataSize = special.u64(0);
    }
    if (type == payload::kFile) {
        leader->fileName = special.from(8).text(0, special.size - 8);
    } else if (type == payload::kJpeg || type == payload::kJpeg2000) {
        leader->tickFrequency = special.u64(8);
        leader->dataFormat = special.u32(16);
    } else if (type == payload::kMultiPart) {
        leader->partCount = header.count;
        leader->parts = special.first(header.count * kPartEntry);
        return leader->parts.size == header.count * kPartEntry;
    }
    return true;
}

void writeLeader(const Leader& leader, const PartEntry* parts, Writer* writer)
{
    const std::uint16_t type = leader.type();
    writer->u8(leader.fieldInfo).u8(0).u16(leader.payloadType);
    writer->u64(type == payload::kH264 ? leader.dataSize : leader.timestamp);
    if (type == payload::kMultiZone) {
        writer->zeros(kZoneDirections);
    }
    if (isImageType(type)) {
        writeGeometry(leader.image, writer);
    } else if (hasDataSize(type)) {
        writer->u64(leader.dataSize);
    }
    if (type == payload::kFile) {
        writer->bytes({leader.fileName.data(), leader.fileName.size()}).u8(0);
    } else if (type == payload::kJpeg || type == payload::kJpeg2000) {
        writer->u64(leader.tickFrequency).u32(leader.dataFormat);
    } else if (type == payload::kGenDc) {
        writer->zeros(8);
    } else if (type == payload::kH264) {
        writer->zeros(leaderSize(type) - kCommonLeader);
    } else if (type == payload::kMultiPart) {
        for (std::size_t i = 0; i < leader.partCount; ++i) {
            writePart(parts[i], writer);
        }
    }
}

PartEntry partEntry(const Leader& leader, std::size_t index)
{
    const Bytes bytes = leader.parts.from(index * kPartEntry).first(kPartEntry);
    PartEntry part;
    part.dataType = bytes.u16(0);
    part.length = bytes.u48(2);
    part.sourceId = bytes.u8(14);
    part.dataPurpose = bytes.u16(20);
    part.region = bytes.u16(22);
    part.image.pixelFormat = bytes.u32(8);
    part.image.width = bytes.u32(24);
    part.image.height = bytes.u32(28);
    part.image.xOffset = bytes.u32(32);
    part.image.yOffset = bytes.u32(36);
    part.image.xPadding = bytes.u16(40);
    part.image.yPadding = bytes.u16(42);
    return part;
}

std::size_t trailerSize(std::uint16_t payloadType)
{
    std::size_t size = kSmallestTrailer;
    switch (plainType(payloadType)) {
    case payload::kImage:
    case payload::kChunk:
    case payload::kMultiZone:
        size = 8;
        break;
    case payload::kExtendedChunk:
        return 16;
    case payload::kRaw:
    case payload::kFile:
    case payload::kJpeg:
    case payload::kJpeg2000:
    case payload::kH264:
    case payload::kMultiPart:
    case payload::kGenDc:
        break;
    default:
        return 0;
    }
    return (payloadType & payload::kChunksAppended) != 0 ? size + 8 : size;
}

bool readTrailer(Bytes body, Trailer* trailer)
{
    *trailer = {};
    trailer->payloadType = body.u16(2);
    if (body.size < kSmallestTrailer) {
        return false;
    }
    const std::uint16_t type = plainType(trailer->payloadType);
    std::size_t at = kSmallestTrailer;
    const auto take = [&](bool* told) {
        *told = body.holds(at, 4);
        at += 4;
        return body.u32(at - 4);
    };
    bool layoutTold = false;
    if (type == payload::kChunk || type == payload::kExtendedChunk) {
        trailer->chunkLength = take(&trailer->hasChunkLength);
        if (type == payload::kExtendedChunk) {
            trailer->height = take(&trailer->hasHeight);
            trailer->chunkLayoutId = take(&layoutTold);
        }
        return true;
    }
    if (type == payload::kImage || type == payload::kMultiZone) {
        trailer->height = take(&trailer->hasHeight);
    }
    if ((trailer->payloadType & payload::kChunksAppended) != 0 && type != payload::kMultiPart) {
        trailer->chunkLength = take(&trailer->hasChunkLength);
        trailer->chunkLayoutId = take(&layoutTold);
    }
    return true;
}

void writeTrailer(const Trailer& trailer, Writer* writer)
{
    const std::uint16_t type = plainType(trailer.payloadType);
    writer->u16(0).u16(trailer.payloadType);
    if (type == payload::kChunk) {
        writer->u32(trailer.chunkLength);
        return;
    }
    if (type == payload::kExtendedChunk) {
        writer->u32(trailer.chunkLength).u32(trailer.height).u32(trailer.chunkLayoutId);
        return;
    }
    if (type == payload::kImage || type == payload::kMultiZone) {
        writer->u32(trailer.height);
    }
    if ((trailer.payloadType & payload::kChunksAppended) != 0 && type != payload::kMultiPart) {
        writer->u32(trailer.chunkLength).u32(trailer.chunkLayoutId);
    }
}

bool readAllIn(const StreamHeader& header, Bytes body, Leader* leader, Trailer* trailer,
               Bytes* data)
{
    if (!readLeader(header, body, leader)) {
        return false;
    }
    const std::uint16_t type = leader->type();
    const std::size_t lead = leaderSize(type);
    if (type == payload::kMultiPart || type == payload::kGenDc || type == payload::kFile ||
        lead == 0) {
        return false;
    }
    const std::size_t trail = trailerSize(leader->payloadType);
    const Bytes rest = body.from(lead);
    *data = rest.from(trail);
    return rest.size >= trail && readTrailer(rest.first(trail), trailer);
}

} // namespace gige::wire
