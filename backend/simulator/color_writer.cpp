// RGB and YUV layouts.
#include "simulator/color_writer.h"

#include <algorithm>

namespace simulator
{

namespace
{

std::uint8_t byteOf(std::int32_t value)
{
    return static_cast<std::uint8_t>(std::clamp(value, 0, 255));
}

std::uint8_t luma(std::int32_t r, std::int32_t g, std::int32_t b)
{
    return byteOf((77 * r + 150 * g + 29 * b + 128) >> 8);
}

std::uint8_t chromaBlue(std::int32_t r, std::int32_t g, std::int32_t b)
{
    return byteOf(((-43 * r - 85 * g + 128 * b + 128) >> 8) + 128);
}

std::uint8_t chromaRed(std::int32_t r, std::int32_t g, std::int32_t b)
{
    return byteOf(((128 * r - 107 * g - 21 * b + 128) >> 8) + 128);
}

} // namespace

ColorWriter::ColorWriter(const PixelFormat& format, std::uint8_t* memory)
    : format_(format), out_(memory)
{
}

void ColorWriter::push(const std::uint16_t* red, const std::uint16_t* green,
                       const std::uint16_t* blue, std::size_t count)
{
    if (format_.kind == PixelKind::Yuv) {
        for (std::size_t i = 0; i < count; ++i) {
            pushYuv({red[i] >> 8, green[i] >> 8, blue[i] >> 8});
        }
        return;
    }
    const bool swap = format_.order == PixelOrder::Bgr || format_.order == PixelOrder::BgrA;
    const bool alpha = format_.order == PixelOrder::RgbA || format_.order == PixelOrder::BgrA;
    const std::uint16_t* first = swap ? blue : red;
    const std::uint16_t* last = swap ? red : blue;
    std::uint8_t* out = out_; // A local copy: bytes may alias anything, also the member.
    if (format_.bits == 8) {
        for (std::size_t i = 0; i < count; ++i) {
            *out++ = static_cast<std::uint8_t>(first[i] >> 8);
            *out++ = static_cast<std::uint8_t>(green[i] >> 8);
            *out++ = static_cast<std::uint8_t>(last[i] >> 8);
            if (alpha) {
                *out++ = 255;
            }
        }
    } else {
        const std::uint32_t shift = 16 - format_.bits;
        for (std::size_t i = 0; i < count; ++i) {
            for (const std::uint32_t value :
                 {first[i] >> shift, green[i] >> shift, last[i] >> shift}) {
                *out++ = static_cast<std::uint8_t>(value);
                *out++ = static_cast<std::uint8_t>(value >> 8);
            }
        }
    }
    out_ = out;
}

void ColorWriter::pushYuv(const Pixel& pixel)
{
    const auto [r, g, b] = pixel;
    if (format_.order == PixelOrder::Uyv) {
        *out_++ = chromaBlue(r, g, b);
        *out_++ = luma(r, g, b);
        *out_++ = chromaRed(r, g, b);
        return;
    }
    if (!isWaiting_) {
        waiting_ = pixel;
        isWaiting_ = true;
        return;
    }
    writePair(waiting_, pixel, 4);
    isWaiting_ = false;
}

void ColorWriter::writePair(const Pixel& first, const Pixel& second, std::size_t bytes)
{
    const std::int32_t r = (first[0] + second[0] + 1) / 2;
    const std::int32_t g = (first[1] + second[1] + 1) / 2;
    const std::int32_t b = (first[2] + second[2] + 1) / 2;
    const std::uint8_t y0 = luma(first[0], first[1], first[2]);
    const std::uint8_t y1 = luma(second[0], second[1], second[2]);
    const std::uint8_t u = chromaBlue(r, g, b);
    const std::uint8_t v = chromaRed(r, g, b);
    const bool chromaFirst = format_.order == PixelOrder::Uyvy;
    const std::array<std::uint8_t, 4> pair =
        chromaFirst ? std::array{u, y0, v, y1} : std::array{y0, u, y1, v};
    out_ = std::copy_n(pair.begin(), bytes, out_);
}

void ColorWriter::finish()
{
    if (isWaiting_) {
        writePair(waiting_, waiting_, 2);
        isWaiting_ = false;
    }
}

} // namespace simulator
