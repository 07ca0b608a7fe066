// Unpacker component: finds out what to unpack into what, and checks both images.
#include "zel_image/unpacker.h"

#include "common/bayer_order.h"
#include "common/image_plane.h"
#include "unpacker/unpack_kernel.h"
#include "unpacker/unpacker_params.h"

#include <new>
#include <optional>

struct ZelImageUnpacker {
    ZelComponents::UnpackerParams params;
};

namespace
{

using namespace ZelComponents;

struct PackedFormat {
    ZelPixelType packed;
    ZelPixelType unpacked;
};

constexpr PackedFormat kFormats[] = {
    {ZelPixel::kMono10Packed, ZelPixel::kMono10},
    {ZelPixel::kMono12Packed, ZelPixel::kMono12},
    {ZelPixel::kBayerGR10Packed, ZelPixel::kBayerGR10},
    {ZelPixel::kBayerRG10Packed, ZelPixel::kBayerRG10},
    {ZelPixel::kBayerGB10Packed, ZelPixel::kBayerGB10},
    {ZelPixel::kBayerBG10Packed, ZelPixel::kBayerBG10},
    {ZelPixel::kBayerGR12Packed, ZelPixel::kBayerGR12},
    {ZelPixel::kBayerRG12Packed, ZelPixel::kBayerRG12},
    {ZelPixel::kBayerGB12Packed, ZelPixel::kBayerGB12},
    {ZelPixel::kBayerBG12Packed, ZelPixel::kBayerBG12},
};

std::optional<ZelPixelType> unpackedType(ZelPixelType packed)
{
    for (const PackedFormat& format : kFormats) {
        if (format.packed == packed) {
            return format.unpacked;
        }
    }
    return std::nullopt;
}

bool isMonoOfWords(ZelPixelType type)
{
    return type == ZelPixel::kMono10 || type == ZelPixel::kMono12 || type == ZelPixel::kMono14 ||
           type == ZelPixel::kMono16;
}

// A mosaic may become mono, mono never a mosaic.
bool fits(ZelPixelType unpacked, ZelPixelType target)
{
    if (ZelPixel::depth(target) < ZelPixel::depth(unpacked)) {
        return false;
    }
    return isMonoOfWords(target) ||
           (isUnpackedBayer(unpacked) && isUnpackedBayer(target) &&
            bayerOrder(unpacked).redFirst == bayerOrder(target).redFirst &&
            bayerOrder(unpacked).chromaPhase == bayerOrder(target).chromaPhase);
}

bool holdsPacked(const ZelImage& source, const TargetPlane& target)
{
    const std::optional<std::uint64_t> needed = packedBytes(
        std::uint64_t{target.width} * target.height, ZelPixel::storedBits(source.pixelType));
    return source.data != nullptr && needed && *needed <= source.dataSize;
}

void unpackAll(PackedDepth depth, const std::uint8_t* source, const TargetPlane& target)
{
    if (target.isContiguous()) {
        unpackRun(depth, source, 0, target.width * target.height, target.data);
        return;
    }
    for (std::size_t y = 0; y < target.height; ++y) {
        unpackRun(depth, source, y * target.width, target.width, target.row(y));
    }
}

ZelCamErr unpack(const UnpackerParams& params, const ZelImage& source, ZelImage& target)
{
    const std::optional<ZelPixelType> unpacked = unpackedType(source.pixelType);
    const std::optional<TargetPlane> plane = targetPlane(target);
    const std::uint32_t width = params.width() != 0 ? params.width() : source.size.width;
    const std::uint32_t height = params.height() != 0 ? params.height() : source.size.height;
    if (!unpacked || !plane || !fits(*unpacked, target.pixelType) || plane->width != width ||
        plane->height != height || !holdsPacked(source, *plane)) {
        return ZelErr::kInvalidArgument;
    }
    const PackedDepth depth =
        ZelPixel::depth(*unpacked) == 10 ? PackedDepth::k10 : PackedDepth::k12;
    unpackAll(depth, static_cast<const std::uint8_t*>(source.data), *plane);
    const bool hidesMosaic = isUnpackedBayer(*unpacked) && !isUnpackedBayer(target.pixelType);
    target.mosaic = hidesMosaic ? *unpacked : 0;
    return ZelErr::kOk;
}

} // namespace

ZelImageUnpacker* ZelImageUnpacker_CreateComponent() { return new (std::nothrow) ZelImageUnpacker; }

ZelComponentParams* ZelImageUnpacker_GetComponent(ZelImageUnpacker* unpacker)
{
    return unpacker != nullptr ? &unpacker->params : nullptr;
}

ZelCamErr ZelImageUnpacker_Unpack(ZelImageUnpacker* unpacker, const ZelImage* source,
                                  ZelImage* target)
{
    if (unpacker == nullptr || source == nullptr || target == nullptr) {
        return ZelErr::kInvalidArgument;
    }
    return unpack(unpacker->params, *source, *target);
}

void ZelImageUnpacker_DeleteComponent(ZelImageUnpacker* unpacker) { delete unpacker; }
