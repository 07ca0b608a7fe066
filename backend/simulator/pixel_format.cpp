// The pixel formats of the image components, as a camera makes them.
#include "simulator/pixel_format.h"

#include "zel_image/pixel_format_table.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace simulator
{

namespace
{

using ZelPixel::Format;

constexpr PixelKind kindOf(const Format& format)
{
    switch (ZelPixel::family(format.code)) {
    case ZelPixel::kFamilyMono:
        return PixelKind::Mono;
    case ZelPixel::kFamilyBayer:
        return PixelKind::Bayer;
    case ZelPixel::kFamilyRgb:
        return PixelKind::Rgb;
    default:
        return PixelKind::Yuv;
    }
}

constexpr PixelPacking packingOf(const Format& format)
{
    switch (ZelPixel::packing(format.code)) {
    case ZelPixel::kPackingPacked:
        return PixelPacking::Packed;
    case ZelPixel::kPackingP:
        return PixelPacking::Lsb;
    default:
        return PixelPacking::Plain;
    }
}

struct OrderRow {
    std::string_view layout;
    PixelOrder order;
};

constexpr OrderRow kOrders[] = {
    {"Y", PixelOrder::None},       {"G R G2 B", PixelOrder::GR},  {"R G B G2", PixelOrder::RG},
    {"G B G2 R", PixelOrder::GB},  {"B G R G2", PixelOrder::BG},  {"R G B", PixelOrder::Rgb},
    {"B G R", PixelOrder::Bgr},    {"R G B A", PixelOrder::RgbA}, {"B G R A", PixelOrder::BgrA},
    {"Y U Y V", PixelOrder::Yuyv}, {"U Y V Y", PixelOrder::Uyvy}, {"Y Cb Y Cr", PixelOrder::Yuyv},
};

constexpr const OrderRow* findOrder(const Format& format)
{
    for (const OrderRow& row : kOrders) {
        if (row.layout == format.layout) {
            return &row;
        }
    }
    return nullptr;
}

// What cameras can name, if its packing and order can be made here.
constexpr bool canBeMade(const Format& format)
{
    return format.pfnc != ZelPixel::kNoPfnc && findOrder(format) != nullptr &&
           ZelPixel::packing(format.code) != ZelPixel::kPackingFlex;
}

constexpr std::size_t countFormats()
{
    std::size_t count = 1;
    for (const Format& format : ZelPixel::kFormats) {
        count += canBeMade(format) ? 1 : 0;
    }
    return count;
}

constexpr std::array<PixelFormat, countFormats()> allFormats()
{
    std::array<PixelFormat, countFormats()> formats{};
    std::size_t count = 0;
    for (const Format& format : ZelPixel::kFormats) {
        if (canBeMade(format)) {
            formats[count++] = {format.name,
                                format.pfnc,
                                kindOf(format),
                                packingOf(format),
                                findOrder(format)->order,
                                format.bits};
        }
    }
    // One that the image components do not know.
    formats[count] = {"YUV8_UYV",          0x02180020,      PixelKind::Yuv,
                      PixelPacking::Plain, PixelOrder::Uyv, 8};
    return formats;
}

constexpr std::array<PixelFormat, countFormats()> kFormats = allFormats();
static_assert(kFormats.size() == 61, "every format that cameras can name");

} // namespace

const PixelFormat* findPixelFormat(const std::string& name)
{
    const auto* it = std::find_if(kFormats.begin(), kFormats.end(),
                                  [&](const PixelFormat& format) { return name == format.name; });
    return it == kFormats.end() ? nullptr : it;
}

const PixelFormat* findPixelFormat(std::uint32_t code)
{
    const auto* it = std::find_if(kFormats.begin(), kFormats.end(),
                                  [=](const PixelFormat& format) { return code == format.code; });
    return it == kFormats.end() ? nullptr : it;
}

} // namespace simulator
