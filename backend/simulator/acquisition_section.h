// AcquisitionControl: run, trigger, exposure and the time plan of frames.
#pragma once

#include "simulator/camera_context.h"
#include "simulator/event_section.h"
#include "simulator/fault_section.h"
#include "simulator/trigger_section.h"

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

    /// What AcquisitionStatus can show.
    enum Status : std::size_t {
        kAcquisitionTriggerWait,
        kAcquisitionActive,
        kFrameTriggerWait,
        kFrameActive,
        kExposureActive,
    };

    AcquisitionSection(CameraContext& context, EventSection& events, const LineSection& lines,
                       Timing timing);

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
    bool status(std::size_t selector, std::uint64_t atNs) const;
    /// Exposure of the frame planned last.
    double plannedUs() const { return plannedUs_; }
    bool listensToLines() const { return triggers_.listensToLines(); }

private:
    void declareRun();
    void declareRate();
    void declareExposure();
    void declareStatus();
    void start();
    TriggerSection::Gate gate() const;
    std::uint64_t exposureNs() const;
    std::uint64_t shortestPeriodNs() const;
    std::uint64_t periodNs() const;

    CameraContext& context_;
    EventSection& events_;
    Timing timing_;
    FaultSection* faults_ = nullptr;

    Feature* mode_ = nullptr;
    Feature* frameCount_ = nullptr;
    Feature* rateEnable_ = nullptr;
    Feature* rate_ = nullptr;
    Feature* exposure_ = nullptr;
    Feature* exposureMode_ = nullptr;
    TriggerSection triggers_;

    std::uint64_t framesLeft_ = 0;
    std::uint64_t nextFrameId_ = 0;
    std::uint64_t earliestNs_ = 0;     ///< When the next exposure may start.
    std::uint64_t exposureFromNs_ = 0; ///< Of the frame planned last.
    std::uint64_t exposureToNs_ = 0;
    double plannedUs_ = 0.0;
};

} // namespace simulator
