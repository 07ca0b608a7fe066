// Scene to samples: geometry, noise and response curves.
#include "simulator/picture_renderer.h"

#include "simulator/color_writer.h"
#include "simulator/pixel_packer.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace simulator
{

namespace
{

constexpr std::uint32_t kMaxLight = 4095;
constexpr std::uint32_t kMaxNoise = 15;
constexpr std::size_t kNoiseLength = 2048; // Fits the first-level cache beside the curve.
constexpr double kReferenceExposureUs = 10000.0;

/// splitmix64: a well-mixed number from a counter.
std::uint64_t mixed(std::uint64_t value)
{
    value += 0x9E3779B97F4A7C15u;
    value = (value ^ value >> 30) * 0xBF58476D1CE4E5B9u;
    value = (value ^ value >> 27) * 0x94D049BB133111EBu;
    return value ^ value >> 31;
}

std::uint16_t ramp(std::uint64_t position, std::uint64_t length)
{
    return static_cast<std::uint16_t>(length < 2 ? 0 : position * 65535 / (length - 1));
}

/// White, yellow, cyan, green, magenta, red, blue, black.
std::uint16_t colorBar(std::uint64_t x, std::uint64_t width, std::size_t channel)
{
    constexpr std::array<std::array<int, 3>, 8> kBars = {
        {{1, 1, 1}, {1, 1, 0}, {0, 1, 1}, {0, 1, 0}, {1, 0, 1}, {1, 0, 0}, {0, 0, 1}, {0, 0, 0}}};
    const auto& bar = kBars[x * 8 / width];
    if (channel < 3) {
        return bar[channel] != 0 ? 65535 : 0;
    }
    const int luma = 77 * bar[0] + 150 * bar[1] + 29 * bar[2];
    return static_cast<std::uint16_t>(luma * 65535 / 256);
}

/// Pixels of two colours in turn; `startsOdd`: the first one is of the odd colour.
void mosaic(std::uint16_t* out, const std::uint16_t* even, const std::uint16_t* odd,
            std::uint32_t count, bool startsOdd)
{
    const std::uint16_t* first = startsOdd ? odd : even;
    const std::uint16_t* second = startsOdd ? even : odd;
    std::uint32_t i = 0;
    for (; i + 1 < count; i += 2) {
        out[i] = first[i];
        out[i + 1] = second[i + 1];
    }
    if (i < count) {
        out[i] = first[i];
    }
}

} // namespace

/// What all rows of one frame share.
struct PictureRenderer::Frame {
    std::uint64_t number = 0;
    const Scene* scene = nullptr;
    std::uint32_t shiftX = 0; ///< Of the scene, in its pixels.
    std::uint32_t shiftY = 0;
    std::vector<std::uint32_t> columns; ///< First scene column of each pixel, when not consecutive.
};

PictureRenderer::PictureRenderer(const PictureSettings& settings,
                                 std::vector<std::shared_ptr<const Scene>> scenes)
    : settings_(settings), scenes_(std::move(scenes))
{
    settings_.noise = std::min(settings_.noise, kMaxNoise);
    buildTables();
}

std::uint64_t PictureRenderer::imageBytes() const
{
    return settings_.format->imageBytes(settings_.width, settings_.height);
}

void PictureRenderer::buildTables()
{
    const std::uint32_t added =
        (settings_.sumX ? settings_.binningX : 1) * (settings_.sumY ? settings_.binningY : 1);
    maxLight_ = std::min(kMaxLight * added, 65535 - 2 * kMaxNoise);
    const double factor =
        settings_.exposureUs / kReferenceExposureUs * std::pow(10.0, settings_.gainDb / 20.0);
    for (std::size_t channel = 0; channel < curves_.size(); ++channel) {
        const double balance = channel < 3 ? settings_.balance[channel] : 1.0;
        auto& curve = curves_[channel];
        curve.resize(maxLight_ + 1 + 2 * kMaxNoise);
        for (std::size_t i = 0; i < curve.size(); ++i) {
            const double light = static_cast<double>(i) - kMaxNoise;
            double sample = 16.0 * (light * factor * balance + settings_.blackLevel);
            sample = std::clamp(sample, 0.0, 65535.0);
            if (settings_.gamma != 1.0) {
                sample = 65535.0 * std::pow(sample / 65535.0, settings_.gamma);
            }
            auto value = static_cast<std::uint32_t>(std::lround(sample));
            if (settings_.lookUp != nullptr) {
                // The lowest bits are beyond the table; they stay.
                value = (*settings_.lookUp)[value >> 4] * 16u + (value & 15);
            }
            curve[i] = static_cast<std::uint16_t>(value);
        }
    }
    noise_.resize(kNoiseLength);
    for (std::size_t i = 0; i < kNoiseLength; ++i) {
        // The difference of two even distributions is triangular around zero.
        const std::uint64_t random = mixed(settings_.seed * kNoiseLength + i);
        const std::uint64_t spread = settings_.noise + 1;
        noise_[i] = static_cast<std::uint16_t>(kMaxNoise + (random & 0xFFFFFF) % spread -
                                               (random >> 32) % spread);
    }
}

std::array<std::size_t, 2> PictureRenderer::planesOf(std::uint32_t y, std::size_t channel) const
{
    if (channel < 3 || settings_.format->kind != PixelKind::Bayer) {
        return {channel, channel};
    }
    constexpr std::size_t kR = Scene::kRed;
    constexpr std::size_t kG = Scene::kGreen;
    constexpr std::size_t kB = Scene::kBlue;
    const bool oddRow = ((y + settings_.offsetY) & 1) != 0;
    switch (settings_.format->order) {
    case PixelOrder::GR:
        return oddRow ? std::array{kB, kG} : std::array{kG, kR};
    case PixelOrder::RG:
        return oddRow ? std::array{kG, kB} : std::array{kR, kG};
    case PixelOrder::GB:
        return oddRow ? std::array{kR, kG} : std::array{kG, kB};
    default:
        return oddRow ? std::array{kG, kR} : std::array{kB, kG};
    }
}

void PictureRenderer::patternRow(const Frame& frame, std::uint32_t y, std::size_t channel,
                                 std::uint16_t* out) const
{
    const std::uint64_t width = settings_.fullWidth;
    const std::uint64_t height = settings_.fullHeight;
    const std::uint64_t fullY =
        settings_.reverseY ? height - 1 - (y + settings_.offsetY) : y + settings_.offsetY;
    const auto planes = planesOf(y, channel);
    for (std::uint32_t i = 0; i < settings_.width; ++i) {
        const std::uint64_t place = std::uint64_t{i} + settings_.offsetX;
        const std::uint64_t fullX = settings_.reverseX ? width - 1 - place : place;
        switch (settings_.pattern) {
        case TestPattern::White:
            out[i] = 65535;
            break;
        case TestPattern::GreyHorizontalRamp:
            out[i] = ramp(fullX, width);
            break;
        case TestPattern::GreyVerticalRamp:
            out[i] = ramp(fullY, height);
            break;
        case TestPattern::GreyHorizontalRampMoving:
            out[i] = ramp((fullX + frame.number) % width, width);
            break;
        case TestPattern::GreyVerticalRampMoving:
            out[i] = ramp((fullY + frame.number) % height, height);
            break;
        case TestPattern::Checkerboard:
            out[i] = ((fullX / 32 + fullY / 32) & 1) != 0 ? 65535 : 0;
            break;
        case TestPattern::ColorBar:
            out[i] = colorBar(fullX, width, planes[place & 1]);
            break;
        default:
            out[i] = 0;
        }
    }
}

void PictureRenderer::light(const Frame& frame, std::uint32_t y, Scene::Plane even,
                            Scene::Plane odd, std::uint16_t* out) const
{
    const Scene& scene = *frame.scene;
    const std::uint32_t place = y + settings_.offsetY;
    const std::uint32_t fullY = settings_.reverseY ? settings_.fullHeight - 1 - place : place;
    const auto sceneY =
        static_cast<std::uint32_t>((std::uint64_t{fullY} + frame.shiftY) % scene.height());
    const std::uint16_t* evenRow = scene.row(even, sceneY);
    const std::uint16_t* oddRow = scene.row(odd, sceneY);
    std::uint32_t done = 0;
    while (done < settings_.width) {
        const auto sceneX = static_cast<std::uint32_t>(
            (std::uint64_t{settings_.offsetX} + done + frame.shiftX) % scene.width());
        const std::uint32_t count = std::min(settings_.width - done, scene.width() - sceneX);
        if (even == odd) {
            std::memcpy(out + done, evenRow + sceneX, count * sizeof *out);
        } else {
            mosaic(out + done, evenRow + sceneX, oddRow + sceneX, count,
                   ((settings_.offsetX + done) & 1) != 0);
        }
        done += count;
    }
}

void PictureRenderer::binnedLight(const Frame& frame, std::uint32_t y, Scene::Plane even,
                                  Scene::Plane odd, std::uint16_t* out) const
{
    const Scene& scene = *frame.scene;
    const std::uint32_t place = y + settings_.offsetY;
    const std::uint64_t fullY = settings_.reverseY ? settings_.fullHeight - 1 - place : place;
    const std::uint64_t firstY = fullY * settings_.binningY * settings_.decimationY;
    const std::uint32_t divisor =
        (settings_.sumX ? 1 : settings_.binningX) * (settings_.sumY ? 1 : settings_.binningY);
    for (std::uint32_t i = 0; i < settings_.width; ++i) {
        const Scene::Plane plane = ((settings_.offsetX + i) & 1) != 0 ? odd : even;
        std::uint32_t sum = 0;
        for (std::uint32_t v = 0; v < settings_.binningY; ++v) {
            const std::uint16_t* source = scene.row(
                plane, static_cast<std::uint32_t>((firstY + v + frame.shiftY) % scene.height()));
            std::uint32_t x = frame.columns[i];
            for (std::uint32_t h = 0; h < settings_.binningX; ++h) {
                sum += source[x];
                x = x + 1 == scene.width() ? 0 : x + 1;
            }
        }
        out[i] = static_cast<std::uint16_t>(std::min(sum / divisor, maxLight_));
    }
}

void PictureRenderer::addNoise(const Frame& frame, std::uint32_t y, std::size_t channel,
                               std::uint16_t* out) const
{
    const std::uint64_t key = (frame.number * 4 + channel) * 65536 + y + settings_.offsetY;
    std::size_t from = (mixed(settings_.seed ^ mixed(key)) + settings_.offsetX) % kNoiseLength;
    std::size_t done = 0;
    while (done < settings_.width) {
        const std::size_t count = std::min(settings_.width - done, kNoiseLength - from);
        for (std::size_t i = 0; i < count; ++i) {
            out[done + i] = static_cast<std::uint16_t>(out[done + i] + noise_[from + i]);
        }
        done += count;
        from = 0;
    }
}

void PictureRenderer::row(const Frame& frame, std::uint32_t y, std::size_t channel,
                          std::uint16_t* out) const
{
    if (settings_.pattern != TestPattern::Off) {
        patternRow(frame, y, channel, out);
        return;
    }
    const auto planes = planesOf(y, channel);
    const auto even = static_cast<Scene::Plane>(planes[0]);
    const auto odd = static_cast<Scene::Plane>(planes[1]);
    if (frame.columns.empty()) {
        light(frame, y, even, odd, out);
    } else {
        binnedLight(frame, y, even, odd, out);
    }
    addNoise(frame, y, channel, out);
    const std::uint16_t* evenCurve = curves_[(settings_.offsetX & 1) != 0 ? odd : even].data();
    const std::uint16_t* oddCurve = curves_[(settings_.offsetX & 1) != 0 ? even : odd].data();
    std::uint32_t i = 0;
    for (; i + 1 < settings_.width; i += 2) {
        out[i] = evenCurve[out[i]];
        out[i + 1] = oddCurve[out[i + 1]];
    }
    if (i < settings_.width) {
        out[i] = evenCurve[out[i]];
    }
}

void PictureRenderer::renderSamples(const Frame& frame, std::uint8_t* memory) const
{
    PixelPacker packer(*settings_.format, memory);
    std::vector<std::uint16_t> samples(settings_.width);
    for (std::uint32_t y = 0; y < settings_.height; ++y) {
        row(frame, y, Scene::kLuma, samples.data());
        packer.push(samples.data(), samples.size());
    }
    packer.finish();
}

void PictureRenderer::renderColor(const Frame& frame, std::uint8_t* memory) const
{
    ColorWriter writer(*settings_.format, memory);
    std::array<std::vector<std::uint16_t>, 3> channels;
    for (auto& channel : channels) {
        channel.resize(settings_.width);
    }
    for (std::uint32_t y = 0; y < settings_.height; ++y) {
        for (std::size_t channel = 0; channel < 3; ++channel) {
            row(frame, y, channel, channels[channel].data());
        }
        writer.push(channels[0].data(), channels[1].data(), channels[2].data(), settings_.width);
    }
    writer.finish();
}

PictureRenderer::Frame PictureRenderer::prepared(std::uint64_t number) const
{
    Frame frame;
    frame.number = number;
    frame.scene = scenes_[number % scenes_.size()].get();
    if (scenes_.size() == 1) {
        frame.shiftX = static_cast<std::uint32_t>(number * 2 % frame.scene->width());
        frame.shiftY = static_cast<std::uint32_t>(number % frame.scene->height());
    }
    const std::uint64_t step = std::uint64_t{settings_.binningX} * settings_.decimationX;
    if (step != 1 || settings_.binningY * settings_.decimationY != 1 || settings_.reverseX) {
        frame.columns.resize(settings_.width);
        for (std::uint32_t i = 0; i < settings_.width; ++i) {
            const std::uint64_t place = std::uint64_t{i} + settings_.offsetX;
            const std::uint64_t fullX =
                settings_.reverseX ? settings_.fullWidth - 1 - place : place;
            frame.columns[i] =
                static_cast<std::uint32_t>((fullX * step + frame.shiftX) % frame.scene->width());
        }
    }
    return frame;
}

PictureRenderer::Levels PictureRenderer::levels(std::uint64_t number) const
{
    constexpr std::uint32_t kRows = 16;
    const Frame frame = prepared(number);
    const std::uint32_t rows = std::min(kRows, settings_.height);
    std::vector<std::uint16_t> samples(settings_.width);
    Levels levels{};
    for (std::size_t channel = 0; channel < levels.size(); ++channel) {
        double sum = 0.0;
        for (std::uint32_t i = 0; i < rows; ++i) {
            const auto y = static_cast<std::uint32_t>(std::uint64_t{i} * settings_.height / rows);
            row(frame, y, channel, samples.data());
            for (const std::uint16_t sample : samples) {
                sum += sample;
            }
        }
        levels[channel] = sum / 65535.0 / (double{1} * rows * settings_.width);
    }
    return levels;
}

void PictureRenderer::render(std::uint64_t number, std::uint8_t* memory) const
{
    const Frame frame = prepared(number);
    const PixelKind kind = settings_.format->kind;
    if (kind == PixelKind::Rgb || kind == PixelKind::Yuv) {
        renderColor(frame, memory);
    } else {
        renderSamples(frame, memory);
    }
}

} // namespace simulator
