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

std::optional<PackedFormat> findFormat(ZelPixelType packed)
{
    const ZelPixelType unpacked = ZelPixel::unpackedOf(packed);
    if (unpacked == 0) {
        return std::nullopt;
    }
    const bool ten = ZelPixel::depth(packed) == 10;
    if (ZelPixel::packing(packed) == ZelPixel::kPackingP) {
        return PackedFormat{packed, unpacked, ten ? PackedLayout::k10p : PackedLayout::k12p};
    }
    return PackedFormat{packed, unpacked, ten ? PackedLayout::k10Packed : PackedLayout::k12Packed};
}

// Words have no other depths to be unpacked from.
constexpr bool unpacksTenAndTwelveOnly()
{
    for (const ZelPixel::Format& format : ZelPixel::kFormats) {
        if (ZelPixel::unpackedOf(format.code) != 0 && format.bits != 10 && format.bits != 12) {
            return false;
        }
    }
    return true;
}
static_assert(unpacksTenAndTwelveOnly());

bool isMonoOfWords(ZelPixelType type)
{
    return ZelPixel::family(type) == ZelPixel::kFamilyMono && isUnpacked(type) &&
           ZelPixel::depth(type) > 8 && ZelPixel::findFormat(type) != nullptr;
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
    const std::optional<PackedFormat> format = findFormat(source.pixelType);
    const std::optional<TargetPlane> plane = targetPlane(target);
    const std::uint32_t width = params.width() != 0 ? params.width() : source.size.width;
    const std::uint32_t height = params.height() != 0 ? params.height() : source.size.height;
    if (!format || !plane || !fits(format->unpacked, target.pixelType) || plane->width != width ||
        plane->height != height || !holdsPacked(source, *plane)) {
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
