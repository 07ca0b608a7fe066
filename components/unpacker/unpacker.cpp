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
    PackedLayout layout;
};

constexpr PackedFormat kFormats[] = {
    {ZelPixel::kMono10Packed, ZelPixel::kMono10, PackedLayout::k10Packed},
    {ZelPixel::kMono12Packed, ZelPixel::kMono12, PackedLayout::k12Packed},
    {ZelPixel::kBayerGR10Packed, ZelPixel::kBayerGR10, PackedLayout::k10Packed},
    {ZelPixel::kBayerRG10Packed, ZelPixel::kBayerRG10, PackedLayout::k10Packed},
    {ZelPixel::kBayerGB10Packed, ZelPixel::kBayerGB10, PackedLayout::k10Packed},
    {ZelPixel::kBayerBG10Packed, ZelPixel::kBayerBG10, PackedLayout::k10Packed},
    {ZelPixel::kBayerGR12Packed, ZelPixel::kBayerGR12, PackedLayout::k12Packed},
    {ZelPixel::kBayerRG12Packed, ZelPixel::kBayerRG12, PackedLayout::k12Packed},
    {ZelPixel::kBayerGB12Packed, ZelPixel::kBayerGB12, PackedLayout::k12Packed},
    {ZelPixel::kBayerBG12Packed, ZelPixel::kBayerBG12, PackedLayout::k12Packed},
    {ZelPixel::kMono10p, ZelPixel::kMono10, PackedLayout::k10p},
    {ZelPixel::kMono12p, ZelPixel::kMono12, PackedLayout::k12p},
    {ZelPixel::kBayerGR10p, ZelPixel::kBayerGR10, PackedLayout::k10p},
    {ZelPixel::kBayerRG10p, ZelPixel::kBayerRG10, PackedLayout::k10p},
    {ZelPixel::kBayerGB10p, ZelPixel::kBayerGB10, PackedLayout::k10p},
    {ZelPixel::kBayerBG10p, ZelPixel::kBayerBG10, PackedLayout::k10p},
    {ZelPixel::kBayerGR12p, ZelPixel::kBayerGR12, PackedLayout::k12p},
    {ZelPixel::kBayerRG12p, ZelPixel::kBayerRG12, PackedLayout::k12p},
    {ZelPixel::kBayerGB12p, ZelPixel::kBayerGB12, PackedLayout::k12p},
    {ZelPixel::kBayerBG12p, ZelPixel::kBayerBG12, PackedLayout::k12p},
};

const PackedFormat* findFormat(ZelPixelType packed)
{
    for (const PackedFormat& format : kFormats) {
        if (format.packed == packed) {
            return &format;
        }
    }
    return nullptr;
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

// A mono image of more bits says nowhere how deep the values were: those of p formats fill it. A
// mosaic is remembered with its depth.
int scaleFor(const PackedFormat& format, ZelPixelType target)
{
    const bool scales = ZelPixel::packing(format.packed) == ZelPixel::kPackingP &&
                        !isUnpackedBayer(format.unpacked);
    return scales ? static_cast<int>(ZelPixel::depth(target) - ZelPixel::depth(format.unpacked))
                  : 0;
}

void unpackAll(const PackedFormat& format, const std::uint8_t* source, const TargetPlane& target,
               int scale)
{
    if (target.isContiguous()) {
        unpackRun(format.layout, source, 0, target.width * target.height, target.data, scale);
        return;
    }
    for (std::size_t y = 0; y < target.height; ++y) {
        unpackRun(format.layout, source, y * target.width, target.width, target.row(y), scale);
    }
}

ZelCamErr unpack(const UnpackerParams& params, const ZelImage& source, ZelImage& target)
{
    const PackedFormat* const format = findFormat(source.pixelType);
    const std::optional<TargetPlane> plane = targetPlane(target);
    const std::uint32_t width = params.width() != 0 ? params.width() : source.size.width;
    const std::uint32_t height = params.height() != 0 ? params.height() : source.size.height;
    if (format == nullptr || !plane || !fits(format->unpacked, target.pixelType) ||
        plane->width != width || plane->height != height || !holdsPacked(source, *plane)) {
        return ZelErr::kInvalidArgument;
    }
    unpackAll(*format, static_cast<const std::uint8_t*>(source.data), *plane,
              scaleFor(*format, target.pixelType));
    const bool hidesMosaic =
        isUnpackedBayer(format->unpacked) && !isUnpackedBayer(target.pixelType);
    target.mosaic = hidesMosaic ? format->unpacked : 0;
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
