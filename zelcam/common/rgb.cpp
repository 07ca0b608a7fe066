#include "common/rgb.h"

#include <algorithm>
#include <cstring>

namespace common
{

namespace
{

using Byte = unsigned char;

/// Where red, green and blue stand in a pixel, in components.
struct Order {
    std::size_t red, green, blue, step;
};

void fromBytes(const Byte* from, Byte* to, std::uint32_t width, Order order)
{
    for (std::uint32_t x = 0; x < width; ++x, from += order.step, to += 3) {
        to[0] = from[order.red];
        to[1] = from[order.green];
        to[2] = from[order.blue];
    }
}

void fromWords(const Byte* from, Byte* to, std::uint32_t width, Order order, unsigned shift)
{
    const auto sample = [&](std::size_t index) {
        std::uint16_t word = 0;
        std::memcpy(&word, from + 2 * index, sizeof word);
        return static_cast<Byte>(std::min<unsigned>(unsigned{word} >> shift, 255U));
    };
    for (std::uint32_t x = 0; x < width; ++x, from += 2 * order.step, to += 3) {
        to[0] = sample(order.red);
        to[1] = sample(order.green);
        to[2] = sample(order.blue);
    }
}

Byte clamped(int value) { return static_cast<Byte>(std::clamp(value, 0, 255)); }

void putYuv(int y, int u, int v, Byte* to)
{
    // BT.601 in 1/65536.
    u -= 128;
    v -= 128;
    constexpr int kHalf = 1 << 15;
    to[0] = clamped(y + ((91881 * v + kHalf) >> 16));
    to[1] = clamped(y - ((22554 * u + 46802 * v + kHalf) >> 16));
    to[2] = clamped(y + ((116130 * u + kHalf) >> 16));
}

/// `luma` is the place of the first Y in the four bytes of two pixels: 0 for YUYV, 1 for UYVY.
void fromYuv422(const Byte* from, Byte* to, std::uint32_t width, std::size_t luma)
{
    const std::size_t chroma = 1 - luma;
    for (std::uint32_t x = 0; x < width; ++x, to += 3) {
        const Byte* const pair = from + std::size_t{x / 2} * 4;
        putYuv(pair[luma + std::size_t{2} * (x % 2)], pair[chroma], pair[chroma + 2], to);
    }
}

template <class Row> void eachRow(const ZelImage& source, ZelImage& target, Row row)
{
    for (std::uint32_t y = 0; y < source.size.height; ++y) {
        row(static_cast<const Byte*>(source.data) + y * source.stride,
            static_cast<Byte*>(target.data) + y * target.stride, source.size.width);
    }
}

constexpr Order kRgb{0, 1, 2, 3};
constexpr Order kBgr{2, 1, 0, 3};
constexpr Order kRgba{0, 1, 2, 4};
constexpr Order kBgra{2, 1, 0, 4};

} // namespace

bool toRgb8(const ZelImage& source, ZelImage& target)
{
    const unsigned shift = ZelPixel::depth(source.pixelType) - 8;
    const auto bytes = [&](Order order) {
        eachRow(source, target,
                [=](const Byte* from, Byte* to, auto width) { fromBytes(from, to, width, order); });
        return true;
    };
    const auto words = [&](Order order) {
        eachRow(source, target, [=](const Byte* from, Byte* to, auto width) {
            fromWords(from, to, width, order, shift);
        });
        return true;
    };
    const auto yuv = [&](std::size_t luma) {
        // Two pixels share their colour, so a row has an even number of them.
        if (source.size.width % 2 != 0) {
            return false;
        }
        eachRow(source, target,
                [=](const Byte* from, Byte* to, auto width) { fromYuv422(from, to, width, luma); });
        return true;
    };
    if (source.stride == 0) {
        return false;
    }
    switch (source.pixelType) {
    case ZelPixel::kRGBa8:
        return bytes(kRgba);
    case ZelPixel::kBGRa8:
        return bytes(kBgra);
    case ZelPixel::kRGB10:
    case ZelPixel::kRGB12:
    case ZelPixel::kRGB14:
    case ZelPixel::kRGB16:
        return words(kRgb);
    case ZelPixel::kBGR10:
    case ZelPixel::kBGR12:
    case ZelPixel::kBGR14:
    case ZelPixel::kBGR16:
        return words(kBgr);
    case ZelPixel::kYUV422_8_UYVY:
        return yuv(1);
    case ZelPixel::kYUV422_8:
    case ZelPixel::kYCbCr422_8:
        return yuv(0);
    default:
        return false;
    }
}

} // namespace common
