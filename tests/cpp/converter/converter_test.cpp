#include "guarded_image.h"
#include "zel_image/converter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

namespace
{

using namespace ImageTests;

struct Delete {
    void operator()(ZelImageConverter* converter) const
    {
        ZelImageConverter_DeleteComponent(converter);
    }
};

constexpr ZelPixelType kMonoTypes[] = {ZelPixel::kMono8, ZelPixel::kMono10, ZelPixel::kMono12,
                                       ZelPixel::kMono14, ZelPixel::kMono16};
constexpr ZelPixelType kColourTypes[] = {ZelPixel::kRGB8, ZelPixel::kBGR8};

unsigned greyOf(const GuardedImage& source, std::size_t x, std::size_t y)
{
    const unsigned bits = source.image.bitsPerComponent;
    return bits == 8 ? source.row(y)[x] : source.word(x, y) >> (bits - 8);
}

double lumaOf(const GuardedImage& source, std::size_t x, std::size_t y)
{
    const std::uint8_t* const pixel = source.row(y) + 3 * x;
    const bool redFirst = source.image.pixelType == ZelPixel::kRGB8;
    return 0.299 * pixel[redFirst ? 0 : 2] + 0.587 * pixel[1] + 0.114 * pixel[redFirst ? 2 : 0];
}

class Converter : public testing::Test
{
protected:
    ZelCamErr convert(const GuardedImage& source, GuardedImage& target)
    {
        return ZelImageConverter_ConvertImage(converter_.get(), &source.image, &target.image);
    }

    // Converts random samples at every width on every instruction set.
    template <typename CheckPixel>
    void checkPair(ZelPixelType from, ZelPixelType into, const CheckPixel& checkPixel)
    {
        SCOPED_TRACE(testing::Message() << std::hex << from << " to " << into);
        forEachTarget([&](const char* name) {
            for (const std::uint32_t width : widthsAroundVectors()) {
                for (const std::size_t padding : {0U, 3U}) {
                    const Placement placement =
                        width % 2 == 0 ? Placement::kBeforeBarrier : Placement::kBehindBarrier;
                    GuardedImage source(from, width, 2, padding, placement);
                    source.fillWithSamples(random_);
                    GuardedImage target(into, width, 2, padding, placement);
                    ASSERT_EQ(convert(source, target), ZelErr::kOk);
                    ASSERT_TRUE(target.isIntact()) << name << ", width " << width;
                    for (std::size_t i = 0; i < 2 * std::size_t{width}; ++i) {
                        ASSERT_TRUE(checkPixel(source, target, i % width, i / width))
                            << name << ", width " << width << ", pixel " << i;
                    }
                }
            }
        });
    }

    std::unique_ptr<ZelImageConverter, Delete> converter_{ZelImageConverter_CreateComponent()};
    std::mt19937 random_{2};
};

TEST_F(Converter, CutsOffTheLowerBitsOfMono)
{
    for (const ZelPixelType from : kMonoTypes) {
        checkPair(from, ZelPixel::kMono8,
                  [](const auto& source, const auto& target, auto x, auto y) {
                      return target.row(y)[x] == greyOf(source, x, y);
                  });
    }
}

TEST_F(Converter, MakesGreyPixelsOfMono)
{
    for (const ZelPixelType from : kMonoTypes) {
        for (const ZelPixelType into : kColourTypes) {
            checkPair(from, into, [](const auto& source, const auto& target, auto x, auto y) {
                const std::uint8_t* const pixel = target.row(y) + 3 * x;
                const unsigned grey = greyOf(source, x, y);
                return pixel[0] == grey && pixel[1] == grey && pixel[2] == grey;
            });
        }
    }
}

TEST_F(Converter, ExchangesRedAndBlueOrCopies)
{
    for (const ZelPixelType from : kColourTypes) {
        for (const ZelPixelType into : kColourTypes) {
            const std::size_t swap = from == into ? 0 : 2;
            checkPair(from, into, [&](const auto& source, const auto& target, auto x, auto y) {
                const std::uint8_t* const before = source.row(y) + 3 * x;
                const std::uint8_t* const after = target.row(y) + 3 * x;
                return after[0] == before[swap] && after[1] == before[1] &&
                       after[2] == before[2 - swap];
            });
        }
    }
}

TEST_F(Converter, WeighsColoursIntoLuma)
{
    for (const ZelPixelType from : kColourTypes) {
        checkPair(from, ZelPixel::kMono8,
                  [](const auto& source, const auto& target, auto x, auto y) {
                      return std::abs(target.row(y)[x] - lumaOf(source, x, y)) <= 0.51;
                  });
        GuardedImage greys(from, 256, 1);
        for (std::size_t i = 0; i < 768; ++i) {
            greys.row(0)[i] = static_cast<std::uint8_t>(i / 3);
        }
        GuardedImage target(ZelPixel::kMono8, 256, 1);
        ASSERT_EQ(convert(greys, target), ZelErr::kOk);
        for (std::size_t i = 0; i < 256; ++i) {
            EXPECT_EQ(target.row(0)[i], i);
        }
    }
}

TEST_F(Converter, LimitsWordsAboveTheirDepth)
{
    forEachTarget([&](const char* name) {
        for (const ZelPixelType from : {ZelPixel::kMono10, ZelPixel::kMono12, ZelPixel::kMono14}) {
            GuardedImage source(from, 67, 1);
            for (std::size_t x = 0; x < 67; ++x) {
                source.setWord(x, 0, x % 2 == 0 ? 0xFFFF : 0x4000);
            }
            GuardedImage target(ZelPixel::kMono8, 67, 1);
            ASSERT_EQ(convert(source, target), ZelErr::kOk);
            EXPECT_EQ(std::count(target.row(0), target.row(0) + 67, 255), 67) << name;
        }
    });
}

TEST_F(Converter, RefusesWhatItDoesNotKnow)
{
    const auto refuses = [&](const GuardedImage& source, GuardedImage& target) {
        EXPECT_EQ(convert(source, target), ZelErr::kInvalidArgument);
        EXPECT_TRUE(target.isUntouched());
    };
    const GuardedImage mono(ZelPixel::kMono12, 9, 5);
    for (const ZelPixelType into : {ZelPixel::kMono12, ZelPixel::kMono16, ZelPixel::kBayerRG8,
                                    ZelPixel::kRGBa8, ZelPixel::kRGB16}) {
        GuardedImage target(into, 9, 5);
        refuses(mono, target);
    }
    const GuardedImage packed(ZelPixel::kMono12Packed, 9, 5);
    GuardedImage grey(ZelPixel::kMono8, 9, 5);
    refuses(packed, grey);
    GuardedImage turned(ZelPixel::kMono8, 5, 9);
    refuses(mono, turned);
    const auto refusesChanged = [&](auto change) {
        GuardedImage source(ZelPixel::kMono12, 9, 5);
        GuardedImage target(ZelPixel::kMono8, 9, 5);
        change(source.image);
        refuses(source, target);
        source.image = mono.image;
        change(target.image);
        refuses(source, target);
    };
    refusesChanged([](ZelImage& image) { image.dataSize -= 1; });
    refusesChanged([](ZelImage& image) { image.data = nullptr; });
    refusesChanged([](ZelImage& image) { image.stride = 8; });
    refusesChanged([](ZelImage& image) { image.stride = UINT64_MAX - 3; });
    refusesChanged([](ZelImage& image) { image.size.height = 0xFFFFFFFF; });
    EXPECT_EQ(ZelImageConverter_ConvertImage(nullptr, &mono.image, &grey.image),
              ZelErr::kInvalidArgument);
    EXPECT_EQ(ZelImageConverter_ConvertImage(converter_.get(), nullptr, &grey.image),
              ZelErr::kInvalidArgument);
    EXPECT_EQ(ZelImageConverter_ConvertImage(converter_.get(), &mono.image, nullptr),
              ZelErr::kInvalidArgument);
}

TEST_F(Converter, TakesStrideZeroForRowsWithoutPadding)
{
    GuardedImage source(ZelPixel::kMono10, 3, 2);
    source.setWord(2, 1, 0x3FF);
    source.image.stride = 0;
    GuardedImage target(ZelPixel::kMono8, 3, 2);
    target.image.stride = 0;
    ASSERT_EQ(convert(source, target), ZelErr::kOk);
    EXPECT_EQ(target.row(1)[2], 255);
}

} // namespace
