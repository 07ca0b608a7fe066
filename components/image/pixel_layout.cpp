#include "image/pixel_layout.h"

#include <array>
#include <cstddef>

namespace ZelComponents
{

namespace
{

using namespace ZelPixel;

constexpr std::size_t kTypes = 133;
constexpr std::uint32_t kFirstTrueSenseRow = 49;
constexpr std::uint32_t kTrueSenseRowsPerDepth = 16;
constexpr std::uint32_t kTrueSenseDepths = 4;

constexpr std::array kBeforeTrueSense{
    kMono8,           kMono10,           kMono10p,         kMono10Packed,      kMono10_FLExPacked,
    kMono12,          kMono12p,          kMono12Packed,    kMono12_FLExPacked, kMono14,
    kMono16,          kMono8_FLExPacked, kBayerGR8,        kBayerRG8,          kBayerGB8,
    kBayerBG8,        kBayerGR10,        kBayerRG10,       kBayerGB10,         kBayerBG10,
    kBayerGR12,       kBayerRG12,        kBayerGB12,       kBayerBG12,         kBayerGR10p,
    kBayerGR10Packed, kBayerRG10p,       kBayerRG10Packed, kBayerGB10p,        kBayerGB10Packed,
    kBayerBG10p,      kBayerBG10Packed,  kBayerGR12p,      kBayerGR12Packed,   kBayerRG12p,
    kBayerRG12Packed, kBayerGB12p,       kBayerGB12Packed, kBayerBG12p,        kBayerBG12Packed,
    kBayerGR14,       kBayerRG14,        kBayerGB14,       kBayerBG14,         kBayerGR16,
    kBayerRG16,       kBayerGB16,        kBayerBG16,
};

constexpr std::array kAfterTrueSense{
    kRGB8,
    kBGR8,
    kRGBa8,
    kBGRa8,
    kRGB10,
    kBGR10,
    kRGB12,
    kBGR12,
    kRGB14,
    kBGR14,
    kRGB16,
    kBGR16,
    kRGB_8_FLEX_Packed,
    kRGB_10_FLEX_Packed,
    kRGB_12_FLEX_Packed,
    kYUV422_8_UYVY,
    kYUV422_8,
    kYUV422_10,
    kYUV422_10_PACKED,
    kYUV444_8,
    kYCbCr422_8,
};

constexpr ZelPixelType trueSenseType(std::uint32_t row)
{
    const std::uint32_t depthClass = 1U + (row - kFirstTrueSenseRow) / kTrueSenseRowsPerDepth;
    const std::uint32_t storedBits = depthClass == 1U ? 8U : 16U;
    return kFamilyTrueSense << 24U | storedBits << 16U | depthClass << 8U | row;
}

constexpr std::array<ZelPixelType, kTypes> allTypes()
{
    std::array<ZelPixelType, kTypes> types{};
    std::size_t next = 0;
    for (const ZelPixelType type : kBeforeTrueSense) {
        types[next++] = type;
    }
    for (std::uint32_t i = 0; i < kTrueSenseDepths * kTrueSenseRowsPerDepth; ++i) {
        types[next++] = trueSenseType(kFirstTrueSenseRow + i);
    }
    for (const ZelPixelType type : kAfterTrueSense) {
        types[next++] = type;
    }
    return types;
}

constexpr std::array<ZelPixelType, kTypes> kAllTypes = allTypes();

constexpr bool rowsMatchPositions()
{
    for (std::size_t i = 0; i < kTypes; ++i) {
        if (row(kAllTypes[i]) != i + 1U) {
            return false;
        }
    }
    return true;
}
static_assert(rowsMatchPositions());
static_assert(trueSenseType(112) == 0x04100470);

} // namespace

bool isKnownPixelType(ZelPixelType type)
{
    const std::size_t position = std::size_t{row(type)} - 1U;
    return position < kTypes && kAllTypes[position] == type;
}

std::uint32_t componentCount(ZelPixelType type)
{
    switch (family(type)) {
    case kFamilyRgb:
        return type == kRGBa8 || type == kBGRa8 ? 4U : 3U;
    case kFamilyYuv:
        return type == kYUV444_8 ? 4U : 3U;
    default:
        return 1U;
    }
}

} // namespace ZelComponents
