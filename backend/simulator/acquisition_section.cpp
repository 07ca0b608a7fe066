// Run, trigger, exposure and time plan of a simulated camera.
#include "simulator/acquisition_section.h"

#include "gentl_abi/gentl_abi.h"

#include <algorithm>
#include <limits>

namespace simulator
{

namespace
{

enum Mode : std::int64_t { kContinuous, kSingleFrame, kMultiFrame };
enum Source : std::int64_t { kSoftware, kLine0 };
enum Status : std::int64_t {
    kAcquisitionTriggerWait,
    kAcquisitionActive,
    kFrameTriggerWait,
    kFrameActive,
    kExposureActive,
};

constexpr double kDefaultFrameRate = 50.0;
constexpr double kLowestFrameRate = 0.01;
constexpr std::uint64_t kPatienceNs = 500000000;

} // namespace

AcquisitionSection::AcquisitionSection(CameraContext& context, EventSection& events, Timing timing)
    : context_(context), events_(events), timing_(std::move(timing))
{
    context.table.category("AcquisitionControl", "Acquisition, exposure and trigger.");
    declareRun();
    declareRate();
    declareExposure();
    declareTrigger();
    declareStatus();
}

void AcquisitionSection::declareRun()
{
    FeatureTable& table = context_.table;
    mode_ = &table.enumeration("AcquisitionMode", "How many frames an acquisition has.")
                 .streamable()
                 .entry("Continuous", kContinuous, "Until it is stopped.")
                 .entry("SingleFrame", kSingleFrame, "One.")
                 .entry("MultiFrame", kMultiFrame, "AcquisitionFrameCount.")
                 .lockedIf(context_.whileStreaming());
    frameCount_ = &table.integer("AcquisitionFrameCount", "Frames of a multi-frame acquisition.")
                       .streamable()
                       .range(std::int64_t{1}, std::int64_t{65535})
                       .value(std::int64_t{1})
                       .lockedIf(context_.whileStreaming());
    burstCount_ = &table.integer("AcquisitionBurstFrameCount", "Frames per burst trigger.")
                       .expert()
                       .streamable()
                       .range(std::int64_t{1}, std::int64_t{1023})
                       .value(std::int64_t{1})
                       .lockedIf(context_.whileStreaming());
    table.command("AcquisitionStart", "Starts the acquisition.").onExecute([this](std::size_t) {
        start();
        return gentl::err::kSuccess;
    });
    const auto stopNow = [this](std::size_t) {
        stop();
        return gentl::err::kSuccess;
    };
    table.command("AcquisitionStop", "Ends the acquisition.").onExecute(stopNow);
    table.command("AcquisitionAbort", "Ends the acquisition at once.").expert().onExecute(stopNow);
}

void AcquisitionSection::declareRate()
{
    FeatureTable& table = context_.table;
    const auto highest = [this] { return 1e9 / static_cast<double>(shortestPeriodNs()); };
    rateEnable_ =
        &table.boolean("AcquisitionFrameRateEnable", "Frames at AcquisitionFrameRate.")
             .describe(
                 "Frames come at AcquisitionFrameRate; otherwise as fast as exposure, readout and "
                 "link allow.")
             .expert()
             .streamable()
             .value(std::int64_t{1});
    rate_ = &table.real("AcquisitionFrameRate", "Frames per second.")
                 .describe(
                     "Frames per second of a free-running acquisition. Exposure time, readout and "
                     "link limit it.")
                 .unit("Hz")
                 .streamable()
                 .value(kDefaultFrameRate)
                 .limits([highest](std::size_t) {
                     return FloatLimits{kLowestFrameRate, highest()};
                 })
                 .onRead([this, highest](std::size_t) {
                     return FeatureValue(std::min(rate_->real(), highest()));
                 });
    table.real("AcquisitionResultingFrameRate", "Frames per second with the present settings.")
        .unit("Hz")
        .expert()
        .readOnly()
        .onRead(
            [this](std::size_t) { return FeatureValue(1e9 / static_cast<double>(periodNs())); });
}

void AcquisitionSection::declareExposure()
{
    FeatureTable& table = context_.table;
    table.enumeration("ExposureMode", "What decides on the exposure.")
        .streamable()
        .entry("Timed", 1, "ExposureTime.");
    exposure_ =
        &table.real("ExposureTime", "Duration of the exposure.")
             .describe(
                 "Duration of the exposure. Doubling it doubles the signal until it saturates.")
             .unit("us")
             .representation("Logarithmic")
             .streamable()
             .range(10.0, 10000000.0)
             .value(10000.0)
             .onChange(context_.changesPicture());
    table.enumeration("ExposureAuto", "Automatic exposure.")
        .readOnly()
        .entry("Off", 0, "ExposureTime is set by hand.");
}

void AcquisitionSection::declareTrigger()
{
    FeatureTable& table = context_.table;
    table.enumeration("TriggerSelector", "Trigger that the other features show.")
        .entry("AcquisitionStart", kAcquisitionStart, "Lets a started acquisition begin.")
        .entry("FrameStart", kFrameStart, "Exposes one frame.")
        .entry("FrameBurstStart", kFrameBurstStart, "Exposes AcquisitionBurstFrameCount frames.")
        .value(std::int64_t{kFrameStart});
    triggerMode_ = &table.enumeration("TriggerMode", "Waits for the selected trigger.")
                        .streamable()
                        .entry("Off", 0, "Does not wait.")
                        .entry("On", 1, "Waits.")
                        .selectedBy("TriggerSelector", kTriggerCount)
                        .lockedIf(context_.whileStreaming());
    table.command("TriggerSoftware", "Fires the selected trigger.")
        .describe("Fires the selected trigger when its source is Software. A trigger that comes "
                  "while the camera is not ready for it is ignored.")
        .selectedBy("TriggerSelector", kTriggerCount)
        .onExecute([this](std::size_t trigger) {
            softwareTrigger(trigger);
            return gentl::err::kSuccess;
        });
    triggerSource_ = &table.enumeration("TriggerSource", "Where the trigger comes from.")
                          .streamable()
                          .entry("Software", kSoftware, "TriggerSoftware.")
                          .entry("Line0", kLine0, "Input line 0, to which nothing is connected.")
                          .selectedBy("TriggerSelector", kTriggerCount);
    table.enumeration("TriggerActivation", "Edge that triggers.")
        .streamable()
        .entry("RisingEdge", 0, "Low to high.")
        .entry("FallingEdge", 1, "High to low.")
        .selectedBy("TriggerSelector", kTriggerCount);
    triggerDelay_ = &table.real("TriggerDelay", "Time from the trigger to its effect.")
                         .unit("us")
                         .expert()
                         .streamable()
                         .range(0.0, 1000000.0)
                         .selectedBy("TriggerSelector", kTriggerCount);
}

void AcquisitionSection::declareStatus()
{
    FeatureTable& table = context_.table;
    table.enumeration("AcquisitionStatusSelector", "State that AcquisitionStatus shows.")
        .expert()
        .entry("AcquisitionTriggerWait", kAcquisitionTriggerWait, "Waits for AcquisitionStart.")
        .entry("AcquisitionActive", kAcquisitionActive, "Acquires.")
        .entry("FrameTriggerWait", kFrameTriggerWait, "A frame trigger would be accepted.")
        .entry("FrameActive", kFrameActive, "Captures a frame.")
        .entry("ExposureActive", kExposureActive, "Exposes.");
    table.boolean("AcquisitionStatus", "The selected state.")
        .expert()
        .readOnly()
        .selectedBy("AcquisitionStatusSelector", 5)
        .onRead([this](std::size_t index) {
            return FeatureValue(std::int64_t{status(static_cast<std::int64_t>(index))});
        });
}

bool AcquisitionSection::status(std::int64_t selector) const
{
    const std::uint64_t now = context_.now();
    switch (selector) {
    case kAcquisitionTriggerWait:
        return isWaitingFor(kAcquisitionStart);
    case kAcquisitionActive:
        return context_.acquiring;
    case kFrameTriggerWait:
        return isWaitingFor(kFrameStart) || isWaitingFor(kFrameBurstStart);
    case kFrameActive:
        return context_.acquiring && now >= exposureFromNs_ &&
               now < exposureToNs_ + timing_.readoutNs();
    default:
        return context_.acquiring && now >= exposureFromNs_ && now < exposureToNs_;
    }
}

std::uint64_t AcquisitionSection::exposureNs() const
{
    return static_cast<std::uint64_t>(exposure_->real() * 1000.0);
}

std::uint64_t AcquisitionSection::shortestPeriodNs() const
{
    return std::max({exposureNs(), timing_.readoutNs(), timing_.transferNs(), std::uint64_t{1000}});
}

std::uint64_t AcquisitionSection::periodNs() const
{
    const std::uint64_t shortest = shortestPeriodNs();
    if (rateEnable_->integer() == 0) {
        return shortest;
    }
    return std::max(shortest, static_cast<std::uint64_t>(1e9 / rate_->real()));
}

void AcquisitionSection::start()
{
    if (context_.acquiring && framesLeft_ != 0) {
        return;
    }
    pending_ = {};
    acquisitionTriggered_ = !isTriggered(kAcquisitionStart);
    burstLeft_ = 0;
    nextFrameId_ = 0;
    earliestNs_ = context_.now();
    exposureFromNs_ = exposureToNs_ = 0;
    switch (mode_->integer()) {
    case kSingleFrame:
        framesLeft_ = 1;
        break;
    case kMultiFrame:
        framesLeft_ = static_cast<std::uint64_t>(frameCount_->integer());
        break;
    default:
        framesLeft_ = std::numeric_limits<std::uint64_t>::max();
    }
    context_.acquiring = true;
    events_.fire(CameraEvent::AcquisitionStart, earliestNs_, 0);
    context_.post([](CameraObserver& observer) { observer.acquisitionStarted(); });
}

void AcquisitionSection::stop()
{
    if (!context_.acquiring) {
        return;
    }
    context_.acquiring = false;
    framesLeft_ = 0;
    events_.fire(CameraEvent::AcquisitionEnd, context_.now(), nextFrameId_);
    context_.post([](CameraObserver& observer) { observer.acquisitionStopped(); });
}

bool AcquisitionSection::isWaitingFor(std::size_t trigger) const
{
    if (!context_.acquiring || framesLeft_ == 0 || triggerMode_->integer(trigger) == 0 ||
        pending_[trigger].set) {
        return false;
    }
    if (trigger == kAcquisitionStart) {
        return !acquisitionTriggered_;
    }
    const bool burstIsRunning = burstLeft_ != 0;
    // A frame of a burst can only be triggered when its burst was.
    const bool fits =
        trigger == kFrameBurstStart
            ? !burstIsRunning
            : !isTriggered(kFrameBurstStart) || burstIsRunning || pending_[kFrameBurstStart].set;
    return acquisitionTriggered_ && fits && context_.now() >= earliestNs_;
}

void AcquisitionSection::softwareTrigger(std::size_t trigger)
{
    const std::uint64_t now = context_.now();
    if (triggerSource_->integer(trigger) != kSoftware || !isWaitingFor(trigger)) {
        events_.fire(CameraEvent::FrameTriggerMissed, now, nextFrameId_);
        return;
    }
    const auto delayNs = static_cast<std::uint64_t>(triggerDelay_->real(trigger) * 1000.0);
    if (trigger == kAcquisitionStart) {
        acquisitionTriggered_ = true;
        earliestNs_ = now + delayNs;
    } else {
        pending_[trigger] = {true, now + delayNs};
        events_.fire(CameraEvent::FrameTrigger, now, nextFrameId_);
    }
    context_.post([](CameraObserver& observer) { observer.triggered(); });
}

bool AcquisitionSection::takeTrigger(std::uint64_t* startNs)
{
    if (isTriggered(kFrameBurstStart) && burstLeft_ == 0) {
        if (!pending_[kFrameBurstStart].set) {
            return false;
        }
        pending_[kFrameBurstStart].set = false;
        burstLeft_ = static_cast<std::uint64_t>(burstCount_->integer());
        *startNs = std::max(*startNs, pending_[kFrameBurstStart].atNs);
    }
    if (isTriggered(kFrameStart)) {
        if (!pending_[kFrameStart].set) {
            return false;
        }
        pending_[kFrameStart].set = false;
        *startNs = std::max(*startNs, pending_[kFrameStart].atNs);
    }
    if (burstLeft_ != 0) {
        --burstLeft_;
    }
    return true;
}

void AcquisitionSection::hostStarted() { earliestNs_ = std::max(earliestNs_, context_.now()); }

FramePlan AcquisitionSection::next()
{
    FramePlan plan;
    std::uint64_t startNs = earliestNs_;
    if (!context_.acquiring || framesLeft_ == 0 || !acquisitionTriggered_ ||
        !takeTrigger(&startNs)) {
        return plan;
    }
    const std::uint64_t latency =
        exposureNs() + std::max(timing_.readoutNs(), timing_.transferNs());
    const std::uint64_t period = periodNs();
    const std::uint64_t now = context_.now();
    // A host that was held up gets the frames of that time late, and the rate stays exact; one that
    // cannot keep up at all gets fewer frames.
    if (startNs + latency + std::max(period, kPatienceNs) < now) {
        startNs = now - latency;
    }
    plan.expose = true;
    plan.frameId = nextFrameId_++;
    plan.startNs = startNs;
    plan.exposureEndNs = startNs + exposureNs();
    plan.readyNs = startNs + latency;
    plan.transferNs = timing_.transferNs();
    plan.lastOfRun = --framesLeft_ == 0;
    exposureFromNs_ = startNs;
    exposureToNs_ = plan.exposureEndNs;
    // Triggered frames follow each other as fast as the camera can.
    earliestNs_ = startNs + (isTriggered(kFrameStart) ? shortestPeriodNs() : period);
    if (faults_ != nullptr) {
        faults_->apply(plan);
    }
    return plan;
}

void AcquisitionSection::started(const FramePlan& plan)
{
    events_.fire(CameraEvent::FrameStart, plan.startNs, plan.frameId);
}

void AcquisitionSection::exposed(const FramePlan& plan)
{
    events_.fire(CameraEvent::ExposureEnd, plan.exposureEndNs, plan.frameId);
}

void AcquisitionSection::finished(const FramePlan& plan)
{
    if (plan.lastOfRun && context_.acquiring && framesLeft_ == 0) {
        context_.acquiring = false;
        events_.fire(CameraEvent::AcquisitionEnd, context_.now(), plan.frameId);
    }
}

} // namespace simulator
