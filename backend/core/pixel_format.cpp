// The pixel formats that have both a PFNC code and a ZelPixelType.
#include "core/pixel_format.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace core
{

namespace
{

// Ascending by PFNC code.
constexpr std::array<PixelFormat, 60> kFormats = {{
    {0x01080001, ZelPixel::kMono8, 1},
    {0x01080008, ZelPixel::kBayerGR8, 1},
    {0x01080009, ZelPixel::kBayerRG8, 1},
    {0x0108000A, ZelPixel::kBayerGB8, 1},
    {0x0108000B, ZelPixel::kBayerBG8, 1},
    {0x010A0046, ZelPixel::kMono10p, 1},
    {0x010A0052, ZelPixel::kBayerBG10p, 1},
    {0x010A0054, ZelPixel::kBayerGB10p, 1},
    {0x010A0056, ZelPixel::kBayerGR10p, 1},
    {0x010A0058, ZelPixel::kBayerRG10p, 1},
    {0x010C0004, ZelPixel::kMono10Packed, 1},
    {0x010C0006, ZelPixel::kMono12Packed, 1},
    {0x010C0026, ZelPixel::kBayerGR10Packed, 1},
    {0x010C0027, ZelPixel::kBayerRG10Packed, 1},
    {0x010C0028, ZelPixel::kBayerGB10Packed, 1},
    {0x010C0029, ZelPixel::kBayerBG10Packed, 1},
    {0x010C002A, ZelPixel::kBayerGR12Packed, 1},
    {0x010C002B, ZelPixel::kBayerRG12Packed, 1},
    {0x010C002C, ZelPixel::kBayerGB12Packed, 1},
    {0x010C002D, ZelPixel::kBayerBG12Packed, 1},
    {0x010C0047, ZelPixel::kMono12p, 1},
    {0x010C0053, ZelPixel::kBayerBG12p, 1},
    {0x010C0055, ZelPixel::kBayerGB12p, 1},
    {0x010C0057, ZelPixel::kBayerGR12p, 1},
    {0x010C0059, ZelPixel::kBayerRG12p, 1},
    {0x01100003, ZelPixel::kMono10, 1},
    {0x01100005, ZelPixel::kMono12, 1},
    {0x01100007, ZelPixel::kMono16, 1},
    {0x0110000C, ZelPixel::kBayerGR10, 1},
    {0x0110000D, ZelPixel::kBayerRG10, 1},
    {0x0110000E, ZelPixel::kBayerGB10, 1},
    {0x0110000F, ZelPixel::kBayerBG10, 1},
    {0x01100010, ZelPixel::kBayerGR12, 1},
    {0x01100011, ZelPixel::kBayerRG12, 1},
    {0x01100012, ZelPixel::kBayerGB12, 1},
    {0x01100013, ZelPixel::kBayerBG12, 1},
    {0x01100025, ZelPixel::kMono14, 1},
    {0x0110002E, ZelPixel::kBayerGR16, 1},
    {0x0110002F, ZelPixel::kBayerRG16, 1},
    {0x01100030, ZelPixel::kBayerGB16, 1},
    {0x01100031, ZelPixel::kBayerBG16, 1},
    {0x01100109, ZelPixel::kBayerGR14, 1},
    {0x0110010A, ZelPixel::kBayerRG14, 1},
    {0x0110010B, ZelPixel::kBayerGB14, 1},
    {0x0110010C, ZelPixel::kBayerBG14, 1},
    {0x0210001F, ZelPixel::kYUV422_8_UYVY, 3},
    {0x02100032, ZelPixel::kYUV422_8, 3},
    {0x0210003B, ZelPixel::kYCbCr422_8, 3},
    {0x02180014, ZelPixel::kRGB8, 3},
    {0x02180015, ZelPixel::kBGR8, 3},
    {0x02200016, ZelPixel::kRGBa8, 4},
    {0x02200017, ZelPixel::kBGRa8, 4},
    {0x02300018, ZelPixel::kRGB10, 3},
    {0x02300019, ZelPixel::kBGR10, 3},
    {0x0230001A, ZelPixel::kRGB12, 3},
    {0x0230001B, ZelPixel::kBGR12, 3},
    {0x02300033, ZelPixel::kRGB16, 3},
    {0x0230004A, ZelPixel::kBGR14, 3},
    {0x0230004B, ZelPixel::kBGR16, 3},
    {0x0230005E, ZelPixel::kRGB14, 3},
}};

constexpr bool isAscending()
{
    for (std::size_t i = 1; i < kFormats.size(); ++i) {
        if (kFormats[i - 1].pfnc >= kFormats[i].pfnc) {
            return false;
        }
    }
    return true;
}

// PFNC and ZelPixelType both carry the stored bits in byte 2, and PFNC the kind of pixel in byte 3.
constexpr bool codesAgree()
{
    for (const PixelFormat& format : kFormats) {
        const std::uint32_t family = ZelPixel::family(format.type);
        const bool oneComponent =
            family == ZelPixel::kFamilyMono || family == ZelPixel::kFamilyBayer;
        if (pfncBitsPerPixel(format.pfnc) != ZelPixel::storedBits(format.type) ||
            format.pfnc >> 24U != (oneComponent ? 1U : 2U) ||
            oneComponent != (format.components == 1)) {
            return false;
        }
    }
    return true;
}

constexpr bool typesAreUnique()
{
    for (std::size_t i = 0; i < kFormats.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            if (kFormats[i].type == kFormats[j].type) {
                return false;
            }
        }
    }
    return true;
}

static_assert(isAscending(), "looked up by bisection");
static_assert(codesAgree(), "one format, two numbers");
static_assert(typesAreUnique(), "each format once");

} // namespace

const PixelFormat* findPixelFormat(std::uint32_t pfnc)
{
    const auto* const found = std::lower_bound(
        kFormats.begin(), kFormats.end(), pfnc,
        [](const PixelFormat& format, std::uint32_t code) { return format.pfnc < code; });
    return found != kFormats.end() && found->pfnc == pfnc ? found : nullptr;
}

} // namespace core
