// The pixel formats that a simulated camera can deliver, by their standard names and codes.
#pragma once

#include <cstdint>
#include <string>

namespace simulator
{

enum class PixelKind { Mono, Bayer, Rgb, Yuv };

/// How samples lie in memory. All formats are one flat run over the image, without line padding.
enum class PixelPacking {
    Plain,  ///< 8 bits in one byte, more in two (little endian, high bits 0).
    Lsb,    ///< "p": samples follow each other bit by bit, lowest bit first.
    Packed, ///< "Packed": two samples in three bytes, high bits first, low bits in the middle byte.
};

/// Order of the components in memory.
enum class PixelOrder { None, GR, RG, GB, BG, Rgb, Bgr, RgbA, BgrA, Yuyv, Uyvy, Uyv };

struct PixelFormat {
    const char* name; ///< PFNC name.
    std::uint32_t code;
    PixelKind kind;
    PixelPacking packing;
    PixelOrder order;
    std::uint32_t bits; ///< Significant bits of one component.

    /// Bits that one pixel takes in memory.
    std::uint32_t bitsPerPixel() const { return code >> 16 & 0xFF; }
    /// Bytes of an image; the last one may be partly used.
    std::uint64_t imageBytes(std::uint64_t width, std::uint64_t height) const
    {
        return (width * height * bitsPerPixel() + 7) / 8;
    }
};

/// Null when there is no such format.
const PixelFormat* findPixelFormat(const std::string& name);
const PixelFormat* findPixelFormat(std::uint32_t code);

} // namespace simulator
