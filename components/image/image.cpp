// Allocation of images.
#include "zel_image/image.h"

#include "common/image_plane.h"
#include "zel_image/pixel_format_table.h"

#include <cstdlib>
#include <new>

namespace
{

constexpr std::uint32_t kMaxSide = 65535;
constexpr std::size_t kAlignment = 64;

ZelImage describe(ZelSize size, ZelPixelType type)
{
    ZelImage image{};
    image.pixelType = type;
    image.size = size;
    image.bitsPerComponent = ZelPixel::depth(type);
    image.components = ZelPixel::findFormat(type)->components;
    image.packingAndDepth = type & 0xFF00U;
    image.storedBits = ZelPixel::storedBits(type);
    const std::uint64_t pixels = std::uint64_t{size.width} * size.height;
    image.dataSize = ZelComponents::packedBytes(pixels, image.storedBits).value_or(0);
    if (ZelComponents::isUnpacked(type)) {
        image.stride = std::uint64_t{size.width} * (image.storedBits / 8U);
    }
    return image;
}

// Description and pixels share one block: calloc hands out large blocks as untouched zero pages,
// so an image costs nothing until its pixels are written.
ZelImage* allocate(const ZelImage& description)
{
    constexpr std::size_t kOverhead = sizeof(ZelImage) + kAlignment;
    std::size_t blockSize = 0;
    if (description.dataSize == 0 ||
        __builtin_add_overflow(description.dataSize, kOverhead, &blockSize)) {
        return nullptr;
    }
    void* const block = std::calloc(1, blockSize);
    if (block == nullptr) {
        return nullptr;
    }
    auto* const image = new (block) ZelImage(description);
    const auto end = reinterpret_cast<std::uintptr_t>(image + 1);
    const std::size_t padding = (kAlignment - end % kAlignment) % kAlignment;
    image->data = reinterpret_cast<std::uint8_t*>(image + 1) + padding;
    image->owner = image;
    return image;
}

bool isAllocatedHere(const ZelImage& image)
{
    return image.owner == &image; // A copy of the description does not own the pixels.
}

} // namespace

void ZelCreateImage(ZelImage** image, ZelSize size, ZelPixelType pixelType)
{
    if (image == nullptr) {
        return;
    }
    *image = nullptr;
    if (size.width == 0 || size.height == 0 || size.width > kMaxSide || size.height > kMaxSide ||
        ZelPixel::findFormat(pixelType) == nullptr) {
        return;
    }
    *image = allocate(describe(size, pixelType));
}

void ZelReleaseImage(ZelImage** image)
{
    if (image == nullptr || *image == nullptr) {
        return;
    }
    if (isAllocatedHere(**image)) {
        std::free(*image);
    }
    *image = nullptr;
}
