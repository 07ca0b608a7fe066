// Small things at the boundary: UTF-8, images of all formats.
#include "base/text.h"
#include "core/pixel_format.h"
#include "zel_image/pixel_type.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

TEST(TextTest, ValidUtf8PassesAndEveryOtherByteBecomesACharacter)
{
    struct Case {
        std::string in;
        std::string out;
    };
    const Case cases[] = {
        {"", ""},
        {"plain", "plain"},
        {"\xC3\xA4\xE2\x82\xAC\xF0\x9F\x93\xB7", "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x93\xB7"},
        {"\xE4", "\xC3\xA4"},                                     // Latin-1
        {"\xC0\xAF", "\xC3\x80\xC2\xAF"},                         // overlong
        {"\xED\xA0\x80", "\xC3\xAD\xC2\xA0\xC2\x80"},             // surrogate
        {"\xF4\x90\x80\x80", "\xC3\xB4\xC2\x90\xC2\x80\xC2\x80"}, // above U+10FFFF
        {"\xE2\x82", "\xC3\xA2\xC2\x82"},                         // cut off
        {std::string("a\0b", 3), "a"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(base::toUtf8(c.in), c.out);
    }
    EXPECT_EQ(base::intern(std::string("x")), base::intern(std::string("x")));
}

TEST(PixelFormatTest, BothNumberingsMeanTheSame)
{
    struct Case {
        std::uint32_t pfnc;
        ZelPixelType type;
        std::uint32_t components;
    };
    // One of each kind, from the published list of format values.
    for (const Case& c :
         {Case{0x01080001, ZelPixel::kMono8, 1}, Case{0x010C0047, ZelPixel::kMono12p, 1},
          Case{0x010C0006, ZelPixel::kMono12Packed, 1}, Case{0x01080009, ZelPixel::kBayerRG8, 1},
          Case{0x010A0052, ZelPixel::kBayerBG10p, 1},
          Case{0x010C002C, ZelPixel::kBayerGB12Packed, 1}, Case{0x02180014, ZelPixel::kRGB8, 3},
          Case{0x02200017, ZelPixel::kBGRa8, 4}, Case{0x0230004A, ZelPixel::kBGR14, 3},
          Case{0x0210001F, ZelPixel::kYUV422_8_UYVY, 3}}) {
        const core::PixelFormat* const format = core::findPixelFormat(c.pfnc);
        ASSERT_NE(format, nullptr) << std::hex << c.pfnc;
        EXPECT_EQ(format->type, c.type);
        EXPECT_EQ(format->components, c.components);
    }
    for (const std::uint32_t unknown : {0U, 1U, 0x01080002U, ~0U}) {
        EXPECT_EQ(core::findPixelFormat(unknown), nullptr);
    }
}

} // namespace
