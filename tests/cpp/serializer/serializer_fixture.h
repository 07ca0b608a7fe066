// What the serializer's tests share: images with content, a component, a directory of its own.
#pragma once

#include "zel_image/serializer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

/// An image over its own memory, rows `gap` bytes further apart than needed, the gap filled with a
/// value that must not reach a file.
class TestImage
{
public:
    TestImage(ZelPixelType type, std::uint32_t width, std::uint32_t height, std::size_t gap = 0)
    {
        const std::size_t row = std::size_t{width} * (ZelPixel::storedBits(type) / 8);
        memory_.assign((row + gap) * height, 0xA5);
        image_.pixelType = type;
        image_.size = {width, height};
        image_.stride = row + gap;
        image_.dataSize = memory_.size();
        image_.data = memory_.data();
    }

    TestImage& fillNoise(unsigned seed)
    {
        std::mt19937 random(seed);
        const bool wide = ZelPixel::storedBits(image_.pixelType) == 16;
        const unsigned mask = (1U << ZelPixel::depth(image_.pixelType)) - 1U;
        for (std::uint32_t y = 0; y < height(); ++y) {
            for (std::size_t i = 0; i < rowBytes(); i += wide ? 2 : 1) {
                const unsigned value = static_cast<unsigned>(random()) & mask;
                row(y)[i] = static_cast<std::uint8_t>(value & 0xFF);
                if (wide) {
                    row(y)[i + 1] = static_cast<std::uint8_t>(value >> 8);
                }
            }
        }
        return *this;
    }

    /// A smooth moving scene, different for every `time`, that compresses as a photograph does.
    TestImage& fillScene(unsigned time)
    {
        const bool colour = ZelPixel::family(image_.pixelType) == ZelPixel::kFamilyRgb;
        const std::size_t step = colour ? 3 : 1;
        for (std::uint32_t y = 0; y < height(); ++y) {
            for (std::uint32_t x = 0; x < width(); ++x) {
                for (std::size_t c = 0; c < step; ++c) {
                    const double phase = 0.05 * (x + 2.0 * time) + 0.04 * y + 0.3 * double(c);
                    row(y)[x * step + c] = static_cast<std::uint8_t>(
                        128.0 + 70.0 * std::sin(phase) + 30.0 * std::sin(0.004 * x));
                }
            }
        }
        return *this;
    }

    std::uint32_t width() const { return image_.size.width; }
    std::uint32_t height() const { return image_.size.height; }
    std::size_t rowBytes() const { return width() * (ZelPixel::storedBits(image_.pixelType) / 8); }
    std::uint8_t* row(std::uint32_t y) { return memory_.data() + y * image_.stride; }
    const std::uint8_t* row(std::uint32_t y) const { return memory_.data() + y * image_.stride; }
    ZelImage* get() { return &image_; }

    /// All pixels without gaps.
    std::vector<std::uint8_t> pixels() const
    {
        std::vector<std::uint8_t> out;
        for (std::uint32_t y = 0; y < height(); ++y) {
            out.insert(out.end(), row(y), row(y) + rowBytes());
        }
        return out;
    }

    /// Colour in the order red, green, blue, without gaps.
    std::vector<std::uint8_t> rgb() const
    {
        std::vector<std::uint8_t> out = pixels();
        for (std::size_t i = 0; image_.pixelType == ZelPixel::kBGR8 && i < out.size(); i += 3) {
            std::swap(out[i], out[i + 2]);
        }
        return out;
    }

private:
    ZelImage image_ = {};
    std::vector<std::uint8_t> memory_;
};

/// A component and an empty directory, both gone after the test.
class SerializerTest : public testing::Test
{
protected:
    void SetUp() override
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "zelXXXXXX").string();
        ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
        directory_ = pattern;
        serializer_ = ZelImageSerializer_CreateComponent(0);
        ASSERT_NE(serializer_, nullptr);
        params_ = ZelImageSerializer_GetComponent(serializer_);
    }

    void TearDown() override
    {
        ZelImageSerializer_DeleteComponent(serializer_);
        std::filesystem::remove_all(directory_);
    }

    std::string path(const std::string& name) const { return directory_ + "/" + name; }

    ZelCamErr save(TestImage& image, const std::string& name) const
    {
        return ZelImageSerializer_Save(serializer_, image.get(), path(name).c_str());
    }

    ZelCamErr append(TestImage& image) const
    {
        return ZelImageSerializer_Save(serializer_, image.get(), nullptr);
    }

    ZelCamErr start(TestImage& image, const std::string& name, const char* compressor,
                    double rate = 25.0) const
    {
        EXPECT_EQ(params_->SetString("movie.compressor", compressor), 0);
        return ZelImageSerializer_StartMovieRecord(serializer_, image.get(), path(name).c_str(),
                                                   rate);
    }

    /// The names in the directory: nothing else may be left there.
    std::vector<std::string> names() const
    {
        std::vector<std::string> out;
        for (const auto& entry : std::filesystem::directory_iterator(directory_)) {
            out.push_back(entry.path().filename().string());
        }
        return out;
    }

    std::string directory_;
    ZelImageSerializer* serializer_ = nullptr;
    ZelComponentParams* params_ = nullptr;
};
