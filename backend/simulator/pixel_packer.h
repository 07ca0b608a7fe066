// Writes samples of 8 to 16 bits into the memory layout of a pixel format.
#pragma once

#include "simulator/pixel_format.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace simulator
{

/// Packs mono or Bayer samples in one flat run: push() rows in order, then finish(). The memory
/// holds at least PixelFormat::imageBytes() of all samples pushed.
class PixelPacker
{
public:
    PixelPacker(const PixelFormat& format, std::uint8_t* memory);

    /// Samples of full 16-bit scale; their highest bits are kept.
    void push(const std::uint16_t* samples, std::size_t count);
    /// Writes what is left of an incomplete group.
    void finish();

private:
    void pushGroups(const std::uint16_t* samples, std::size_t groups);
    std::size_t pushPlain(const std::uint16_t* samples, std::size_t count);

    const PixelFormat& format_;
    std::uint8_t* out_;
    std::uint32_t shift_;
    std::size_t groupSize_;               ///< Samples that end on a byte boundary together.
    std::array<std::uint16_t, 4> rest_{}; ///< Samples of an incomplete group.
    std::size_t restCount_ = 0;
};

} // namespace simulator
