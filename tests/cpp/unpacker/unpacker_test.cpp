#include "guarded_image.h"
#include "zel_image/unpacker.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>

namespace
{

using namespace ImageTests;

struct Delete {
    void operator()(ZelImageUnpacker* unpacker) const
    {
        ZelImageUnpacker_DeleteComponent(unpacker);
    }
};

class Unpacker : public testing::Test
{
protected:
    ZelCamErr unpack(const GuardedImage& source, GuardedImage& target)
    {
        return ZelImageUnpacker_Unpack(unpacker_.get(), &source.image, &target.image);
    }
    ZelComponentParams* params() { return ZelImageUnpacker_GetComponent(unpacker_.get()); }

    static unsigned pixelOfTriple(const GuardedImage& source, std::size_t i, ZelPixelType packed)
    {
        const unsigned lowBits = ZelPixel::depth(packed) - 8;
        const std::uint8_t* const triple = source.row(0) + i / 2 * 3;
        const unsigned low = triple[1] >> (i % 2 * 4) & ((1U << lowBits) - 1U);
        return (unsigned{triple[i % 2 * 2]} << lowBits) | low;
    }

    // Bit by bit, as the format is defined; a deeper mono image is filled.
    static unsigned pixelOfBits(const GuardedImage& source, std::size_t i, ZelPixelType packed,
                                ZelPixelType unpacked)
    {
        const unsigned depth = ZelPixel::depth(packed);
        unsigned value = 0;
        for (unsigned bit = 0; bit < depth; ++bit) {
            const std::size_t at = i * depth + bit;
            value |= (source.row(0)[at / 8] >> at % 8 & 1U) << bit;
        }
        return value << (ZelPixel::depth(unpacked) - depth);
    }

    std::unique_ptr<ZelImageUnpacker, Delete> unpacker_{ZelImageUnpacker_CreateComponent()};
    std::mt19937 random_{1};
};

TEST_F(Unpacker, KnowsBothLayouts)
{
    const std::uint8_t bytes[] = {0xAB, 0x21, 0xCD, 0xFF, 0x30};
    GuardedImage twelve(ZelPixel::kMono12Packed, 3, 1);
    std::copy(std::begin(bytes), std::end(bytes), twelve.row(0));
    GuardedImage words(ZelPixel::kMono12, 3, 1);
    ASSERT_EQ(unpack(twelve, words), ZelErr::kOk);
    EXPECT_EQ(words.word(0, 0), 0xAB1U);
    EXPECT_EQ(words.word(1, 0), 0xCD2U);
    EXPECT_EQ(words.word(2, 0), 0xFF0U);

    GuardedImage ten(ZelPixel::kBayerRG10Packed, 3, 1);
    std::copy(std::begin(bytes), std::end(bytes), ten.row(0));
    GuardedImage mosaic(ZelPixel::kBayerRG10, 3, 1);
    ASSERT_EQ(unpack(ten, mosaic), ZelErr::kOk);
    EXPECT_EQ(mosaic.word(0, 0), 0x2ADU); // 0xAB << 2 | 1
    EXPECT_EQ(mosaic.word(1, 0), 0x336U); // 0xCD << 2 | 2
    EXPECT_EQ(mosaic.word(2, 0), 0x3FCU);
}

TEST_F(Unpacker, UnpacksEverySizeOnEveryInstructionSetAndTouchesNothingElse)
{
    const auto check = [&](ZelPixelType packed, ZelPixelType unpacked, std::uint32_t width,
                           std::uint32_t height, std::size_t padding, Placement placement) {
        GuardedImage source(packed, width, height, 0, placement);
        source.fillRandomly(random_);
        GuardedImage target(unpacked, width, height, padding, placement);
        ASSERT_EQ(unpack(source, target), ZelErr::kOk);
        EXPECT_TRUE(target.isIntact());
        const bool inBits = ZelPixel::packing(packed) == ZelPixel::kPackingP;
        for (std::size_t i = 0; i < std::size_t{width} * height; ++i) {
            const unsigned expected = inBits ? pixelOfBits(source, i, packed, unpacked)
                                             : pixelOfTriple(source, i, packed);
            ASSERT_EQ(target.word(i % width, i / width), expected) << "pixel " << i;
        }
    };
    forEachTarget([&](const char* name) {
        for (const std::uint32_t width : widthsAroundVectors()) {
            SCOPED_TRACE(testing::Message() << name << ", width " << width);
            for (const std::size_t padding : {0U, 1U, 6U}) {
                for (const Placement side :
                     {Placement::kBeforeBarrier, Placement::kBehindBarrier}) {
                    check(ZelPixel::kMono12Packed, ZelPixel::kMono12, width, 3, padding, side);
                    check(ZelPixel::kMono10Packed, ZelPixel::kMono10, width, 2, padding, side);
                    check(ZelPixel::kMono12p, ZelPixel::kMono12, width, 3, padding, side);
                    check(ZelPixel::kMono10p, ZelPixel::kMono12, width, 5, padding, side);
                }
            }
        }
        check(ZelPixel::kMono12Packed, ZelPixel::kMono16, 1003, 77, 0, Placement::kBehindBarrier);
        check(ZelPixel::kBayerGB10p, ZelPixel::kBayerGB10, 1003, 77, 2, Placement::kBehindBarrier);
    });
}

TEST_F(Unpacker, KeepsTheMosaicOfEveryOrder)
{
    const ZelPixelType types[][3] = {
        {ZelPixel::kBayerGR10Packed, ZelPixel::kBayerGR10, ZelPixel::kBayerGR16},
        {ZelPixel::kBayerRG10Packed, ZelPixel::kBayerRG10, ZelPixel::kBayerRG12},
        {ZelPixel::kBayerGB10Packed, ZelPixel::kBayerGB10, ZelPixel::kBayerGB14},
        {ZelPixel::kBayerBG10Packed, ZelPixel::kBayerBG10, ZelPixel::kBayerBG12},
        {ZelPixel::kBayerGR12Packed, ZelPixel::kBayerGR12, ZelPixel::kBayerGR14},
        {ZelPixel::kBayerRG12Packed, ZelPixel::kBayerRG12, ZelPixel::kBayerRG16},
        {ZelPixel::kBayerGB12Packed, ZelPixel::kBayerGB12, ZelPixel::kBayerGB12},
        {ZelPixel::kBayerBG12Packed, ZelPixel::kBayerBG12, ZelPixel::kBayerBG16},
    };
    for (const auto& [packed, same, deeper] : types) {
        SCOPED_TRACE(testing::Message() << std::hex << packed);
        GuardedImage source(packed, 4, 2);
        GuardedImage mono(ZelPixel::kMono12, 4, 2);
        ASSERT_EQ(unpack(source, mono), ZelErr::kOk);
        EXPECT_EQ(mono.image.mosaic, same);
        for (const ZelPixelType type : {same, deeper}) {
            GuardedImage mosaic(type, 4, 2);
            mosaic.image.mosaic = 1;
            EXPECT_EQ(unpack(source, mosaic), ZelErr::kOk);
            EXPECT_EQ(mosaic.image.mosaic, 0U);
        }
        const ZelPixelType otherOrder =
            same == ZelPixel::kBayerRG10 ? ZelPixel::kBayerGR12 : ZelPixel::kBayerRG12;
        const bool ten = ZelPixel::depth(packed) == 10;
        GuardedImage inBits(packed, 4, 2);
        inBits.image.pixelType -= ten ? 0x020001 - 0x1000 : 0x1001 - 0x2000;
        ASSERT_EQ(unpack(inBits, mono), ZelErr::kOk);
        EXPECT_EQ(mono.image.mosaic, same) << "of the p format, one row above";
        GuardedImage wrong(same == ZelPixel::kBayerRG12 ? ZelPixel::kBayerBG12 : otherOrder, 4, 2);
        EXPECT_EQ(unpack(source, wrong), ZelErr::kInvalidArgument);
        EXPECT_TRUE(wrong.isUntouched());
    }
}

TEST_F(Unpacker, RefusesWhatDoesNotFitAndLeavesTheTargetAlone)
{
    const GuardedImage good(ZelPixel::kMono12Packed, 9, 5);
    const auto refuses = [&](const GuardedImage& source, GuardedImage& target) {
        target.image.mosaic = 7;
        EXPECT_EQ(unpack(source, target), ZelErr::kInvalidArgument);
        EXPECT_EQ(target.image.mosaic, 7U);
        EXPECT_TRUE(target.isUntouched());
    };
    for (const ZelPixelType type : {ZelPixel::kMono8, ZelPixel::kMono10, ZelPixel::kBayerRG12,
                                    ZelPixel::kMono12p, ZelPixel::kRGB16, ZelPixelType{0}}) {
        GuardedImage target(ZelPixel::kMono12, 9, 5);
        target.image.pixelType = type;
        refuses(good, target);
    }
    for (const ZelPixelType type : {ZelPixel::kMono12, ZelPixel::kMono8, ZelPixel::kRGB8,
                                    ZelPixel::kMono12_FLExPacked, ZelPixel::kYUV422_10_PACKED}) {
        GuardedImage source(ZelPixel::kMono12, 9, 5);
        source.image.pixelType = type;
        GuardedImage target(ZelPixel::kMono12, 9, 5);
        refuses(source, target);
    }
    const auto refusesTarget = [&](auto change) {
        GuardedImage target(ZelPixel::kMono12, 9, 5);
        change(target.image);
        refuses(good, target);
    };
    refusesTarget([](ZelImage& image) { image.dataSize -= 1; });
    refusesTarget([](ZelImage& image) { image.stride = 17; });
    refusesTarget([](ZelImage& image) { image.stride = UINT64_MAX / 2; });
    refusesTarget([](ZelImage& image) { image.data = nullptr; });
    refusesTarget([](ZelImage& image) { image.size = ZelSize{5, 9}; });
    const auto refusesSource = [&](auto change) {
        GuardedImage source(ZelPixel::kMono12Packed, 9, 5);
        change(source.image);
        GuardedImage target(ZelPixel::kMono12, 9, 5);
        refuses(source, target);
    };
    refusesSource([](ZelImage& image) { image.dataSize -= 1; });
    refusesSource([](ZelImage& image) { image.data = nullptr; });
    refusesSource([](ZelImage& image) { image.size = ZelSize{0, 5}; });

    GuardedImage target(ZelPixel::kMono12, 9, 5);
    EXPECT_EQ(ZelImageUnpacker_Unpack(nullptr, &good.image, &target.image),
              ZelErr::kInvalidArgument);
    EXPECT_EQ(ZelImageUnpacker_Unpack(unpacker_.get(), nullptr, &target.image),
              ZelErr::kInvalidArgument);
    EXPECT_EQ(ZelImageUnpacker_Unpack(unpacker_.get(), &good.image, nullptr),
              ZelErr::kInvalidArgument);
}

TEST_F(Unpacker, TakesTheSourceSizeFromItsParameters)
{
    EXPECT_EQ(params()->SetInteger("cameraType", 0), ZelErr::kOk);
    EXPECT_EQ(params()->SetInteger("width", 4), ZelErr::kOk);
    EXPECT_EQ(params()->SetInteger("height", 3), ZelErr::kOk);
    const GuardedImage source(ZelPixel::kMono12Packed, 12, 1);
    GuardedImage target(ZelPixel::kMono12, 4, 3);
    EXPECT_EQ(unpack(source, target), ZelErr::kOk);
    GuardedImage asSource(ZelPixel::kMono12, 12, 1);
    EXPECT_EQ(unpack(source, asSource), ZelErr::kInvalidArgument);
    EXPECT_EQ(params()->SetInteger("width", 65535), ZelErr::kOk);
    EXPECT_EQ(unpack(source, target), ZelErr::kInvalidArgument);
    EXPECT_EQ(params()->SetInteger("width", 0), ZelErr::kOk);
    EXPECT_EQ(params()->SetInteger("height", 0), ZelErr::kOk);
    EXPECT_EQ(unpack(source, asSource), ZelErr::kOk);

    EXPECT_EQ(params()->SetInteger("width", -1), ZelErr::kParamOutOfRange);
    EXPECT_EQ(params()->SetInteger("cameraType", 1), ZelErr::kParamOutOfRange);
    EXPECT_EQ(params()->SetInteger("Width", 1), ZelErr::kParamUnknown);
    EXPECT_EQ(params()->SetInteger(nullptr, 1), ZelErr::kInvalidArgument);
    EXPECT_EQ(params()->SetString("text", "x"), ZelErr::kParamUnknown);
    EXPECT_EQ(params()->SetString("width", nullptr), ZelErr::kInvalidArgument);
    std::array<char, 8> text{};
    std::uint32_t length = text.size();
    EXPECT_EQ(params()->GetString("text", text.data(), &length), ZelErr::kParamUnknown);
    EXPECT_EQ(params()->GetString("text", text.data(), nullptr), ZelErr::kInvalidArgument);
    EXPECT_EQ(ZelImageUnpacker_GetComponent(nullptr), nullptr);
}

} // namespace
