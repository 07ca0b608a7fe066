#include "common/image_plane.h"

namespace ZelComponents
{

namespace
{

template <typename Byte> std::optional<Plane<Byte>> checkedPlane(const ZelImage& image)
{
    const std::uint64_t bytesPerPixel = ZelPixel::storedBits(image.pixelType) / 8U;
    if (!isUnpacked(image.pixelType) || bytesPerPixel == 0 || image.data == nullptr ||
        image.size.width == 0 || image.size.height == 0) {
        return std::nullopt;
    }
    const std::uint64_t rowBytes = bytesPerPixel * image.size.width;
    const std::uint64_t stride = image.stride != 0 ? image.stride : rowBytes;
    std::uint64_t needed = 0;
    if (stride < rowBytes || __builtin_mul_overflow(stride, image.size.height - 1U, &needed) ||
        __builtin_add_overflow(needed, rowBytes, &needed) || needed > image.dataSize) {
        return std::nullopt;
    }
    return Plane<Byte>{static_cast<Byte*>(image.data), stride, image.size.width, image.size.height,
                       bytesPerPixel};
}

} // namespace

bool isUnpacked(ZelPixelType type)
{
    return ZelPixel::packing(type) == ZelPixel::kPackingNone &&
           ZelPixel::storedBits(type) % 8U == 0;
}

bool sameSize(const ZelImage& left, const ZelImage& right)
{
    return left.size.width == right.size.width && left.size.height == right.size.height;
}

std::optional<SourcePlane> sourcePlane(const ZelImage& image)
{
    return checkedPlane<const std::uint8_t>(image);
}

std::optional<TargetPlane> targetPlane(const ZelImage& image)
{
    return checkedPlane<std::uint8_t>(image);
}

std::optional<std::uint64_t> packedBytes(std::uint64_t pixels, std::uint32_t storedBits)
{
    std::uint64_t bits = 0;
    if (__builtin_mul_overflow(pixels, std::uint64_t{storedBits}, &bits)) {
        return std::nullopt;
    }
    return bits / 8U + (bits % 8U != 0 ? 1U : 0U);
}

} // namespace ZelComponents
