// AcquisitionControl: run, trigger, exposure and the time plan of frames.
#pragma once

#include "simulator/camera_context.h"
#include "simulator/event_section.h"
#include "simulator/fault_section.h"

#include <cstdint>
#include <functional>

namespace simulator
{

class AcquisitionSection
{
public:
    /// Times that other settings decide.
    struct Timing {
        std::function<std::uint64_t()> readoutNs;  ///< Sensor readout of one frame.
        std::function<std::uint64_t()> transferNs; ///< One frame on the link.
    };

    AcquisitionSection(CameraContext& context, EventSection& events, Timing timing);

    /// Borrowed; set once before the first frame.
    void setFaults(FaultSection* faults) { faults_ = faults; }

    /// The next frame, or a plan with `expose` false; `settings` is left for the caller.
    FramePlan next();
    /// The exposure of a planned frame began and ended.
    void started(const FramePlan& plan);
    void exposed(const FramePlan& plan);
    /// The frame arrived or was lost; the last one of a run ends the acquisition.
    void finished(const FramePlan& plan);
    void stop();
    /// The host begins to take frames: those before are nobody's.
    void hostStarted();
    double exposureUs() const { return exposure_->real(); }

private:
    enum Trigger : std::size_t { kAcquisitionStart, kFrameStart, kFrameBurstStart, kTriggerCount };

    void declareRun();
    void declareRate();
    void declareExposure();
    void declareTrigger();
    void declareStatus();
    void start();
    void softwareTrigger(std::size_t trigger);
    bool isTriggered(Trigger trigger) const { return triggerMode_->integer(trigger) != 0; }
    bool isWaitingFor(std::size_t trigger) const;
    bool takeTrigger(std::uint64_t* startNs);
    bool status(std::int64_t selector) const;
    std::uint64_t exposureNs() const;
    std::uint64_t shortestPeriodNs() const;
    std::uint64_t periodNs() const;

    CameraContext& context_;
    EventSection& events_;
    Timing timing_;
    FaultSection* faults_ = nullptr;

    Feature* mode_ = nullptr;
    Feature* frameCount_ = nullptr;
    Feature* burstCount_ = nullptr;
    Feature* rateEnable_ = nullptr;
    Feature* rate_ = nullptr;
    Feature* exposure_ = nullptr;
    Feature* triggerMode_ = nullptr;
    Feature* triggerSource_ = nullptr;
    Feature* triggerDelay_ = nullptr;

    /// A trigger that waits to be used.
    struct Pending {
        bool set = false;
        std::uint64_t atNs = 0;
    };
    std::array<Pending, kTriggerCount> pending_;
    bool acquisitionTriggered_ = false;
    std::uint64_t burstLeft_ = 0;
    std::uint64_t framesLeft_ = 0;
    std::uint64_t nextFrameId_ = 0;
    std::uint64_t earliestNs_ = 0;     ///< When the next exposure may start.
    std::uint64_t exposureFromNs_ = 0; ///< Of the frame planned last.
    std::uint64_t exposureToNs_ = 0;
};

} // namespace simulator
