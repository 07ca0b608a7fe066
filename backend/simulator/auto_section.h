// Automatic exposure, gain and white balance: from the picture taken to the settings of the next.
#pragma once

#include "simulator/camera_context.h"
#include "simulator/picture_renderer.h"

#include <functional>

namespace simulator
{

/// Values of ExposureAuto, GainAuto and BalanceWhiteAuto.
enum AutoMode : std::int64_t { kAutoOff, kAutoOnce, kAutoContinuous };

/// Adds such a feature to the category that is being filled.
Feature& addAutoMode(FeatureTable& table, const char* name, const char* toolTip);

/// For Feature::lockedIf() of what such a feature (of an earlier call) sets while it is not off.
std::function<bool()> whileAutomatic(const Feature& mode);

/// Used under the camera's lock.
class AutoSection
{
public:
    /// After ExposureTime, Gain and BalanceRatio were declared.
    explicit AutoSection(CameraContext& context);

    /// Looks at a frame that is about to be taken and sets what the next one needs.
    void adjust(const PictureRenderer& renderer, std::uint64_t frame);

private:
    /// Brightness and how far it was from where it shall be.
    bool adjustBrightness(double mean);
    void adjustBalance(const PictureRenderer::Levels& levels);
    void set(Feature& feature, double value, std::size_t index = 0);
    static void finish(Feature* mode);

    CameraContext& context_;
    Feature* exposureMode_;
    Feature* gainMode_;
    Feature* balanceMode_; ///< Null on cameras without colour.
    Feature* exposure_;
    Feature* gain_;
    Feature* balance_;
    Feature* target_ = nullptr;
    Feature* exposureLow_ = nullptr;
    Feature* exposureHigh_ = nullptr;
    Feature* gainLow_ = nullptr;
    Feature* gainHigh_ = nullptr;
};

} // namespace simulator
