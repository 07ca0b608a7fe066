// Images of the image components and their allocation (libZelImageApi.so).
#pragma once

#include "../zel_export.h"
#include "pixel_type.h"

#include <cstdint>

/// Width and height in pixels.
struct ZelSize {
    std::uint32_t width;
    std::uint32_t height;
};

/// An image: description and memory. Rows lie one after the other, `stride` bytes apart; bit-packed
/// formats run on over row ends without padding and have stride 0. Little-endian samples.
struct ZelImage {
    ZelPixelType pixelType;
    ZelSize size;
    std::uint32_t bitsPerComponent; ///< Significant bits of one component.
    std::uint32_t components;       ///< Components per pixel: 1, 3 or 4.
    std::uint32_t packingAndDepth;  ///< The pixel type AND 0xFF00.
    std::uint32_t storedBits;       ///< Bits per pixel in memory.
    std::uint32_t mosaic;   ///< Bayer pixel type of a mosaic unpacked into a mono image; else 0.
    std::uint64_t stride;   ///< Bytes from one row to the next; 0 for bit-packed formats.
    std::uint64_t dataSize; ///< Bytes at `data` that belong to the image.
    void* data;             ///< Pixels; null for an image that is a description only.
    const void* owner;      ///< Who frees `data`: set by ZelCreateImage, else null.
};

extern "C" {

/// Allocates an image (zero-filled, 64-byte aligned) and stores it in `*image`; `*image` becomes
/// null for a size of 0 or above 65535 pixels a side, an unknown pixel type, or want of memory. The
/// caller releases it.
ZEL_API void ZelCreateImage(ZelImage** image, ZelSize size, ZelPixelType pixelType);

/// Frees an image made by ZelCreateImage and sets `*image` to null. Null is accepted, twice.
ZEL_API void ZelReleaseImage(ZelImage** image);
}
