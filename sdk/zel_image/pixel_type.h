// Pixel type codes of the image components.
#pragma once

#include <cstdint>

/// Pixel type of an image. Byte 3: colour family (1 mono, 2 RGB orders, 3 Bayer, 4 TrueSense,
/// 5 YUV). Byte 2: stored bits per pixel. Byte 1: high nibble packing (0 unpacked, 1 "Packed", 2
/// "p", 3 FLEx), low nibble depth class (1 = 8, 2 = 10, 3 = 12, 4 = 14, 5 = 16 bits). Byte 0: row
/// of the format table, from 1. These are not PFNC values. Samples of more than 8 bits lie in the
/// low bits of little-endian 16-bit words.
using ZelPixelType = std::uint32_t;

namespace ZelPixel
{

constexpr ZelPixelType kMono8 = 0x01080101;
constexpr ZelPixelType kMono10 = 0x01100202;
constexpr ZelPixelType kMono10p = 0x010A2203;
constexpr ZelPixelType kMono10Packed = 0x010C1204;
constexpr ZelPixelType kMono10_FLExPacked = 0x010C3205;
constexpr ZelPixelType kMono12 = 0x01100306;
constexpr ZelPixelType kMono12p = 0x010C2307;
constexpr ZelPixelType kMono12Packed = 0x010C1308;
constexpr ZelPixelType kMono12_FLExPacked = 0x010C3309;
constexpr ZelPixelType kMono14 = 0x0110040A;
constexpr ZelPixelType kMono16 = 0x0110050B;
constexpr ZelPixelType kMono8_FLExPacked = 0x0108310C;
constexpr ZelPixelType kBayerGR8 = 0x0308010D;
constexpr ZelPixelType kBayerRG8 = 0x0308010E;
constexpr ZelPixelType kBayerGB8 = 0x0308010F;
constexpr ZelPixelType kBayerBG8 = 0x03080110;
constexpr ZelPixelType kBayerGR10 = 0x03100211;
constexpr ZelPixelType kBayerRG10 = 0x03100212;
constexpr ZelPixelType kBayerGB10 = 0x03100213;
constexpr ZelPixelType kBayerBG10 = 0x03100214;
constexpr ZelPixelType kBayerGR12 = 0x03100315;
constexpr ZelPixelType kBayerRG12 = 0x03100316;
constexpr ZelPixelType kBayerGB12 = 0x03100317;
constexpr ZelPixelType kBayerBG12 = 0x03100318;
constexpr ZelPixelType kBayerGR10p = 0x030A2219;
constexpr ZelPixelType kBayerGR10Packed = 0x030C121A;
constexpr ZelPixelType kBayerRG10p = 0x030A221B;
constexpr ZelPixelType kBayerRG10Packed = 0x030C121C;
constexpr ZelPixelType kBayerGB10p = 0x030A221D;
constexpr ZelPixelType kBayerGB10Packed = 0x030C121E;
constexpr ZelPixelType kBayerBG10p = 0x030A221F;
constexpr ZelPixelType kBayerBG10Packed = 0x030C1220;
constexpr ZelPixelType kBayerGR12p = 0x030C2321;
constexpr ZelPixelType kBayerGR12Packed = 0x030C1322;
constexpr ZelPixelType kBayerRG12p = 0x030C2323;
constexpr ZelPixelType kBayerRG12Packed = 0x030C1324;
constexpr ZelPixelType kBayerGB12p = 0x030C2325;
constexpr ZelPixelType kBayerGB12Packed = 0x030C1326;
constexpr ZelPixelType kBayerBG12p = 0x030C2327;
constexpr ZelPixelType kBayerBG12Packed = 0x030C1328;
constexpr ZelPixelType kBayerGR14 = 0x03100429;
constexpr ZelPixelType kBayerRG14 = 0x0310042A;
constexpr ZelPixelType kBayerGB14 = 0x0310042B;
constexpr ZelPixelType kBayerBG14 = 0x0310042C;
constexpr ZelPixelType kBayerGR16 = 0x0310052D;
constexpr ZelPixelType kBayerRG16 = 0x0310052E;
constexpr ZelPixelType kBayerGB16 = 0x0310052F;
constexpr ZelPixelType kBayerBG16 = 0x03100530;
constexpr ZelPixelType kRGB8 = 0x02180171;
constexpr ZelPixelType kBGR8 = 0x02180172;
constexpr ZelPixelType kRGBa8 = 0x02200173;
constexpr ZelPixelType kBGRa8 = 0x02200174;
constexpr ZelPixelType kRGB10 = 0x02300275;
constexpr ZelPixelType kBGR10 = 0x02300276;
constexpr ZelPixelType kRGB12 = 0x02300377;
constexpr ZelPixelType kBGR12 = 0x02300378;
constexpr ZelPixelType kRGB14 = 0x02300479;
constexpr ZelPixelType kBGR14 = 0x0230047A;
constexpr ZelPixelType kRGB16 = 0x0230057B;
constexpr ZelPixelType kBGR16 = 0x0230057C;
constexpr ZelPixelType kRGB_8_FLEX_Packed = 0x0218317D;
constexpr ZelPixelType kRGB_10_FLEX_Packed = 0x0220327E;
constexpr ZelPixelType kRGB_12_FLEX_Packed = 0x0224337F;
constexpr ZelPixelType kYUV422_8_UYVY = 0x05100180;
constexpr ZelPixelType kYUV422_8 = 0x05100181;
constexpr ZelPixelType kYUV422_10 = 0x05200282;
constexpr ZelPixelType kYUV422_10_PACKED = 0x05143283;
constexpr ZelPixelType kYUV444_8 = 0x05200184;
constexpr ZelPixelType kYCbCr422_8 = 0x05100185;

constexpr std::uint32_t kFamilyMono = 1;
constexpr std::uint32_t kFamilyRgb = 2;
constexpr std::uint32_t kFamilyBayer = 3;
constexpr std::uint32_t kFamilyTrueSense = 4;
constexpr std::uint32_t kFamilyYuv = 5;

constexpr std::uint32_t kPackingNone = 0;
constexpr std::uint32_t kPackingPacked = 1;
constexpr std::uint32_t kPackingP = 2;
constexpr std::uint32_t kPackingFlex = 3;

/// Colour family, byte 3.
constexpr std::uint32_t family(ZelPixelType type) { return type >> 24U; }
/// Stored bits per pixel, byte 2.
constexpr std::uint32_t storedBits(ZelPixelType type) { return (type >> 16U) & 0xFFU; }
/// Packing, high nibble of byte 1.
constexpr std::uint32_t packing(ZelPixelType type) { return (type >> 12U) & 0xFU; }
/// Significant bits per component from the depth class, low nibble of byte 1; 0 for no class.
constexpr std::uint32_t depth(ZelPixelType type)
{
    const std::uint32_t depthClass = (type >> 8U) & 0xFU;
    return depthClass >= 1 && depthClass <= 5 ? 6U + 2U * depthClass : 0U;
}
/// Row of the format table, from 1.
constexpr std::uint32_t row(ZelPixelType type) { return type & 0xFFU; }

} // namespace ZelPixel
