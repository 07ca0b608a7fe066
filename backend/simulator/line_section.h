// DigitalIOControl: lines and user outputs, and the signals that somebody outside gives the lines.
#pragma once

#include "simulator/event_section.h"
#include "simulator/timed_section.h"

#include <array>
#include <cstdint>
#include <functional>

namespace simulator
{

/// Values of LineSource.
enum class LineSource : std::int64_t {
    Off,
    UserOutput0,
    UserOutput1,
    ExposureActive,
    FrameTriggerWait,
    AcquisitionActive,
    Timer0Active,
    Timer1Active,
};

/// Line0 is an input, Line1 an input or an output, Line2 an output. Used under the camera's lock.
class LineSection final : public TimedSection
{
public:
    static constexpr std::size_t kLines = 3;
    static constexpr std::size_t kInputs = 2; ///< Lines that can be inputs, and have events.

    /// `isActive`: the state of the sources from ExposureActive on.
    using State = std::function<bool(LineSource source, std::uint64_t atNs)>;
    LineSection(CameraContext& context, EventSection& events, State isActive);

    /// Level of a line as the camera sees it, behind its inverter.
    bool level(std::size_t line, std::uint64_t atNs) const;
    /// The next edge of the signals from outside; all ones: none comes.
    std::uint64_t nextNs() const override;
    void step() override;
    /// Edges before `atNs` are not told any more.
    void skipTo(std::uint64_t atNs);
    /// Tells the edges that what happened inside the camera caused.
    void refresh(std::uint64_t atNs);
    /// Whether a line with events shows what happens inside the camera.
    bool showsInside() const;

private:
    /// A pulse train from outside.
    struct Train {
        bool isOn = false;
        std::uint64_t firstNs = 0; ///< First rising edge.
        std::uint64_t periodNs = 0;
        std::uint64_t widthNs = 0;
        std::uint64_t pulses = 0; ///< 0: without end.
        std::uint64_t edgeNs = 0; ///< The next one that is to be told; all ones: none.

        bool level(std::uint64_t atNs) const;
        /// First edge at or behind a time.
        std::uint64_t edgeFrom(std::uint64_t atNs) const;
    };

    void declareLines();
    void declareLineState();
    void declareUserOutputs();
    void declareTrains();
    void restartTrain(std::size_t line);
    bool isOutput(std::size_t line) const { return mode_->integer(line) != 0; }
    bool sourceLevel(LineSource source, std::uint64_t atNs) const;

    CameraContext& context_;
    EventSection& events_;
    State isActive_;
    Feature* selector_ = nullptr;
    Feature* mode_ = nullptr;
    Feature* inverter_ = nullptr;
    Feature* source_ = nullptr;
    Feature* userOutput_ = nullptr;
    Feature* trainOn_ = nullptr;
    Feature* trainDelay_ = nullptr;
    Feature* trainPeriod_ = nullptr;
    Feature* trainWidth_ = nullptr;
    Feature* trainPulses_ = nullptr;
    std::array<Train, kInputs> trains_;
    std::array<bool, kInputs> last_{};
};

} // namespace simulator
