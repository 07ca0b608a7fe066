// How near a demosaiced scene comes to the scene.
#include "reference.h"
#include "scene.h"
#include "zel_image/demosaicing.h"
#include "zel_image/unpacker.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

namespace
{

using namespace ImageTests;

constexpr std::size_t kWidth = 301;
constexpr std::size_t kHeight = 203;
constexpr std::size_t kBorder = 2;

struct Delete {
    void operator()(ZelBayer* bayer) const { ZelBayer_DeleteComponent(bayer); }
    void operator()(ZelImageUnpacker* unpacker) const
    {
        ZelImageUnpacker_DeleteComponent(unpacker);
    }
};

const Colour& sceneAt(std::size_t x, std::size_t y)
{
    static const Scene scene(kWidth, kHeight, 0.0);
    return scene.at(x, y);
}

// The upper eight bits of a sample are the 8-bit value.
unsigned mosaicSample(const std::string& order, unsigned depth, std::size_t x, std::size_t y)
{
    const std::size_t component = std::string("RGB").find(order[y % 2 * 2 + x % 2]);
    const double scale = 1U << (depth - 8);
    return static_cast<unsigned>(std::lround(scale * sceneAt(x, y)[component]));
}

struct Quality {
    double interior; // Peak signal to noise ratio in dB.
    double border;   // Of the outermost two pixels.
    Colour shift;    // Mean difference.
};

// Compares what lies `margin` pixels inside the scene. The result may be larger than that.
Quality compare(const GuardedImage& result, std::size_t margin)
{
    double squares[2] = {};
    double samples[2] = {};
    Colour shift{};
    const std::size_t red = result.image.pixelType == ZelPixel::kRGB8 ? 0 : 2;
    const std::size_t resultMargin = (kWidth - result.image.size.width) / 2;
    for (std::size_t y = margin; y < kHeight - margin; ++y) {
        for (std::size_t x = margin; x < kWidth - margin; ++x) {
            const std::size_t edge = std::min({x, y, kWidth - 1 - x, kHeight - 1 - y}) - margin;
            const bool isBorder = edge < kBorder;
            const std::uint8_t* const pixel = result.row(y - resultMargin) + 3 * (x - resultMargin);
            for (std::size_t i = 0; i < 3; ++i) {
                const std::size_t position = i == 1 ? 1 : (i == 0 ? red : 2 - red);
                const double difference = pixel[position] - sceneAt(x, y)[i];
                squares[isBorder] += difference * difference;
                samples[isBorder] += 1;
                shift[i] += difference / (kWidth * kHeight);
            }
        }
    }
    const auto ratio = [&](std::size_t i) {
        return 10.0 * std::log10(255.0 * 255.0 * samples[i] / squares[i]);
    };
    return Quality{ratio(0), ratio(1), shift};
}

class DemosaicingQuality : public testing::Test
{
protected:
    void expectGood(const GuardedImage& mosaic, ZelPixelType type)
    {
        GuardedImage whole(type, kWidth, kHeight);
        ASSERT_EQ(ZelBayer_ConvertImage(bayer_.get(), &mosaic.image, &whole.image), ZelErr::kOk);
        const Quality quality = compare(whole, 0);
        EXPECT_GT(quality.interior, kLeast);
        for (const double shift : quality.shift) {
            EXPECT_LT(std::abs(shift), 0.2);
        }

        // The border of a cut-out against the same pixels with all their neighbours.
        constexpr std::size_t kMargin = 4;
        ZelImage cutOut = mosaic.image;
        cutOut.size = ZelSize{kWidth - 2 * kMargin, kHeight - 2 * kMargin};
        const std::size_t offset = kMargin * cutOut.stride + kMargin * (cutOut.storedBits / 8);
        cutOut.data = static_cast<std::uint8_t*>(cutOut.data) + offset;
        cutOut.dataSize -= offset;
        GuardedImage part(type, cutOut.size.width, cutOut.size.height);
        ASSERT_EQ(ZelBayer_ConvertImage(bayer_.get(), &cutOut, &part.image), ZelErr::kOk);
        EXPECT_GT(compare(part, kMargin).border, compare(whole, kMargin).border - kBorderLoss);
    }

    static constexpr double kLeast = 35.5;
    static constexpr double kBorderLoss = 2.0; // Borders that mix up colours lose ten times that.

    std::unique_ptr<ZelBayer, Delete> bayer_{ZelBayer_CreateComponent()};
};

TEST_F(DemosaicingQuality, BringsTheSceneBackFromEveryOrderAndDepth)
{
    for (std::size_t order = 0; order < 4; ++order) {
        for (const unsigned depth : kDepths) {
            GuardedImage mosaic(bayerType(order, depth), kWidth, kHeight);
            for (std::size_t y = 0; y < kHeight; ++y) {
                for (std::size_t x = 0; x < kWidth; ++x) {
                    const unsigned sample = mosaicSample(kOrders[order], depth, x, y);
                    if (depth == 8) {
                        mosaic.row(y)[x] = static_cast<std::uint8_t>(sample);
                    } else {
                        mosaic.setWord(x, y, sample);
                    }
                }
            }
            SCOPED_TRACE(testing::Message() << kOrders[order] << depth);
            expectGood(mosaic, ZelPixel::kRGB8);
            expectGood(mosaic, ZelPixel::kBGR8);
        }
    }
}

TEST_F(DemosaicingQuality, BringsTheSceneBackFromPackedBytes)
{
    GuardedImage packed(ZelPixel::kBayerGB12Packed, kWidth, kHeight);
    for (std::size_t i = 0; i < kWidth * kHeight; ++i) {
        const unsigned sample = mosaicSample("GBRG", 12, i % kWidth, i / kWidth);
        std::uint8_t* const triple = packed.row(0) + i / 2 * 3;
        triple[i % 2 * 2] = static_cast<std::uint8_t>(sample >> 4);
        if (i % 2 == 0) {
            triple[1] = static_cast<std::uint8_t>(sample & 0xFU);
        } else {
            triple[1] = static_cast<std::uint8_t>(triple[1] | (sample & 0xFU) << 4);
        }
    }
    GuardedImage words(ZelPixel::kMono12, kWidth, kHeight); // With the mosaic noted in it.
    const std::unique_ptr<ZelImageUnpacker, Delete> unpacker(ZelImageUnpacker_CreateComponent());
    ASSERT_EQ(ZelImageUnpacker_Unpack(unpacker.get(), &packed.image, &words.image), ZelErr::kOk);
    expectGood(words, ZelPixel::kBGR8);
}

} // namespace
