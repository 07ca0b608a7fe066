// Turns light into pixels: what sensor, analogue path and readout make of a scene.
#pragma once

#include "simulator/pixel_format.h"
#include "simulator/scene.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace simulator
{

/// Values of the TestPattern feature. Patterns are made behind the analogue path: exposure, gain
/// and noise do not change them.
enum class TestPattern : std::int64_t {
    Off, ///< The scene.
    Black,
    White,
    GreyHorizontalRamp,
    GreyVerticalRamp,
    GreyHorizontalRampMoving,
    GreyVerticalRampMoving,
    Checkerboard,
    ColorBar,
};

/// Values of 12 bits for values of 12 bits.
constexpr std::size_t kLookUpSize = 4096;
using LookUpTable = std::array<std::uint16_t, kLookUpSize>;

/// Everything that decides on the pixels of a frame.
struct PictureSettings {
    const PixelFormat* format = nullptr;
    std::uint32_t width = 0; ///< Window, in pixels behind binning and decimation.
    std::uint32_t height = 0;
    std::uint32_t offsetX = 0;
    std::uint32_t offsetY = 0;
    std::uint32_t fullWidth = 0; ///< Of the picture that the window lies in.
    std::uint32_t fullHeight = 0;
    std::uint32_t binningX = 1;
    std::uint32_t binningY = 1;
    bool sumX = true; ///< Else average.
    bool sumY = true;
    std::uint32_t decimationX = 1;
    std::uint32_t decimationY = 1;
    bool reverseX = false;
    bool reverseY = false;
    TestPattern pattern = TestPattern::Off;
    double exposureUs = 10000.0; ///< The scene is made for this exposure.
    double gainDb = 0.0;
    double blackLevel = 0.0; ///< Of 4095.
    double gamma = 1.0;
    std::array<double, 3> balance = {1.0, 1.0, 1.0};
    std::shared_ptr<const LookUpTable> lookUp; ///< Behind gamma; null: none.
    std::uint32_t noise = 0;                   ///< Amplitude of 4095 before the gain, at most 15.
    std::uint64_t seed = 1;
};

/// Renders frames with one set of settings; immutable, so any thread may render.
///
/// Samples are calculated with 16 bits, and a format of fewer bits keeps the highest: all formats
/// show the same picture. A pixel depends on its place in the full picture and on the frame number
/// only, so a window shows what the full picture shows there.
class PictureRenderer
{
public:
    /// At least one scene; frame n shows scene n modulo their number. Scenes of one picture move.
    PictureRenderer(const PictureSettings& settings,
                    std::vector<std::shared_ptr<const Scene>> scenes);

    const PictureSettings& settings() const { return settings_; }
    std::uint64_t imageBytes() const;
    /// Writes imageBytes() bytes.
    void render(std::uint64_t frame, std::uint8_t* memory) const;

    /// Mean brightness of red, green, blue and luminance, 0 to 1.
    using Levels = std::array<double, Scene::kPlaneCount>;
    /// Of a sample of the rows of a frame.
    Levels levels(std::uint64_t frame) const;

private:
    struct Frame;

    Frame prepared(std::uint64_t number) const;

    void buildTables();
    void renderSamples(const Frame& frame, std::uint8_t* memory) const;
    void renderColor(const Frame& frame, std::uint8_t* memory) const;
    /// Samples of full 16-bit scale of row y of the window; channel 0 to 2, or 3 for luminance and
    /// mosaics.
    void row(const Frame& frame, std::uint32_t y, std::size_t channel, std::uint16_t* out) const;
    void patternRow(const Frame& frame, std::uint32_t y, std::size_t channel,
                    std::uint16_t* out) const;
    void light(const Frame& frame, std::uint32_t y, Scene::Plane even, Scene::Plane odd,
               std::uint16_t* out) const;
    void binnedLight(const Frame& frame, std::uint32_t y, Scene::Plane even, Scene::Plane odd,
                     std::uint16_t* out) const;
    void addNoise(const Frame& frame, std::uint32_t y, std::size_t channel,
                  std::uint16_t* out) const;
    /// The colour planes that even and odd columns of row y see.
    std::array<std::size_t, 2> planesOf(std::uint32_t y, std::size_t channel) const;

    PictureSettings settings_;
    std::vector<std::shared_ptr<const Scene>> scenes_;
    std::uint32_t maxLight_ = 0; ///< More than one pixel's when binned pixels are added.
    std::array<std::vector<std::uint16_t>, 4> curves_; ///< Light and noise to 16-bit sample.
    std::vector<std::uint16_t> noise_;
};

} // namespace simulator
