// Gain, black level, gamma and colour balance of a simulated camera.
#include "simulator/analog_section.h"

#include "simulator/auto_section.h"

namespace simulator
{

AnalogSection::AnalogSection(CameraContext& context)
{
    context.table.category("AnalogControl",
                           "What happens to the signal between sensor and readout.");
    declareGain(context);
    declareResponse(context);
    if (context.config.sensor != SensorKind::Mono) {
        declareBalance(context);
    }
    declareNoise(context);
}

void AnalogSection::declareGain(CameraContext& context)
{
    FeatureTable& table = context.table;
    table.enumeration("GainSelector", "Gain that Gain shows.")
        .entry("AnalogAll", 0, "In front of the converter.")
        .entry("DigitalAll", 1, "Behind the converter.");
    gain_ =
        &table.real("Gain", "Amplification of the signal.")
             .describe("Amplification of the signal in dB: 6.02 dB double it. Both gains add up.")
             .unit("dB")
             .representation("Linear")
             .streamable()
             .selectedBy("GainSelector", 2)
             .range(0.0, 24.0)
             .onChange(context.changesPicture());
    gain_->lockedIf(whileAutomatic(addAutoMode(table, "GainAuto", "Automatic gain.").expert()));
}

void AnalogSection::declareResponse(CameraContext& context)
{
    FeatureTable& table = context.table;
    const auto changed = context.changesPicture();
    table.enumeration("BlackLevelSelector", "Channel that BlackLevel shows.")
        .expert()
        .entry("All", 0, "All channels.");
    blackLevel_ = &table.real("BlackLevel", "Offset of the signal.")
                       .describe("Offset that is added to the signal, in steps of a 12-bit pixel.")
                       .unit("DN")
                       .expert()
                       .streamable()
                       .selectedBy("BlackLevelSelector", 1)
                       .range(0.0, 511.0)
                       .onChange(changed);
    gammaEnable_ =
        &table.boolean("GammaEnable", "Applies Gamma.").expert().streamable().onChange(changed);
    gamma_ = &table.real("Gamma", "Exponent of the response curve.")
                  .describe("Pixels become pixel to the power of Gamma, on a scale of 0 to 1.")
                  .expert()
                  .streamable()
                  .range(0.25, 4.0)
                  .value(1.0)
                  .onChange(changed);
}

void AnalogSection::declareBalance(CameraContext& context)
{
    FeatureTable& table = context.table;
    table.enumeration("BalanceRatioSelector", "Colour that BalanceRatio shows.")
        .expert()
        .entry("Red", 0, "Red pixels.")
        .entry("Green", 1, "Green pixels.")
        .entry("Blue", 2, "Blue pixels.");
    balance_ = &table.real("BalanceRatio", "Factor of one colour.")
                    .expert()
                    .streamable()
                    .selectedBy("BalanceRatioSelector", 3)
                    .range(0.0, 8.0)
                    .onChange(context.changesPicture());
    for (std::size_t channel = 0; channel < 3; ++channel) {
        balance_->set(1.0, channel);
    }
    balance_->lockedIf(whileAutomatic(
        addAutoMode(table, "BalanceWhiteAuto", "Automatic white balance.").expert()));
}

void AnalogSection::declareNoise(CameraContext& context)
{
    noise_ =
        &context.table.integer("SimulatorNoise", "Amplitude of the noise.")
             .describe(
                 "Largest deviation of a pixel in steps of 12 bits, before the gain; 0 for none. "
                 "Replayed pictures start without.")
             .guru()
             .streamable()
             .range(std::int64_t{0}, std::int64_t{15})
             .value(std::int64_t{context.config.imageSource.empty() ? 4 : 0})
             .onChange(context.changesPicture());
}

double AnalogSection::gain() const { return gain_->real(0) + gain_->real(1); }

void AnalogSection::fill(PictureSettings& settings) const
{
    settings.gainDb = gain();
    settings.blackLevel = blackLevel_->real();
    settings.gamma = gammaEnable_->integer() != 0 ? gamma_->real() : 1.0;
    if (balance_ != nullptr) {
        settings.balance = {balance_->real(0), balance_->real(1), balance_->real(2)};
    }
    settings.noise = static_cast<std::uint32_t>(noise_->integer());
}

} // namespace simulator
