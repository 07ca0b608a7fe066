#include "imaging/pixel_format_table.h"

#include <utility>

namespace imaging
{

namespace
{

using ZelPixel::kFormats;

/// Colour orders are told apart by the letters of their layout.
constexpr ComponentIndex indexFor(const ZelPixel::Format& format)
{
    switch (ZelPixel::family(format.code)) {
    case ZelPixel::kFamilyRgb:
        if (format.layout[0] == 'R') {
            return format.components == 4 ? &GetIndexRGBA : &GetIndexRGB;
        }
        return format.components == 4 ? &GetIndexBGRA : &GetIndexBGR;
    case ZelPixel::kFamilyYuv:
        return &GetIndexYUV;
    default:
        return &GetIndexMONO;
    }
}

template <std::size_t... kRow>
constexpr std::array<PixelFormat, sizeof...(kRow)> describe(std::index_sequence<kRow...>)
{
    return {{PixelFormat{kFormats[kRow].name, kFormats[kRow].layout, kFormats[kRow].components,
                         kFormats[kRow].bits, indexFor(kFormats[kRow]), kFormats[kRow].phase,
                         kFormats[kRow].code}...}};
}

/// The letters of a colour row's layout must be ones that its index function finds, in the order
/// of the positions; the function of the YUV family lacks A, Cb and Cr.
constexpr bool functionsFindTheirLetters()
{
    for (const ZelPixel::Format& format : kFormats) {
        const bool isRgb = ZelPixel::family(format.code) == ZelPixel::kFamilyRgb;
        for (std::uint32_t i = 0; isRgb && i < format.components; ++i) {
            if (indexFor(format)(format.layout[std::size_t{2} * i]) !=
                static_cast<std::int32_t>(i)) {
                return false;
            }
        }
    }
    return true;
}
static_assert(functionsFindTheirLetters(), "a layout contradicts its index function");

} // namespace

constexpr std::array<PixelFormat, kPixelFormatCount> s_colorModelDescription =
    describe(std::make_index_sequence<kPixelFormatCount>());

const PixelFormat* findPixelFormat(ZelPixelType code)
{
    return ZelPixel::findFormat(code) != nullptr ? &s_colorModelDescription[ZelPixel::row(code) - 1]
                                                 : nullptr;
}

bool describePixels(ZelImage& image, ZelPixelType code)
{
    const PixelFormat* format = findPixelFormat(code);
    if (format == nullptr) {
        return false;
    }
    image.pixelType = code;
    image.bitsPerComponent = format->bits;
    image.components = format->components;
    image.packingAndDepth = code & 0xFF00U;
    image.storedBits = ZelPixel::storedBits(code);
    image.mosaic = 0;
    return true;
}

} // namespace imaging
