#include "zel_image/image.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace
{

struct Layout {
    ZelPixelType type;
    ZelSize size;
    std::uint32_t components;
    std::uint32_t bits;
    std::uint64_t stride;
    std::uint64_t dataSize;
};

constexpr ZelPixelType kTrueSenseFirst = 0x04080131;
constexpr ZelPixelType kTrueSenseLast = 0x04100470;

TEST(Image, DescribesAndAllocatesEveryKindOfFormat)
{
    const Layout layouts[] = {
        {ZelPixel::kMono8, {7, 3}, 1, 8, 7, 21},
        {ZelPixel::kMono12, {7, 3}, 1, 12, 14, 42},
        {ZelPixel::kMono10Packed, {3, 3}, 1, 10, 0, 14},
        {ZelPixel::kMono10p, {3, 1}, 1, 10, 0, 4},
        {ZelPixel::kBayerBG12Packed, {1, 1}, 1, 12, 0, 2},
        {ZelPixel::kMono8_FLExPacked, {5, 2}, 1, 8, 0, 10},
        {kTrueSenseFirst, {4, 4}, 1, 8, 4, 16},
        {kTrueSenseLast, {4, 4}, 1, 14, 8, 32},
        {ZelPixel::kRGB8, {5, 2}, 3, 8, 15, 30},
        {ZelPixel::kBGRa8, {5, 2}, 4, 8, 20, 40},
        {ZelPixel::kRGB16, {5, 2}, 3, 16, 30, 60},
        {ZelPixel::kRGB_12_FLEX_Packed, {5, 1}, 3, 12, 0, 23},
        {ZelPixel::kYUV422_10_PACKED, {3, 1}, 3, 10, 0, 8},
        {ZelPixel::kYUV444_8, {3, 2}, 4, 8, 12, 24},
        {ZelPixel::kYCbCr422_8, {3, 2}, 3, 8, 6, 12},
        {ZelPixel::kMono8, {65535, 1}, 1, 8, 65535, 65535},
    };
    for (const Layout& layout : layouts) {
        SCOPED_TRACE(testing::Message() << std::hex << layout.type);
        ZelImage* image = nullptr;
        ZelCreateImage(&image, layout.size, layout.type);
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(image->pixelType, layout.type);
        EXPECT_EQ(image->size.width, layout.size.width);
        EXPECT_EQ(image->size.height, layout.size.height);
        EXPECT_EQ(image->components, layout.components);
        EXPECT_EQ(image->bitsPerComponent, layout.bits);
        EXPECT_EQ(image->packingAndDepth, layout.type & 0xFF00U);
        EXPECT_EQ(image->storedBits, layout.type >> 16U & 0xFFU);
        EXPECT_EQ(image->mosaic, 0U);
        EXPECT_EQ(image->stride, layout.stride);
        EXPECT_EQ(image->dataSize, layout.dataSize);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(image->data) % 64, 0U);
        auto* const bytes = static_cast<std::uint8_t*>(image->data);
        EXPECT_EQ(std::count(bytes, bytes + image->dataSize, 0),
                  static_cast<std::ptrdiff_t>(image->dataSize));
        std::memset(bytes, 0xFF, image->dataSize); // Seen by the address sanitizer if too small.
        ZelReleaseImage(&image);
        EXPECT_EQ(image, nullptr);
    }
}

TEST(Image, RefusesImpossibleSizesAndUnknownTypes)
{
    const Layout refused[] = {
        {ZelPixel::kMono8, {0, 1}, 0, 0, 0, 0},
        {ZelPixel::kMono8, {1, 0}, 0, 0, 0, 0},
        {ZelPixel::kMono8, {65536, 1}, 0, 0, 0, 0},
        {ZelPixel::kMono8, {1, 65536}, 0, 0, 0, 0},
        {ZelPixel::kMono8, {0xFFFFFFFF, 0xFFFFFFFF}, 0, 0, 0, 0},
        {0, {1, 1}, 0, 0, 0, 0},
        {0x01080100, {1, 1}, 0, 0, 0, 0}, // No row.
        {0x01080102, {1, 1}, 0, 0, 0, 0}, // The row of another type.
        {kTrueSenseFirst + 0x100, {1, 1}, 0, 0, 0, 0},
        {0x05100186, {1, 1}, 0, 0, 0, 0}, // Behind the last row.
        {0x051001FF, {1, 1}, 0, 0, 0, 0},
    };
    for (const Layout& layout : refused) {
        SCOPED_TRACE(testing::Message() << std::hex << layout.type);
        ZelImage other{};
        ZelImage* image = &other;
        ZelCreateImage(&image, layout.size, layout.type);
        EXPECT_EQ(image, nullptr);
    }
    ZelCreateImage(nullptr, ZelSize{1, 1}, ZelPixel::kMono8);
}

TEST(Image, ReleasesOnlyWhatItOwns)
{
    ZelReleaseImage(nullptr);
    ZelImage* image = nullptr;
    ZelReleaseImage(&image);

    std::uint8_t pixel = 1;
    ZelImage foreign{};
    foreign.data = &pixel;
    image = &foreign;
    ZelReleaseImage(&image);
    EXPECT_EQ(image, nullptr);

    ZelImage* original = nullptr;
    ZelCreateImage(&original, ZelSize{8, 8}, ZelPixel::kMono8);
    ASSERT_NE(original, nullptr);
    ZelImage copy = *original;
    image = &copy;
    ZelReleaseImage(&image);
    static_cast<std::uint8_t*>(original->data)[63] = 1; // Still there.
    ZelReleaseImage(&original);
}

} // namespace
