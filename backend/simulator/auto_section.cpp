// Automatic functions of a simulated camera.
#include "simulator/auto_section.h"

#include <algorithm>
#include <cmath>

namespace simulator
{

namespace
{

constexpr double kCloseEnough = 0.01;  ///< Of the full scale.
constexpr double kFastest = 4.0;       ///< Factor from one frame to the next.
constexpr double kDarkest = 1.0 / 512; ///< Below it, brightness tells nothing.
constexpr double kBalanced = 0.005;

} // namespace

Feature& addAutoMode(FeatureTable& table, const char* name, const char* toolTip)
{
    return table.enumeration(name, toolTip)
        .changesByItself()
        .streamable()
        .entry("Off", kAutoOff, "Set by hand.")
        .entry("Once", kAutoOnce, "Adjusts until it fits, then Off.")
        .entry("Continuous", kAutoContinuous, "Adjusts with every frame.");
}

std::function<bool()> whileAutomatic(const Feature& mode)
{
    return [&mode] { return mode.integer() != kAutoOff; };
}

AutoSection::AutoSection(CameraContext& context)
    : context_(context), exposureMode_(context.table.find("ExposureAuto")),
      gainMode_(context.table.find("GainAuto")),
      balanceMode_(context.table.find("BalanceWhiteAuto")),
      exposure_(context.table.find("ExposureTime")), gain_(context.table.find("Gain")),
      balance_(context.table.find("BalanceRatio"))
{
    FeatureTable& table = context.table;
    const auto limit = [&](const char* name, const char* toolTip, const char* unit, double low,
                           double high, double value) {
        return &table.real(name, toolTip)
                    .unit(unit)
                    .expert()
                    .streamable()
                    .range(low, high)
                    .value(value);
    };
    table.category("AutoFunctionControl", "What automatic exposure and gain aim at.");
    target_ =
        limit("AutoTargetBrightness", "Mean brightness that is wanted.", "%", 5.0, 95.0, 50.0);
    exposureLow_ = limit("AutoExposureTimeLowerLimit", "Shortest automatic exposure.", "us", 10.0,
                         10000000.0, 10.0);
    exposureHigh_ = limit("AutoExposureTimeUpperLimit", "Longest automatic exposure.", "us", 10.0,
                          10000000.0, 100000.0);
    gainLow_ = limit("AutoGainLowerLimit", "Lowest automatic gain.", "dB", 0.0, 24.0, 0.0);
    gainHigh_ = limit("AutoGainUpperLimit", "Highest automatic gain.", "dB", 0.0, 24.0, 24.0);
}

void AutoSection::set(Feature& feature, double value, std::size_t index)
{
    if (feature.real(index) == value) {
        return;
    }
    feature.set(value, index);
    context_.pictureChanged();
    context_.post([name = feature.name()](CameraObserver& observer) {
        observer.featureChanged(name.c_str());
    });
}

void AutoSection::finish(Feature* mode)
{
    if (mode->integer() == kAutoOnce) {
        mode->set(std::int64_t{kAutoOff});
    }
}

bool AutoSection::adjustBrightness(double mean)
{
    const double target = target_->real() / 100.0;
    if (std::abs(mean - target) < kCloseEnough) {
        return true;
    }
    double factor = std::clamp(target / std::max(mean, kDarkest), 1.0 / kFastest, kFastest);
    const double before = exposure_->real() * std::pow(10.0, gain_->real() / 20.0);
    if (exposureMode_->integer() != kAutoOff) {
        const double low = exposureLow_->real();
        const double wanted =
            std::clamp(exposure_->real() * factor, low, std::max(low, exposureHigh_->real()));
        factor *= exposure_->real() / wanted; // What is left is the gain's.
        set(*exposure_, wanted);
    }
    if (gainMode_->integer() != kAutoOff) {
        const double low = gainLow_->real();
        set(*gain_, std::clamp(gain_->real() + 20.0 * std::log10(factor), low,
                               std::max(low, gainHigh_->real())));
    }
    const double after = exposure_->real() * std::pow(10.0, gain_->real() / 20.0);
    return std::abs(after / before - 1.0) < 1e-6; // Both at their limits: that is all there is.
}

void AutoSection::adjustBalance(const PictureRenderer::Levels& levels)
{
    const double green = levels[1];
    if (std::abs(levels[0] - green) < kBalanced && std::abs(levels[2] - green) < kBalanced) {
        finish(balanceMode_);
        return;
    }
    for (const std::size_t channel : {std::size_t{0}, std::size_t{2}}) {
        const double factor = green / std::max(levels[channel], kDarkest);
        set(*balance_, std::clamp(balance_->real(channel) * factor, 0.05, 8.0), channel);
    }
}

void AutoSection::adjust(const PictureRenderer& renderer, std::uint64_t frame)
{
    const bool wantsBrightness =
        exposureMode_->integer() != kAutoOff || gainMode_->integer() != kAutoOff;
    const bool wantsBalance = balanceMode_ != nullptr && balanceMode_->integer() != kAutoOff;
    if ((!wantsBrightness && !wantsBalance) || renderer.settings().pattern != TestPattern::Off) {
        return; // Patterns do not follow the light.
    }
    const PictureRenderer::Levels levels = renderer.levels(frame);
    if (wantsBrightness && adjustBrightness(levels[Scene::kLuma])) {
        finish(exposureMode_);
        finish(gainMode_);
    }
    if (wantsBalance) {
        adjustBalance(levels);
    }
}

} // namespace simulator
