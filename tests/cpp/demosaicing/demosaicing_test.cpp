#include "reference.h"
#include "zel_image/demosaicing.h"

#include <gtest/gtest.h>

#include <memory>

namespace
{

using namespace ImageTests;

struct Delete {
    void operator()(ZelBayer* bayer) const { ZelBayer_DeleteComponent(bayer); }
};

class Demosaicing : public testing::Test
{
protected:
    ZelCamErr convert(const GuardedImage& mosaic, GuardedImage& target)
    {
        return ZelBayer_ConvertImage(bayer_.get(), &mosaic.image, &target.image);
    }

    void check(const GuardedImage& mosaic, const Reference& reference, GuardedImage& target,
               std::size_t rowStep = 1)
    {
        ASSERT_EQ(convert(mosaic, target), ZelErr::kOk);
        ASSERT_TRUE(target.isIntact());
        const std::size_t red = target.image.pixelType == ZelPixel::kRGB8 ? 0 : 2;
        for (std::size_t y = 0; y < mosaic.image.size.height; y += rowStep) {
            for (std::size_t x = 0; x < mosaic.image.size.width; ++x) {
                const std::uint8_t* const pixel = target.row(y) + 3 * x;
                const std::array<std::uint8_t, 3> rgb = {pixel[red], pixel[1], pixel[2 - red]};
                ASSERT_EQ(rgb, reference.pixel(x, y)) << "at " << x << ", " << y;
            }
        }
    }

    void checkRandom(std::size_t order, unsigned depth, ZelSize size, std::size_t padding,
                     std::size_t rowStep = 1)
    {
        SCOPED_TRACE(testing::Message() << kOrders[order] << depth << ", " << size.width << " x "
                                        << size.height << ", padding " << padding);
        const Placement placement =
            padding % 2 == 0 ? Placement::kBeforeBarrier : Placement::kBehindBarrier;
        GuardedImage mosaic(bayerType(order, depth), size.width, size.height, padding, placement);
        mosaic.fillWithSamples(random_);
        const ZelPixelType type = random_() % 2 == 0 ? ZelPixel::kRGB8 : ZelPixel::kBGR8;
        GuardedImage target(type, size.width, size.height, padding, placement);
        check(mosaic, Reference(mosaic, kOrders[order]), target, rowStep);
    }

    std::unique_ptr<ZelBayer, Delete> bayer_{ZelBayer_CreateComponent()};
    std::mt19937 random_{3};
};

TEST_F(Demosaicing, EqualsThePlainFiltersOnEveryInstructionSet)
{
    constexpr ZelSize kSmall[] = {{1, 1}, {1, 2}, {2, 1}, {2, 2}, {1, 7},  {7, 1},  {2, 9},
                                  {9, 2}, {3, 3}, {5, 4}, {4, 5}, {6, 65}, {5, 66}, {3, 67}};
    forEachTarget([&](const char* name) {
        SCOPED_TRACE(name);
        for (std::size_t order = 0; order < 4; ++order) {
            for (const unsigned depth : kDepths) {
                for (const ZelSize size : kSmall) {
                    checkRandom(order, depth, size, size.width % 3);
                }
                checkRandom(order, depth, ZelSize{101, 67}, 5); // More than one band.
            }
            for (const std::uint32_t width : widthsAroundVectors()) {
                checkRandom(order, width % 2 == 0 ? 8 : 12, ZelSize{width, 3}, width % 4);
                checkRandom(order, width % 2 == 0 ? 10 : 8, ZelSize{width, 2}, 0);
            }
        }
    });
}

// Bytes behind rows of `width` pixels that make every row of the result begin at the same place of
// a cache line: the images' rows are worked on from a line's beginning then.
std::size_t paddingToLines(std::uint32_t width) { return (64 - 3 * width % 64) % 64; }

TEST_F(Demosaicing, BeginsAnywhereInACacheLine)
{
    forEachTarget([&](const char* name) {
        SCOPED_TRACE(name);
        for (const std::uint32_t width : widthsAroundVectors()) {
            checkRandom(width % 4, width % 3 == 0 ? 8 : 10 + width % 2 * 2, ZelSize{width, 5},
                        paddingToLines(width));
        }
    });
}

// Those go past the caches, as far as their rows begin at the same place of a cache line.
TEST_F(Demosaicing, EqualsThePlainFiltersBeyondTheCaches)
{
    constexpr std::uint32_t kHeight = 2803;
    const auto checkLarge = [&](std::uint32_t width, unsigned depth, std::size_t padding) {
        const std::size_t order = width % 4;
        GuardedImage mosaic(bayerType(order, depth), width, kHeight);
        mosaic.fillWithSamples(random_);
        const Reference reference(mosaic, kOrders[order]);
        forEachTarget([&](const char* name) {
            SCOPED_TRACE(testing::Message() << name << ", " << width << ", padding " << padding);
            GuardedImage target(ZelPixel::kRGB8, width, kHeight, padding);
            check(mosaic, reference, target, 167);
        });
    };
    for (const std::uint32_t width : {4032U, 4001U, 4006U}) {
        checkLarge(width, 8, paddingToLines(width));
    }
    checkLarge(4022, 10, paddingToLines(4022));
    checkLarge(4006, 12, 0);
}

TEST_F(Demosaicing, SharesLargeImagesBetweenThreads)
{
    for (const unsigned depth : {8U, 12U}) {
        checkRandom(1, depth, ZelSize{1283, 517}, 0, 3);
        checkRandom(2, depth, ZelSize{516, 1284}, 1, 3);
    }
}

TEST_F(Demosaicing, TakesAMonoImageWithAMosaic)
{
    GuardedImage mosaic(ZelPixel::kMono12, 33, 7);
    for (std::size_t i = 0; i < 231; ++i) {
        mosaic.setWord(i % 33, i / 33, random_() % 1024);
    }
    GuardedImage target(ZelPixel::kBGR8, 33, 7);
    EXPECT_EQ(convert(mosaic, target), ZelErr::kInvalidArgument);
    mosaic.image.mosaic = ZelPixel::kBayerGB8; // Not what words hold.
    EXPECT_EQ(convert(mosaic, target), ZelErr::kInvalidArgument);
    EXPECT_TRUE(target.isUntouched());

    mosaic.image.mosaic = ZelPixel::kBayerGB10;
    mosaic.image.bitsPerComponent = 10; // For the reference; the component goes by the mosaic.
    check(mosaic, Reference(mosaic, "GBRG"), target);
}

TEST_F(Demosaicing, LimitsWordsAboveTheirDepth)
{
    forEachTarget([&](const char* name) {
        SCOPED_TRACE(name);
        for (const unsigned depth : {10U, 12U, 14U, 16U}) {
            GuardedImage mosaic(bayerType(0, depth), 70, 5);
            for (std::size_t i = 0; i < 350; ++i) {
                mosaic.setWord(i % 70, i / 70, random_() % 2 == 0 ? 0xFFFF : 0);
            }
            GuardedImage target(ZelPixel::kRGB8, 70, 5);
            check(mosaic, Reference(mosaic, "GRBG"), target);
        }
    });
}

TEST_F(Demosaicing, RefusesWhatIsNoMosaicOrDoesNotFit)
{
    const auto refuses = [&](const GuardedImage& source, GuardedImage& target) {
        EXPECT_EQ(convert(source, target), ZelErr::kInvalidArgument);
        EXPECT_TRUE(target.isUntouched());
    };
    for (const ZelPixelType type : {ZelPixel::kMono8, ZelPixel::kBayerRG10p, ZelPixel::kRGB8,
                                    ZelPixel::kBayerRG12Packed, ZelPixelType{0x04080131}}) {
        const GuardedImage source(type, 9, 5);
        GuardedImage target(ZelPixel::kRGB8, 9, 5);
        refuses(source, target);
    }
    const GuardedImage mosaic(ZelPixel::kBayerRG8, 9, 5);
    for (const ZelPixelType type : {ZelPixel::kMono8, ZelPixel::kRGBa8, ZelPixel::kRGB16}) {
        GuardedImage target(type, 9, 5);
        refuses(mosaic, target);
    }
    GuardedImage turned(ZelPixel::kRGB8, 5, 9);
    refuses(mosaic, turned);
    const auto refusesChanged = [&](auto change) {
        GuardedImage source(ZelPixel::kBayerRG12, 9, 5);
        GuardedImage target(ZelPixel::kRGB8, 9, 5);
        change(target.image);
        refuses(source, target);
        GuardedImage whole(ZelPixel::kRGB8, 9, 5);
        change(source.image);
        refuses(source, whole);
    };
    refusesChanged([](ZelImage& image) { image.dataSize -= 1; });
    refusesChanged([](ZelImage& image) { image.stride = 17; });
    refusesChanged([](ZelImage& image) { image.stride = UINT64_MAX / 4 + 1; });
    refusesChanged([](ZelImage& image) { image.data = nullptr; });
    refusesChanged([](ZelImage& image) { image.size = ZelSize{0, 5}; });
    refusesChanged([](ZelImage& image) { image.size = ZelSize{0xFFFFFFFF, 0xFFFFFFFF}; });
    GuardedImage target(ZelPixel::kRGB8, 9, 5);
    EXPECT_EQ(ZelBayer_ConvertImage(nullptr, &mosaic.image, &target.image),
              ZelErr::kInvalidArgument);
    EXPECT_EQ(ZelBayer_ConvertImage(bayer_.get(), nullptr, &target.image),
              ZelErr::kInvalidArgument);
    EXPECT_EQ(ZelBayer_ConvertImage(bayer_.get(), &mosaic.image, nullptr),
              ZelErr::kInvalidArgument);
    ZelBayer_DeleteComponent(nullptr);
}

} // namespace
