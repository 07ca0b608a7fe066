// Writes red, green and blue samples into the memory layout of a colour format.
#pragma once

#include "simulator/pixel_format.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace simulator
{

/// RGB and YUV formats in one flat run: push() rows in order, then finish(). YUV is full range with
/// the BT.601 weights; two pixels of a 4:2:2 format share the chroma of their mean.
class ColorWriter
{
public:
    ColorWriter(const PixelFormat& format, std::uint8_t* memory);

    /// Samples of full 16-bit scale; their highest bits are kept.
    void push(const std::uint16_t* red, const std::uint16_t* green, const std::uint16_t* blue,
              std::size_t count);
    /// Writes the first half of a 4:2:2 pair whose second pixel never came.
    void finish();

private:
    using Pixel = std::array<std::int32_t, 3>; ///< Red, green, blue, 8 bits.

    void pushYuv(const Pixel& pixel);
    void writePair(const Pixel& first, const Pixel& second, std::size_t bytes);

    const PixelFormat& format_;
    std::uint8_t* out_;
    Pixel waiting_{}; ///< First pixel of a 4:2:2 pair.
    bool isWaiting_ = false;
};

} // namespace simulator
