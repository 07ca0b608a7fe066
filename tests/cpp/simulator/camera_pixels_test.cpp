// Pixels of simulated cameras against independent formulas and hand-written bytes.
#include "simulator/picture_renderer.h"
#include "simulator/pixel_packer.h"
#include "test_camera.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace simulator
{

namespace
{

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t kGuard = 0xA5;

PictureSettings settingsOf(const char* format, std::uint32_t width, std::uint32_t height)
{
    PictureSettings settings;
    settings.format = findPixelFormat(std::string(format));
    settings.width = settings.fullWidth = width;
    settings.height = settings.fullHeight = height;
    return settings;
}

/// Renders between guard bytes.
Bytes render(const PictureSettings& settings, std::uint64_t frame = 0,
             std::vector<std::shared_ptr<const Scene>> scenes = {Scene::generated()})
{
    const PictureRenderer renderer(settings, std::move(scenes));
    const auto size = static_cast<std::size_t>(renderer.imageBytes());
    Bytes memory(size + 32, kGuard);
    renderer.render(frame, memory.data() + 16);
    const auto isGuard = [](std::uint8_t byte) { return byte == kGuard; };
    EXPECT_TRUE(std::all_of(memory.begin(), memory.begin() + 16, isGuard)) << settings.format->name;
    EXPECT_TRUE(std::all_of(memory.end() - 16, memory.end(), isGuard)) << settings.format->name;
    return {memory.begin() + 16, memory.end() - 16};
}

/// Reads the n-th sample back by the definition of the layout, bit by bit.
std::uint32_t sampleAt(const Bytes& bytes, const PixelFormat& format, std::size_t n)
{
    const auto bit = [&](std::size_t place) {
        return std::uint32_t{bytes[place / 8]} >> (place % 8) & 1u;
    };
    std::uint32_t value = 0;
    if (format.packing == PixelPacking::Packed) {
        // High bits in the outer bytes, low bits in the middle one.
        const std::uint32_t low = format.bits - 8;
        const std::size_t group = n / 2 * 3;
        const std::uint32_t high = bytes[group + (n % 2) * 2];
        return high << low | (bytes[group + 1] >> (n % 2 * 4) & ((1u << low) - 1));
    }
    const std::size_t step =
        format.packing == PixelPacking::Lsb ? format.bits : (format.bits + 7) / 8 * 8;
    for (std::uint32_t i = 0; i < format.bits; ++i) {
        value |= bit(n * step + i) << i;
    }
    return value;
}

std::vector<std::string> everyFormat()
{
    std::vector<std::string> names;
    for (const SensorKind kind : {SensorKind::Mono, SensorKind::BayerGR, SensorKind::BayerRG,
                                  SensorKind::BayerGB, SensorKind::BayerBG, SensorKind::Color}) {
        for (const std::string& name : defaultPixelFormats(kind)) {
            if (std::find(names.begin(), names.end(), name) == names.end()) {
                names.push_back(name);
            }
        }
    }
    return names;
}

} // namespace

TEST(Packing, HandWrittenBytes)
{
    // Samples 0xABC, 0x123, 0xFED, 0x456 with 12 bits; 10 bits keep the upper ones.
    const std::vector<std::uint16_t> samples = {0xABC0, 0x1230, 0xFED0, 0x4560};
    const auto packed = [&](const char* name) {
        const PixelFormat& format = *findPixelFormat(std::string(name));
        Bytes bytes(static_cast<std::size_t>(format.imageBytes(samples.size(), 1)));
        PixelPacker packer(format, bytes.data());
        packer.push(samples.data(), samples.size());
        packer.finish();
        return bytes;
    };
    EXPECT_EQ(packed("Mono8"), (Bytes{0xAB, 0x12, 0xFE, 0x45}));
    EXPECT_EQ(packed("Mono12"), (Bytes{0xBC, 0x0A, 0x23, 0x01, 0xED, 0x0F, 0x56, 0x04}));
    EXPECT_EQ(packed("Mono12p"), (Bytes{0xBC, 0x3A, 0x12, 0xED, 0x6F, 0x45}));
    EXPECT_EQ(packed("Mono12Packed"), (Bytes{0xAB, 0x3C, 0x12, 0xFE, 0x6D, 0x45}));
    // 10 bits: 0x2AF, 0x048, 0x3FB, 0x115.
    EXPECT_EQ(packed("Mono10Packed"), (Bytes{0xAB, 0x03, 0x12, 0xFE, 0x13, 0x45}));
    EXPECT_EQ(packed("Mono10p"), (Bytes{0xAF, 0x22, 0xB1, 0x7F, 0x45}));
    EXPECT_EQ(packed("Mono16"), (Bytes{0xC0, 0xAB, 0x30, 0x12, 0xD0, 0xFE, 0x60, 0x45}));
}

TEST(Packing, CodesAreTheStandardOnes)
{
    EXPECT_EQ(findPixelFormat(std::string("Mono10p"))->code, 0x010A0046u);
    EXPECT_EQ(findPixelFormat(std::string("BayerRG12Packed"))->code, 0x010C002Bu);
    EXPECT_EQ(findPixelFormat(std::string("BayerGB10p"))->code, 0x010A0054u);
    EXPECT_EQ(findPixelFormat(std::string("BayerBG16"))->code, 0x01100031u);
    EXPECT_EQ(findPixelFormat(std::string("YCbCr422_8"))->code, 0x0210003Bu);
    EXPECT_EQ(findPixelFormat(0x02300033u)->name, std::string("RGB16"));
    EXPECT_EQ(findPixelFormat(0x01080002u), nullptr);
}

/// Mono and Bayer formats of all depths and packings show the bits of one 16-bit picture, at every
/// size down to one pixel, and write no byte outside.
TEST(Formats, AllDepthsShowTheSamePicture)
{
    const std::vector<std::pair<std::uint32_t, std::uint32_t>> sizes = {{1, 1}, {3, 1},  {5, 3},
                                                                        {7, 7}, {64, 2}, {1031, 3}};
    for (const std::string& name : everyFormat()) {
        const PixelFormat& format = *findPixelFormat(name);
        if (format.kind == PixelKind::Rgb || format.kind == PixelKind::Yuv) {
            continue;
        }
        const std::string family = format.kind == PixelKind::Mono ? "Mono" : name.substr(0, 7);
        for (const auto& [width, height] : sizes) {
            auto settings = settingsOf((family + "16").c_str(), width, height);
            settings.noise = 9;
            const Bytes reference = render(settings, 3);
            settings.format = &format;
            const Bytes bytes = render(settings, 3);
            ASSERT_EQ(bytes.size(), (std::uint64_t{width} * height * format.bitsPerPixel() + 7) / 8)
                << name;
            for (std::size_t i = 0; i < std::size_t{width} * height; ++i) {
                const std::uint32_t full = reference[2 * i] + 256u * reference[2 * i + 1];
                ASSERT_EQ(sampleAt(bytes, format, i), full >> (16 - format.bits))
                    << name << ' ' << width << 'x' << height << " pixel " << i;
            }
        }
    }
}

TEST(Formats, ColorLayouts)
{
    // One odd picture of known colours: bars white, yellow, cyan, green, magenta, red, blue, black.
    const std::vector<std::array<int, 3>> colors = {{255, 255, 255}, {255, 255, 0}, {0, 255, 255},
                                                    {0, 255, 0},     {255, 0, 255}, {255, 0, 0},
                                                    {0, 0, 255},     {0, 0, 0}};
    const auto bars = [&](const char* format, std::uint32_t width) {
        auto settings = settingsOf(format, width, 1);
        settings.fullWidth = 8;
        settings.pattern = TestPattern::ColorBar;
        return render(settings);
    };
    const Bytes rgb = bars("RGB8", 8);
    const Bytes bgra = bars("BGRa8", 8);
    const Bytes rgb12 = bars("RGB12", 8);
    const Bytes bgr10 = bars("BGR10", 8);
    const Bytes uyv = bars("YUV8_UYV", 8);
    for (std::size_t i = 0; i < 8; ++i) {
        const double r = colors[i][0];
        const double g = colors[i][1];
        const double b = colors[i][2];
        for (std::size_t c = 0; c < 3; ++c) {
            EXPECT_EQ(rgb[3 * i + c], colors[i][c]);
            EXPECT_EQ(bgra[4 * i + 2 - c], colors[i][c]);
            EXPECT_EQ(rgb12[6 * i + 2 * c] + 256 * rgb12[6 * i + 2 * c + 1],
                      colors[i][c] == 0 ? 0 : 4095);
            EXPECT_EQ(bgr10[6 * i + 4 - 2 * c] + 256 * bgr10[6 * i + 5 - 2 * c],
                      colors[i][c] == 0 ? 0 : 1023);
        }
        EXPECT_EQ(bgra[4 * i + 3], 255);
        EXPECT_NEAR(uyv[3 * i], 128 - 0.168736 * r - 0.331264 * g + 0.5 * b, 1.5);
        EXPECT_NEAR(uyv[3 * i + 1], 0.299 * r + 0.587 * g + 0.114 * b, 1.5);
        EXPECT_NEAR(uyv[3 * i + 2], 128 + 0.5 * r - 0.418688 * g - 0.081312 * b, 1.5);
    }
    const Bytes yuyv = bars("YUV422_8", 8);
    const Bytes uyvy = bars("YUV422_8_UYVY", 8);
    EXPECT_EQ(bars("YCbCr422_8", 8), yuyv);
    for (std::size_t i = 0; i < 8; ++i) {
        EXPECT_EQ(yuyv[2 * i], uyv[3 * i + 1]) << "Y is not subsampled";
        EXPECT_EQ(uyvy[2 * i + 1], yuyv[2 * i]);
        EXPECT_EQ(uyvy[2 * i], yuyv[2 * i + 1]);
        EXPECT_NEAR(yuyv[2 * i + 1],
                    (uyv[i / 2 * 6 + (i % 2) * 2] + uyv[i / 2 * 6 + 3 + (i % 2) * 2]) / 2.0, 1.5);
    }
    for (const char* format : {"YUV422_8", "RGB16", "YUV8_UYV", "RGBa8"}) {
        for (const std::uint32_t width : {1u, 3u, 5u}) {
            EXPECT_FALSE(bars(format, width).empty());
        }
    }
}

TEST(Formats, MosaicsPickTheColorOfTheirPattern)
{
    const std::uint32_t width = 9;
    const std::uint32_t height = 5;
    auto settings = settingsOf("RGB16", width, height);
    const Bytes rgb = render(settings, 7);
    for (const std::string order : {"GR", "RG", "GB", "BG"}) {
        // The opposite corner has the colour that the first two letters leave out.
        const std::string other = order == "GR"   ? "BG"
                                  : order == "RG" ? "GB"
                                  : order == "GB" ? "RG"
                                                  : "GR";
        settings.format = findPixelFormat("Bayer" + order + "16");
        const Bytes mosaic = render(settings, 7);
        for (std::size_t y = 0; y < height; ++y) {
            for (std::size_t x = 0; x < width; ++x) {
                const char letter = (y % 2 == 0 ? order : other)[x % 2];
                const std::size_t color = letter == 'R' ? 0 : letter == 'G' ? 1 : 2;
                const std::size_t pixel = y * width + x;
                ASSERT_EQ(mosaic[2 * pixel], rgb[6 * pixel + 2 * color]) << order << x << ',' << y;
                ASSERT_EQ(mosaic[2 * pixel + 1], rgb[6 * pixel + 2 * color + 1]);
            }
        }
    }
}

TEST(Response, FollowsExposureGainBlackLevelGammaAndBalance)
{
    auto scene = std::make_shared<Scene>(4, 1);
    const std::array<std::uint32_t, 4> light = {100, 1000, 2000, 4000};
    for (std::uint32_t x = 0; x < 4; ++x) {
        scene->set(x, 0, light[x], light[x], light[x]);
    }
    auto settings = settingsOf("Mono12", 4, 1);
    const auto expectLight = [&](auto formula) {
        const Bytes bytes = render(settings, 0, {scene});
        for (std::size_t x = 0; x < 4; ++x) {
            const double wanted = std::clamp<double>(formula(light[x]), 0.0, 4095.0);
            EXPECT_NEAR(bytes[2 * x] + 256 * bytes[2 * x + 1], wanted, 1.0) << light[x];
        }
    };
    expectLight([](double x) { return x; });
    settings.exposureUs = 20000;
    expectLight([](double x) { return 2 * x; });
    settings.exposureUs = 5000;
    settings.gainDb = 20;
    expectLight([](double x) { return 5 * x; });
    settings.gainDb = 0;
    settings.blackLevel = 200;
    expectLight([](double x) { return x / 2 + 200; });
    settings.gamma = 0.5;
    expectLight([](double x) { return 4096 * std::sqrt((x / 2 + 200) / 4096); });
    auto color = settingsOf("RGB12", 4, 1);
    color.balance = {2.0, 1.0, 0.5};
    const Bytes bytes = render(color, 0, {scene});
    EXPECT_EQ(bytes[6] + 256 * bytes[7], 2000);
    EXPECT_EQ(bytes[8] + 256 * bytes[9], 1000);
    EXPECT_EQ(bytes[10] + 256 * bytes[11], 500);
}

TEST(Geometry, WindowsShowWhatTheFullPictureShows)
{
    for (const TestPattern pattern :
         {TestPattern::Off, TestPattern::GreyHorizontalRampMoving, TestPattern::Checkerboard}) {
        for (const bool reverse : {false, true}) {
            auto settings = settingsOf("BayerGB16", 1100, 40);
            settings.pattern = pattern;
            settings.noise = 12;
            settings.reverseX = settings.reverseY = reverse;
            const Bytes full = render(settings, 900);
            settings.offsetX = 90;
            settings.offsetY = 6;
            settings.width = 1001;
            settings.height = 5;
            const Bytes window = render(settings, 900);
            for (std::size_t y = 0; y < 5; ++y) {
                const auto row =
                    full.begin() + static_cast<std::ptrdiff_t>(((y + 6) * 1100 + 90) * 2);
                ASSERT_TRUE(std::equal(row, row + 2002,
                                       window.begin() + static_cast<std::ptrdiff_t>(y * 2002)))
                    << "line " << y << " pattern " << static_cast<int>(pattern) << reverse;
            }
        }
    }
}

TEST(Geometry, ReverseBinningAndDecimation)
{
    const std::uint32_t width = 12;
    const std::uint32_t height = 8;
    auto settings = settingsOf("Mono16", width, height);
    settings.exposureUs = 2000; // Sums of four stay below saturation.
    const Bytes plain = render(settings, 5);
    const auto at = [&](std::size_t x, std::size_t y) {
        return plain[2 * (y * width + x)] + 256 * plain[2 * (y * width + x) + 1];
    };
    settings.reverseX = settings.reverseY = true;
    const Bytes reversed = render(settings, 5);
    EXPECT_EQ(reversed[0] + 256 * reversed[1], at(width - 1, height - 1));
    EXPECT_EQ(reversed[2 * width] + 256 * reversed[2 * width + 1], at(width - 1, height - 2));

    settings = settingsOf("Mono16", width / 2, height / 2);
    settings.exposureUs = 2000;
    settings.decimationX = settings.decimationY = 2;
    const Bytes decimated = render(settings, 5);
    settings.decimationX = settings.decimationY = 1;
    settings.binningX = settings.binningY = 2;
    settings.sumX = settings.sumY = false;
    const Bytes averaged = render(settings, 5);
    settings.exposureUs = 500; // The sum of four at a quarter of the exposure.
    settings.sumX = settings.sumY = true;
    const Bytes summed = render(settings, 5);
    for (std::size_t y = 0; y < height / 2; ++y) {
        for (std::size_t x = 0; x < width / 2; ++x) {
            const std::size_t place = 2 * (y * width / 2 + x);
            const auto value = [&](const Bytes& bytes) {
                return bytes[place] + 256 * bytes[place + 1];
            };
            const int sum = at(2 * x, 2 * y) + at(2 * x + 1, 2 * y) + at(2 * x, 2 * y + 1) +
                            at(2 * x + 1, 2 * y + 1);
            EXPECT_EQ(value(decimated), at(2 * x, 2 * y));
            EXPECT_NEAR(value(averaged), sum / 4, 4);
            EXPECT_NEAR(value(summed), sum / 4, 4);
        }
    }
}

TEST(Scene, MovesRepeatsAndHasItsOwnNoise)
{
    auto settings = settingsOf("Mono8", 256, 64);
    settings.noise = 15;
    EXPECT_EQ(render(settings, 4), render(settings, 4));
    EXPECT_NE(render(settings, 4), render(settings, 5));
    auto other = settings;
    other.seed = 2;
    EXPECT_NE(render(settings, 4), render(other, 4));
    // Without noise the scene of frame n + 1 is that of frame n, two columns and one line on.
    settings.noise = 0;
    const Bytes before = render(settings, 4);
    const Bytes after = render(settings, 5);
    for (std::size_t y = 0; y + 1 < 64; ++y) {
        for (std::size_t x = 0; x + 2 < 256; ++x) {
            ASSERT_EQ(after[y * 256 + x], before[(y + 1) * 256 + x + 2]);
        }
    }
}

} // namespace simulator
