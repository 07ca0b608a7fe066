// The pixel formats of the image components: one row per format. Everything that knows formats
// derives from here.
#pragma once

#include "pixel_type.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace ZelPixel
{

struct Format {
    const char* name;         ///< For example "Mono8"; the name of the naming convention, too.
    const char* layout;       ///< Components of one pixel or mosaic cell, separated by one blank.
    std::uint32_t components; ///< Per pixel: 1, 3 or 4; a raw mosaic pixel has one.
    std::uint32_t bits;       ///< Significant bits per component: 8, 10, 12, 14 or 16.
    std::uint32_t phase;      ///< Phase 0 to 3 of a TrueSense mosaic, else 0.
    ZelPixelType code;
    std::uint32_t pfnc; ///< The code that cameras use for the format; 0 where there is none.
};

constexpr std::uint32_t kNoPfnc = 0;
constexpr std::uint32_t kFormatCount = 133;

// clang-format off
/// All formats; row number n of a code stands at position n - 1.
inline constexpr Format kFormats[kFormatCount] = {
    {"Mono8", "Y", 1, 8, 0, kMono8, 0x01080001},
    {"Mono10", "Y", 1, 10, 0, kMono10, 0x01100003},
    {"Mono10p", "Y", 1, 10, 0, kMono10p, 0x010A0046},
    {"Mono10Packed", "Y", 1, 10, 0, kMono10Packed, 0x010C0004},
    {"Mono10_FLExPacked", "Y", 1, 10, 0, kMono10_FLExPacked, kNoPfnc},
    {"Mono12", "Y", 1, 12, 0, kMono12, 0x01100005},
    {"Mono12p", "Y", 1, 12, 0, kMono12p, 0x010C0047},
    {"Mono12Packed", "Y", 1, 12, 0, kMono12Packed, 0x010C0006},
    {"Mono12_FLExPacked", "Y", 1, 12, 0, kMono12_FLExPacked, kNoPfnc},
    {"Mono14", "Y", 1, 14, 0, kMono14, 0x01100025},
    {"Mono16", "Y", 1, 16, 0, kMono16, 0x01100007},
    {"Mono8_FLExPacked", "Y", 1, 8, 0, kMono8_FLExPacked, kNoPfnc},
    {"BayerGR8", "G R G2 B", 1, 8, 0, kBayerGR8, 0x01080008},
    {"BayerRG8", "R G B G2", 1, 8, 0, kBayerRG8, 0x01080009},
    {"BayerGB8", "G B G2 R", 1, 8, 0, kBayerGB8, 0x0108000A},
    {"BayerBG8", "B G R G2", 1, 8, 0, kBayerBG8, 0x0108000B},
    {"BayerGR10", "G R G2 B", 1, 10, 0, kBayerGR10, 0x0110000C},
    {"BayerRG10", "R G B G2", 1, 10, 0, kBayerRG10, 0x0110000D},
    {"BayerGB10", "G B G2 R", 1, 10, 0, kBayerGB10, 0x0110000E},
    {"BayerBG10", "B G R G2", 1, 10, 0, kBayerBG10, 0x0110000F},
    {"BayerGR12", "G R G2 B", 1, 12, 0, kBayerGR12, 0x01100010},
    {"BayerRG12", "R G B G2", 1, 12, 0, kBayerRG12, 0x01100011},
    {"BayerGB12", "G B G2 R", 1, 12, 0, kBayerGB12, 0x01100012},
    {"BayerBG12", "B G R G2", 1, 12, 0, kBayerBG12, 0x01100013},
    {"BayerGR10p", "G R G2 B", 1, 10, 0, kBayerGR10p, 0x010A0056},
    {"BayerGR10Packed", "G R G2 B", 1, 10, 0, kBayerGR10Packed, 0x010C0026},
    {"BayerRG10p", "R G B G2", 1, 10, 0, kBayerRG10p, 0x010A0058},
    {"BayerRG10Packed", "R G B G2", 1, 10, 0, kBayerRG10Packed, 0x010C0027},
    {"BayerGB10p", "G B G2 R", 1, 10, 0, kBayerGB10p, 0x010A0054},
    {"BayerGB10Packed", "G B G2 R", 1, 10, 0, kBayerGB10Packed, 0x010C0028},
    {"BayerBG10p", "B G R G2", 1, 10, 0, kBayerBG10p, 0x010A0052},
    {"BayerBG10Packed", "B G R G2", 1, 10, 0, kBayerBG10Packed, 0x010C0029},
    {"BayerGR12p", "G R G2 B", 1, 12, 0, kBayerGR12p, 0x010C0057},
    {"BayerGR12Packed", "G R G2 B", 1, 12, 0, kBayerGR12Packed, 0x010C002A},
    {"BayerRG12p", "R G B G2", 1, 12, 0, kBayerRG12p, 0x010C0059},
    {"BayerRG12Packed", "R G B G2", 1, 12, 0, kBayerRG12Packed, 0x010C002B},
    {"BayerGB12p", "G B G2 R", 1, 12, 0, kBayerGB12p, 0x010C0055},
    {"BayerGB12Packed", "G B G2 R", 1, 12, 0, kBayerGB12Packed, 0x010C002C},
    {"BayerBG12p", "B G R G2", 1, 12, 0, kBayerBG12p, 0x010C0053},
    {"BayerBG12Packed", "B G R G2", 1, 12, 0, kBayerBG12Packed, 0x010C002D},
    {"BayerGR14", "G R G2 B", 1, 14, 0, kBayerGR14, 0x01100109},
    {"BayerRG14", "R G B G2", 1, 14, 0, kBayerRG14, 0x0110010A},
    {"BayerGB14", "G B G2 R", 1, 14, 0, kBayerGB14, 0x0110010B},
    {"BayerBG14", "B G R G2", 1, 14, 0, kBayerBG14, 0x0110010C},
    {"BayerGR16", "G R G2 B", 1, 16, 0, kBayerGR16, 0x0110002E},
    {"BayerRG16", "R G B G2", 1, 16, 0, kBayerRG16, 0x0110002F},
    {"BayerGB16", "G B G2 R", 1, 16, 0, kBayerGB16, 0x01100030},
    {"BayerBG16", "B G R G2", 1, 16, 0, kBayerBG16, 0x01100031},
    {"TrueSense_BGGR_WBBW_0_8", "W B W G B W G W W G W R G W R W", 1, 8, 0, 0x04080131, kNoPfnc},
    {"TrueSense_BGGR_WBBW_1_8", "W B W G B W G W W G W R G W R W", 1, 8, 1, 0x04080132, kNoPfnc},
    {"TrueSense_BGGR_WBBW_2_8", "W B W G B W G W W G W R G W R W", 1, 8, 2, 0x04080133, kNoPfnc},
    {"TrueSense_BGGR_WBBW_3_8", "W B W G B W G W W G W R G W R W", 1, 8, 3, 0x04080134, kNoPfnc},
    {"TrueSense_GBRG_WGGW_0_8", "W G W B G W B W W R W G R W G W", 1, 8, 0, 0x04080135, kNoPfnc},
    {"TrueSense_GBRG_WGGW_1_8", "W G W B G W B W W R W G R W G W", 1, 8, 1, 0x04080136, kNoPfnc},
    {"TrueSense_GBRG_WGGW_2_8", "W G W B G W B W W R W G R W G W", 1, 8, 2, 0x04080137, kNoPfnc},
    {"TrueSense_GBRG_WGGW_3_8", "W G W B G W B W W R W G R W G W", 1, 8, 3, 0x04080138, kNoPfnc},
    {"TrueSense_GRBG_WGGW_0_8", "W G W R G W R W W B W G B W G W", 1, 8, 0, 0x04080139, kNoPfnc},
    {"TrueSense_GRBG_WGGW_1_8", "W G W R G W R W W B W G B W G W", 1, 8, 1, 0x0408013A, kNoPfnc},
    {"TrueSense_GRBG_WGGW_2_8", "W G W R G W R W W B W G B W G W", 1, 8, 2, 0x0408013B, kNoPfnc},
    {"TrueSense_GRBG_WGGW_3_8", "W G W R G W R W W B W G B W G W", 1, 8, 3, 0x0408013C, kNoPfnc},
    {"TrueSense_RGGB_WRRW_0_8", "W R W G R W G W W G W B G W B W", 1, 8, 0, 0x0408013D, kNoPfnc},
    {"TrueSense_RGGB_WRRW_1_8", "W R W G R W G W W G W B G W B W", 1, 8, 1, 0x0408013E, kNoPfnc},
    {"TrueSense_RGGB_WRRW_2_8", "W R W G R W G W W G W B G W B W", 1, 8, 2, 0x0408013F, kNoPfnc},
    {"TrueSense_RGGB_WRRW_3_8", "W R W G R W G W W G W B G W B W", 1, 8, 3, 0x04080140, kNoPfnc},
    {"TrueSense_BGGR_WBBW_0_10", "W B W G B W G W W G W R G W R W", 1, 10, 0, 0x04100241, kNoPfnc},
    {"TrueSense_BGGR_WBBW_1_10", "W B W G B W G W W G W R G W R W", 1, 10, 1, 0x04100242, kNoPfnc},
    {"TrueSense_BGGR_WBBW_2_10", "W B W G B W G W W G W R G W R W", 1, 10, 2, 0x04100243, kNoPfnc},
    {"TrueSense_BGGR_WBBW_3_10", "W B W G B W G W W G W R G W R W", 1, 10, 3, 0x04100244, kNoPfnc},
    {"TrueSense_GBRG_WGGW_0_10", "W G W B G W B W W R W G R W G W", 1, 10, 0, 0x04100245, kNoPfnc},
    {"TrueSense_GBRG_WGGW_1_10", "W G W B G W B W W R W G R W G W", 1, 10, 1, 0x04100246, kNoPfnc},
    {"TrueSense_GBRG_WGGW_2_10", "W G W B G W B W W R W G R W G W", 1, 10, 2, 0x04100247, kNoPfnc},
    {"TrueSense_GBRG_WGGW_3_10", "W G W B G W B W W R W G R W G W", 1, 10, 3, 0x04100248, kNoPfnc},
    {"TrueSense_GRBG_WGGW_0_10", "W G W R G W R W W B W G B W G W", 1, 10, 0, 0x04100249, kNoPfnc},
    {"TrueSense_GRBG_WGGW_1_10", "W G W R G W R W W B W G B W G W", 1, 10, 1, 0x0410024A, kNoPfnc},
    {"TrueSense_GRBG_WGGW_2_10", "W G W R G W R W W B W G B W G W", 1, 10, 2, 0x0410024B, kNoPfnc},
    {"TrueSense_GRBG_WGGW_3_10", "W G W R G W R W W B W G B W G W", 1, 10, 3, 0x0410024C, kNoPfnc},
    {"TrueSense_RGGB_WRRW_0_10", "W R W G R W G W W G W B G W B W", 1, 10, 0, 0x0410024D, kNoPfnc},
    {"TrueSense_RGGB_WRRW_1_10", "W R W G R W G W W G W B G W B W", 1, 10, 1, 0x0410024E, kNoPfnc},
    {"TrueSense_RGGB_WRRW_2_10", "W R W G R W G W W G W B G W B W", 1, 10, 2, 0x0410024F, kNoPfnc},
    {"TrueSense_RGGB_WRRW_3_10", "W R W G R W G W W G W B G W B W", 1, 10, 3, 0x04100250, kNoPfnc},
    {"TrueSense_BGGR_WBBW_0_12", "W B W G B W G W W G W R G W R W", 1, 12, 0, 0x04100351, kNoPfnc},
    {"TrueSense_BGGR_WBBW_1_12", "W B W G B W G W W G W R G W R W", 1, 12, 1, 0x04100352, kNoPfnc},
    {"TrueSense_BGGR_WBBW_2_12", "W B W G B W G W W G W R G W R W", 1, 12, 2, 0x04100353, kNoPfnc},
    {"TrueSense_BGGR_WBBW_3_12", "W B W G B W G W W G W R G W R W", 1, 12, 3, 0x04100354, kNoPfnc},
    {"TrueSense_GBRG_WGGW_0_12", "W G W B G W B W W R W G R W G W", 1, 12, 0, 0x04100355, kNoPfnc},
    {"TrueSense_GBRG_WGGW_1_12", "W G W B G W B W W R W G R W G W", 1, 12, 1, 0x04100356, kNoPfnc},
    {"TrueSense_GBRG_WGGW_2_12", "W G W B G W B W W R W G R W G W", 1, 12, 2, 0x04100357, kNoPfnc},
    {"TrueSense_GBRG_WGGW_3_12", "W G W B G W B W W R W G R W G W", 1, 12, 3, 0x04100358, kNoPfnc},
    {"TrueSense_GRBG_WGGW_0_12", "W G W R G W R W W B W G B W G W", 1, 12, 0, 0x04100359, kNoPfnc},
    {"TrueSense_GRBG_WGGW_1_12", "W G W R G W R W W B W G B W G W", 1, 12, 1, 0x0410035A, kNoPfnc},
    {"TrueSense_GRBG_WGGW_2_12", "W G W R G W R W W B W G B W G W", 1, 12, 2, 0x0410035B, kNoPfnc},
    {"TrueSense_GRBG_WGGW_3_12", "W G W R G W R W W B W G B W G W", 1, 12, 3, 0x0410035C, kNoPfnc},
    {"TrueSense_RGGB_WRRW_0_12", "W R W G R W G W W G W B G W B W", 1, 12, 0, 0x0410035D, kNoPfnc},
    {"TrueSense_RGGB_WRRW_1_12", "W R W G R W G W W G W B G W B W", 1, 12, 1, 0x0410035E, kNoPfnc},
    {"TrueSense_RGGB_WRRW_2_12", "W R W G R W G W W G W B G W B W", 1, 12, 2, 0x0410035F, kNoPfnc},
    {"TrueSense_RGGB_WRRW_3_12", "W R W G R W G W W G W B G W B W", 1, 12, 3, 0x04100360, kNoPfnc},
    {"TrueSense_BGGR_WBBW_0_14", "W B W G B W G W W G W R G W R W", 1, 14, 0, 0x04100461, kNoPfnc},
    {"TrueSense_BGGR_WBBW_1_14", "W B W G B W G W W G W R G W R W", 1, 14, 1, 0x04100462, kNoPfnc},
    {"TrueSense_BGGR_WBBW_2_14", "W B W G B W G W W G W R G W R W", 1, 14, 2, 0x04100463, kNoPfnc},
    {"TrueSense_BGGR_WBBW_3_14", "W B W G B W G W W G W R G W R W", 1, 14, 3, 0x04100464, kNoPfnc},
    {"TrueSense_GBRG_WGGW_0_14", "W G W B G W B W W R W G R W G W", 1, 14, 0, 0x04100465, kNoPfnc},
    {"TrueSense_GBRG_WGGW_1_14", "W G W B G W B W W R W G R W G W", 1, 14, 1, 0x04100466, kNoPfnc},
    {"TrueSense_GBRG_WGGW_2_14", "W G W B G W B W W R W G R W G W", 1, 14, 2, 0x04100467, kNoPfnc},
    {"TrueSense_GBRG_WGGW_3_14", "W G W B G W B W W R W G R W G W", 1, 14, 3, 0x04100468, kNoPfnc},
    {"TrueSense_GRBG_WGGW_0_14", "W G W R G W R W W B W G B W G W", 1, 14, 0, 0x04100469, kNoPfnc},
    {"TrueSense_GRBG_WGGW_1_14", "W G W R G W R W W B W G B W G W", 1, 14, 1, 0x0410046A, kNoPfnc},
    {"TrueSense_GRBG_WGGW_2_14", "W G W R G W R W W B W G B W G W", 1, 14, 2, 0x0410046B, kNoPfnc},
    {"TrueSense_GRBG_WGGW_3_14", "W G W R G W R W W B W G B W G W", 1, 14, 3, 0x0410046C, kNoPfnc},
    {"TrueSense_RGGB_WRRW_0_14", "W R W G R W G W W G W B G W B W", 1, 14, 0, 0x0410046D, kNoPfnc},
    {"TrueSense_RGGB_WRRW_1_14", "W R W G R W G W W G W B G W B W", 1, 14, 1, 0x0410046E, kNoPfnc},
    {"TrueSense_RGGB_WRRW_2_14", "W R W G R W G W W G W B G W B W", 1, 14, 2, 0x0410046F, kNoPfnc},
    {"TrueSense_RGGB_WRRW_3_14", "W R W G R W G W W G W B G W B W", 1, 14, 3, 0x04100470, kNoPfnc},
    {"RGB8", "R G B", 3, 8, 0, kRGB8, 0x02180014},
    {"BGR8", "B G R", 3, 8, 0, kBGR8, 0x02180015},
    {"RGBa8", "R G B A", 4, 8, 0, kRGBa8, 0x02200016},
    {"BGRa8", "B G R A", 4, 8, 0, kBGRa8, 0x02200017},
    {"RGB10", "R G B", 3, 10, 0, kRGB10, 0x02300018},
    {"BGR10", "B G R", 3, 10, 0, kBGR10, 0x02300019},
    {"RGB12", "R G B", 3, 12, 0, kRGB12, 0x0230001A},
    {"BGR12", "B G R", 3, 12, 0, kBGR12, 0x0230001B},
    {"RGB14", "R G B", 3, 14, 0, kRGB14, 0x0230005E},
    {"BGR14", "B G R", 3, 14, 0, kBGR14, 0x0230004A},
    {"RGB16", "R G B", 3, 16, 0, kRGB16, 0x02300033},
    {"BGR16", "B G R", 3, 16, 0, kBGR16, 0x0230004B},
    {"RGB_8_FLEX_Packed", "R G B", 3, 8, 0, kRGB_8_FLEX_Packed, kNoPfnc},
    {"RGB_10_FLEX_Packed", "R G B", 3, 10, 0, kRGB_10_FLEX_Packed, kNoPfnc},
    {"RGB_12_FLEX_Packed", "R G B", 3, 12, 0, kRGB_12_FLEX_Packed, kNoPfnc},
    {"YUV422_8_UYVY", "U Y V Y", 3, 8, 0, kYUV422_8_UYVY, 0x0210001F},
    {"YUV422_8", "Y U Y V", 3, 8, 0, kYUV422_8, 0x02100032},
    {"YUV422_10", "Y U Y V", 3, 10, 0, kYUV422_10, kNoPfnc},
    {"YUV422_10_PACKED", "Y U Y V", 3, 10, 0, kYUV422_10_PACKED, kNoPfnc},
    {"YUV444_8", "Y U V A", 4, 8, 0, kYUV444_8, kNoPfnc},
    {"YCbCr422_8", "Y Cb Y Cr", 3, 8, 0, kYCbCr422_8, 0x0210003B},
};
// clang-format on

/// Whether a pixel type has a row.
constexpr bool isListed(ZelPixelType code)
{
    const std::uint32_t number = row(code);
    return number >= 1 && number <= kFormatCount && kFormats[number - 1].code == code;
}

/// The row of a pixel type, or null for a code that is not in the table.
constexpr const Format* findFormat(ZelPixelType code)
{
    return isListed(code) ? &kFormats[row(code) - 1] : nullptr;
}

/// The unpacked format that holds the values of a "Packed" or "p" format of Mono or Bayer: same
/// mosaic, same depth. 0 for every other type.
constexpr ZelPixelType unpackedOf(ZelPixelType code)
{
    // No pointer is compared: with sanitizers the compiler does not know those at compile time.
    const bool isPacked = packing(code) == kPackingPacked || packing(code) == kPackingP;
    const bool hasSamples = family(code) == kFamilyMono || family(code) == kFamilyBayer;
    if (!isListed(code) || !isPacked || !hasSamples) {
        return 0;
    }
    const Format& format = kFormats[row(code) - 1];
    for (const Format& other : kFormats) {
        if (family(other.code) == family(code) && packing(other.code) == kPackingNone &&
            other.bits == format.bits &&
            std::string_view(other.layout) == std::string_view(format.layout)) {
            return other.code;
        }
    }
    return 0;
}

/// True for the twenty unpacked Bayer types (8, 10, 12, 14, 16 bits in four orders).
constexpr bool isUnpackedBayer(ZelPixelType code)
{
    return family(code) == kFamilyBayer && packing(code) == kPackingNone &&
           findFormat(code) != nullptr;
}

namespace detail
{

/// Each row's code says the row's number, depth and family, and what a pixel takes in memory; the
/// cameras' code says the latter, too. The columns must agree.
constexpr bool agreesWithItsCodes(const Format& format, std::uint32_t number)
{
    const std::uint32_t kind = family(format.code);
    const bool isColour = kind == kFamilyRgb || kind == kFamilyYuv;
    if (row(format.code) != number || depth(format.code) != format.bits || kind < kFamilyMono ||
        kind > kFamilyYuv) {
        return false;
    }
    if (isColour ? format.components < 3 || format.components > 4 : format.components != 1) {
        return false;
    }
    // Unpacked samples fill whole bytes; subsampled colour stores fewer than it has components.
    const std::uint32_t sample = format.bits == 8 ? 8 : 16;
    const bool unpacked = packing(format.code) == kPackingNone;
    if (kind != kFamilyYuv &&
        (unpacked ? storedBits(format.code) != sample * format.components
                  : storedBits(format.code) < format.bits * format.components)) {
        return false;
    }
    if (format.phase > 3 || (format.phase != 0 && kind != kFamilyTrueSense)) {
        return false;
    }
    return format.pfnc == kNoPfnc || ((format.pfnc >> 16U & 0xFFU) == storedBits(format.code) &&
                                      format.pfnc >> 24U == (isColour ? 2U : 1U));
}

constexpr bool isSound()
{
    for (std::uint32_t i = 0; i < kFormatCount; ++i) {
        if (!agreesWithItsCodes(kFormats[i], i + 1)) {
            return false;
        }
        for (std::uint32_t j = 0; j < i; ++j) {
            const bool samePfnc = kFormats[i].pfnc == kFormats[j].pfnc;
            if (samePfnc && kFormats[i].pfnc != kNoPfnc) {
                return false;
            }
        }
    }
    return true;
}
static_assert(isSound(), "a row contradicts its codes, or two rows have one");

} // namespace detail

} // namespace ZelPixel
