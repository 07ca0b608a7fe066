// The triggers of AcquisitionControl: what was triggered and is still to be exposed.
#pragma once

#include "simulator/line_section.h"
#include "simulator/signal_source.h"

#include <array>
#include <cstdint>
#include <functional>

namespace simulator
{

/// Used under the camera's lock.
class TriggerSection
{
public:
    enum Trigger : std::size_t { kAcquisitionStart, kFrameStart, kFrameBurstStart, kCount };

    /// Whether frames can be triggered.
    struct Gate {
        bool isRunning = false;
        std::uint64_t earliestNs = 0; ///< When the next exposure may start.
        std::uint64_t nextFrameId = 0;
        bool widthIsExposure = false; ///< ExposureMode is TriggerWidth.
    };
    /// A frame that may start.
    struct Taken {
        std::uint64_t startNs = 0;
        std::uint64_t widthNs = 0; ///< Exposure that the trigger had; 0: not its matter.
    };

    /// `startAcquisition`: the acquisition was triggered for this time.
    TriggerSection(CameraContext& context, EventSection& events, const LineSection& lines,
                   std::function<Gate()> gate, std::function<void(std::uint64_t)> startAcquisition);

    void declare();
    /// A new acquisition: what was triggered before is forgotten.
    void restart();
    bool isOn(Trigger trigger) const { return mode_->integer(trigger) != 0; }
    /// Whether a trigger at this time would be accepted.
    bool isWaitingFor(std::size_t trigger, std::uint64_t atNs) const;
    bool isAcquisitionTriggered() const { return acquisitionTriggered_; }
    /// Uses up the triggers of one frame; `taken->startNs` is the earliest time and becomes the
    /// time of the frame. False: no frame is triggered.
    bool take(std::uint64_t nowNs, Taken* taken);
    /// Whether a trigger in use waits for lines.
    bool listensToLines() const;

private:
    /// A trigger that waits to be used.
    struct Pending {
        bool isSet = false;
        std::uint64_t atNs = 0;
        std::uint64_t widthNs = 0;
    };

    void happened(CameraEvent event, std::uint64_t atNs);
    void fired(std::size_t trigger, std::uint64_t atNs);
    void software(std::size_t trigger);
    bool hasWidth(std::size_t trigger) const;
    bool isActive(std::size_t trigger, std::uint64_t atNs) const;
    bool isLevel(std::size_t trigger) const { return activation_->integer(trigger) >= kLevelHigh; }
    std::int64_t line(std::size_t trigger) const { return lineOf(source_->integer(trigger) - 1); }
    void endOfWidth(std::size_t trigger, std::uint64_t atNs);
    bool takeOne(Trigger trigger, std::uint64_t nowNs, Taken* taken);

    CameraContext& context_;
    EventSection& events_;
    const LineSection& lines_;
    std::function<Gate()> gate_;
    std::function<void(std::uint64_t)> startAcquisition_;
    Feature* mode_ = nullptr;
    Feature* source_ = nullptr;
    Feature* activation_ = nullptr;
    Feature* delay_ = nullptr;
    Feature* divider_ = nullptr;
    Feature* burstCount_ = nullptr;

    std::array<Pending, kCount> pending_;
    std::array<std::int64_t, kCount> pulses_{};
    std::array<std::uint64_t, kCount> activeSinceNs_{};
    bool acquisitionTriggered_ = false;
    std::uint64_t burstLeft_ = 0;
    bool isInWidth_ = false;
    std::uint64_t widthFromNs_ = 0;
};

} // namespace simulator
