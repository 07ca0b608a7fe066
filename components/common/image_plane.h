// Checked views of the memory of unpacked images, and checked sizes of bit-packed ones.
#pragma once

#include "zel_image/image.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace ZelComponents
{

/// Rows of unpacked pixels inside an image's memory. Row y begins at `data + y * stride`; its
/// pixels lie side by side in `bytesPerPixel * width` bytes. Borrowed from the image.
template <typename Byte> struct Plane {
    Byte* data;
    std::size_t stride;
    std::size_t width;
    std::size_t height;
    std::size_t bytesPerPixel;

    Byte* row(std::size_t y) const { return data + y * stride; }
    std::size_t rowBytes() const { return width * bytesPerPixel; }
    /// True when the rows follow each other without padding.
    bool isContiguous() const { return stride == rowBytes(); }
};

using SourcePlane = Plane<const std::uint8_t>;
using TargetPlane = Plane<std::uint8_t>;

/// True when packing says that pixels fill whole bytes on their own.
bool isUnpacked(ZelPixelType type);

/// True when both images have the same width and height.
bool sameSize(const ZelImage& left, const ZelImage& right);

/// The pixels of an unpacked image. A stride of 0 means rows without padding. Empty when the image
/// is bit-packed, has no pixels, no memory, rows that overlap, or less memory than its description
/// needs.
std::optional<SourcePlane> sourcePlane(const ZelImage& image);
std::optional<TargetPlane> targetPlane(const ZelImage& image);

/// Bytes that a flat run of `pixels` pixels of `storedBits` bits takes, the last byte filled up;
/// empty when that exceeds 64 bits.
std::optional<std::uint64_t> packedBytes(std::uint64_t pixels, std::uint32_t storedBits);

} // namespace ZelComponents
