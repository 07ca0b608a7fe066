// The pixel format table and the component-index functions.
#include "imaging/pixel_format_table.h"

#include <gtest/gtest.h>

#include <limits>
#include <set>
#include <string>

namespace
{

using imaging::describePixels;
using imaging::findPixelFormat;
using imaging::kPixelFormatCount;
using imaging::PixelFormat;
using imaging::s_colorModelDescription;

std::string name(ZelPixelType code)
{
    const PixelFormat* row = findPixelFormat(code);
    return row != nullptr ? row->name : "none";
}

TEST(PixelFormatTable, EveryCodeFindsItsRowAndNamesAreUnique)
{
    std::set<std::string> names;
    for (const PixelFormat& row : s_colorModelDescription) {
        EXPECT_EQ(findPixelFormat(row.code), &row) << row.name;
        EXPECT_TRUE(names.insert(row.name).second) << row.name;
    }
    EXPECT_EQ(names.size(), kPixelFormatCount);
}

TEST(PixelFormatTable, CodesOutsideAreNotFound)
{
    EXPECT_EQ(findPixelFormat(0), nullptr);
    EXPECT_EQ(findPixelFormat(134), nullptr);
    EXPECT_EQ(findPixelFormat(0xFFFFFFFF), nullptr);
    EXPECT_EQ(findPixelFormat(ZelPixel::kMono8 + 0x00010000), nullptr);
}

TEST(PixelFormatTable, NamesStandWithTheirCodes)
{
    EXPECT_EQ(name(ZelPixel::kMono8), "Mono8");
    EXPECT_EQ(name(ZelPixel::kMono8_FLExPacked), "Mono8_FLExPacked");
    EXPECT_EQ(name(ZelPixel::kMono12p), "Mono12p");
    EXPECT_EQ(name(ZelPixel::kBayerRG10), "BayerRG10");
    EXPECT_EQ(name(ZelPixel::kBayerRG10Packed), "BayerRG10Packed");
    EXPECT_EQ(name(ZelPixel::kBayerBG12p), "BayerBG12p");
    EXPECT_EQ(name(ZelPixel::kBayerGR14), "BayerGR14");
    EXPECT_EQ(name(ZelPixel::kBayerBG16), "BayerBG16");
    EXPECT_EQ(name(0x04080131), "TrueSense_BGGR_WBBW_0_8");
    EXPECT_EQ(name(0x04100470), "TrueSense_RGGB_WRRW_3_14");
    EXPECT_EQ(name(ZelPixel::kBGRa8), "BGRa8");
    EXPECT_EQ(name(ZelPixel::kRGB_12_FLEX_Packed), "RGB_12_FLEX_Packed");
    EXPECT_EQ(name(ZelPixel::kYUV444_8), "YUV444_8");
    EXPECT_EQ(name(ZelPixel::kYCbCr422_8), "YCbCr422_8");
}

/// The name says the depth and, for a mosaic, where its cell begins; the columns must say the same.
TEST(PixelFormatTable, ColumnsAgreeWithTheName)
{
    for (const PixelFormat& row : s_colorModelDescription) {
        const std::string text = row.name;
        const std::string layout = row.layout;
        const std::uint32_t family = ZelPixel::family(row.code);
        if (family == ZelPixel::kFamilyBayer) {
            EXPECT_EQ(layout.substr(0, 3), text.substr(5, 1) + " " + text.substr(6, 1)) << text;
            EXPECT_EQ(text.rfind(std::to_string(row.bits), 7), 7U) << text;
        } else if (family == ZelPixel::kFamilyTrueSense) {
            // The pattern's letters stand in the cell at the places that are not white, and around.
            EXPECT_EQ(layout.substr(2, 1), text.substr(16, 1)) << text;
            EXPECT_EQ(layout.substr(6, 1), text.substr(11, 1)) << text;
            EXPECT_EQ(layout.size(), 31U) << text;
            EXPECT_EQ(text.substr(20), std::to_string(row.phase) + "_" + std::to_string(row.bits))
                << text;
        } else {
            EXPECT_NE(text.find(std::to_string(row.bits)), std::string::npos) << text;
        }
    }
}

TEST(PixelFormatTable, DescribesAnImage)
{
    ZelImage image{};
    image.mosaic = ZelPixel::kBayerGR8;
    image.stride = 1234;
    ASSERT_TRUE(describePixels(image, ZelPixel::kBayerRG10));
    EXPECT_EQ(image.pixelType, ZelPixel::kBayerRG10);
    EXPECT_EQ(image.components, 1U);
    EXPECT_EQ(image.bitsPerComponent, 10U);
    EXPECT_EQ(image.storedBits, 16U);
    EXPECT_EQ(image.packingAndDepth, 0x0200U);
    EXPECT_EQ(image.mosaic, 0U);
    EXPECT_EQ(image.stride, 1234U);
    ASSERT_TRUE(describePixels(image, ZelPixel::kRGB8));
    EXPECT_EQ(image.components, 3U);
    EXPECT_EQ(image.bitsPerComponent, 8U);
    EXPECT_EQ(image.storedBits, 24U);
    EXPECT_FALSE(describePixels(image, 42));
    EXPECT_EQ(image.pixelType, ZelPixel::kRGB8);
}

/// Every 16-bit value: the letters of the function and nothing else, negative values included.
TEST(ComponentIndex, KnowsItsLettersOnly)
{
    const struct {
        ComponentIndex indexOf;
        std::string letters;
    } functions[] = {{GetIndexMONO, "Y"},    {GetIndexRGB, "RGB"},   {GetIndexBGR, "BGR"},
                     {GetIndexRGBA, "RGBA"}, {GetIndexBGRA, "BGRA"}, {GetIndexYUV, "YUV"}};
    for (const auto& function : functions) {
        for (int value = std::numeric_limits<std::int16_t>::min();
             value <= std::numeric_limits<std::int16_t>::max(); ++value) {
            const auto position = value >= 'A' && value <= 'Z'
                                      ? function.letters.find(static_cast<char>(value))
                                      : std::string::npos;
            const int expected = position == std::string::npos ? -1 : static_cast<int>(position);
            ASSERT_EQ(function.indexOf(static_cast<std::int16_t>(value)), expected)
                << function.letters << " " << value;
        }
    }
}

} // namespace
