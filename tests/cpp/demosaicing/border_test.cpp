// What the borders of pictures lose, with what the picture shows taken out of the comparison.
#include "reference.h"
#include "scene.h"
#include "zel_image/demosaicing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>

namespace
{

using namespace ImageTests;

constexpr std::size_t kWidth = 480;
constexpr std::size_t kHeight = 360;
constexpr std::size_t kWindowWidth = 24;
constexpr std::size_t kWindowHeight = 18;

struct Delete {
    void operator()(ZelBayer* bayer) const { ZelBayer_DeleteComponent(bayer); }
};

// Squared errors of many pixels.
struct Error {
    double sum = 0;
    double samples = 0;

    void add(const std::uint8_t* rgb, const Colour& wanted)
    {
        for (std::size_t i = 0; i < 3; ++i) {
            sum += (rgb[i] - wanted[i]) * (rgb[i] - wanted[i]);
            samples += 1;
        }
    }
    double decibels() const { return 10.0 * std::log10(255.0 * 255.0 * samples / sum); }
};

// Of the outer two pixels of all windows, of the pixels that have all their neighbours in the
// window, and of the former within the whole picture.
struct Errors {
    Error border;
    Error interior;
    Error borderWithNeighbours;
};

void fill(GuardedImage& mosaic, const Scene& scene, const std::string& order)
{
    const int depth = static_cast<int>(mosaic.image.bitsPerComponent);
    for (std::size_t y = 0; y < kHeight; ++y) {
        for (std::size_t x = 0; x < kWidth; ++x) {
            const std::size_t component = std::string("RGB").find(order[y % 2 * 2 + x % 2]);
            const double value = std::ldexp(scene.at(x, y)[component], depth - 8);
            const auto sample = static_cast<unsigned>(std::lround(value));
            if (depth == 8) {
                mosaic.row(y)[x] = static_cast<std::uint8_t>(sample);
            } else {
                mosaic.setWord(x, y, sample);
            }
        }
    }
}

class DemosaicingBorder : public testing::Test
{
protected:
    Errors compare(const Scene& scene, const GuardedImage& mosaic)
    {
        Errors errors;
        GuardedImage whole(ZelPixel::kRGB8, kWidth, kHeight);
        convert(mosaic.image, whole);
        for (std::size_t y = kWindowHeight; y + 2 * kWindowHeight <= kHeight; y += kWindowHeight) {
            for (std::size_t x = kWindowWidth; x + 2 * kWindowWidth <= kWidth; x += kWindowWidth) {
                ZelImage window = mosaic.image;
                const std::size_t offset = y * window.stride + x * (window.storedBits / 8);
                window.size = ZelSize{kWindowWidth, kWindowHeight};
                window.data = static_cast<std::uint8_t*>(window.data) + offset;
                window.dataSize -= offset;
                GuardedImage part(ZelPixel::kRGB8, kWindowWidth, kWindowHeight);
                convert(window, part);
                add(errors, scene, x, y, part, whole);
            }
        }
        return errors;
    }

    static constexpr double kTexture = 25.0;
    static constexpr double kGrain = 4.0;
    // In dB, of the outer two pixels: what the neighbours beyond the border would have told.
    static constexpr double kMostLost = 2.2;

    void convert(const ZelImage& source, GuardedImage& target)
    {
        ASSERT_EQ(ZelBayer_ConvertImage(bayer_.get(), &source, &target.image), ZelErr::kOk);
    }

private:
    static void add(Errors& errors, const Scene& scene, std::size_t left, std::size_t top,
                    const GuardedImage& part, const GuardedImage& whole)
    {
        for (std::size_t y = 0; y < kWindowHeight; ++y) {
            for (std::size_t x = 0; x < kWindowWidth; ++x) {
                const std::size_t edge =
                    std::min({x, y, kWindowWidth - 1 - x, kWindowHeight - 1 - y});
                const Colour& wanted = scene.at(left + x, top + y);
                const std::uint8_t* const pixel = part.row(y) + 3 * x;
                if (edge < 2) {
                    errors.border.add(pixel, wanted);
                    errors.borderWithNeighbours.add(whole.row(top + y) + 3 * (left + x), wanted);
                } else {
                    errors.interior.add(pixel, wanted);
                }
            }
        }
    }

    std::unique_ptr<ZelBayer, Delete> bayer_{ZelBayer_CreateComponent()};
};

TEST_F(DemosaicingBorder, LosesLittleAgainstTheSamePixelsWithAllNeighbours)
{
    const Scene scenes[] = {
        {kWidth, kHeight, 0.0}, {kWidth, kHeight, kTexture}, {kWidth, kHeight, kTexture, kGrain}};
    for (const Scene& scene : scenes) {
        for (std::size_t order = 0; order < 4; ++order) {
            for (const unsigned depth : {8U, 10U, 12U}) {
                GuardedImage mosaic(bayerType(order, depth), kWidth, kHeight);
                fill(mosaic, scene, kOrders[order]);
                const Errors errors = compare(scene, mosaic);
                const double border = errors.border.decibels();
                SCOPED_TRACE(testing::Message() << kOrders[order] << depth << ": " << border);
                // The windows are many enough for their borders to show what their middles show.
                EXPECT_NEAR(errors.borderWithNeighbours.decibels(), errors.interior.decibels(),
                            0.3);
                EXPECT_GT(border, errors.borderWithNeighbours.decibels() - kMostLost);
            }
        }
    }
}

// Reflection keeps the filters right for what changes evenly: their two parts miss by the same.
TEST_F(DemosaicingBorder, ShowsEvenSlopesAsTheInteriorDoes)
{
    for (std::size_t order = 0; order < 4; ++order) {
        GuardedImage mosaic(bayerType(order, 8), kWidth, kHeight);
        const auto slope = [](std::size_t x, std::size_t y) { return (2 * x + 3 * y) / 10 + 30; };
        for (std::size_t y = 0; y < kHeight; ++y) {
            for (std::size_t x = 0; x < kWidth; ++x) {
                mosaic.row(y)[x] = static_cast<std::uint8_t>(slope(x, y));
            }
        }
        GuardedImage result(ZelPixel::kRGB8, kWidth, kHeight);
        convert(mosaic.image, result);
        int inside = 0;
        int outside = 0;
        for (std::size_t y = 0; y < kHeight; ++y) {
            for (std::size_t x = 0; x < kWidth; ++x) {
                const bool isBorder = std::min({x, y, kWidth - 1 - x, kHeight - 1 - y}) < 2;
                for (std::size_t i = 0; i < 3; ++i) {
                    const int error =
                        std::abs(result.row(y)[3 * x + i] - static_cast<int>(slope(x, y)));
                    int& most = isBorder ? outside : inside;
                    most = std::max(most, error);
                }
            }
        }
        EXPECT_LE(inside, 1);
        EXPECT_LE(outside, 1) << kOrders[order];
    }
}

} // namespace
