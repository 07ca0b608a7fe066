// Run, trigger, exposure and time plan of a simulated camera.
#include "simulator/acquisition_section.h"

#include "gentl_abi/gentl_abi.h"
#include "simulator/auto_section.h"

#include <algorithm>
#include <limits>

namespace simulator
{

namespace
{

enum Mode : std::int64_t { kContinuous, kSingleFrame, kMultiFrame };
enum ExposureMode : std::int64_t { kTimed = 1, kTriggerWidth };

constexpr double kDefaultFrameRate = 50.0;
constexpr double kLowestFrameRate = 0.01;
constexpr std::uint64_t kPatienceNs = 500000000;

} // namespace

AcquisitionSection::AcquisitionSection(CameraContext& context, EventSection& events,
                                       const LineSection& lines, Timing timing)
    : context_(context), events_(events), timing_(std::move(timing)),
      triggers_(
          context, events, lines, [this] { return gate(); },
          [this](std::uint64_t atNs) { earliestNs_ = atNs; })
{
    context.table.category("AcquisitionControl", "Acquisition, exposure and trigger.");
    declareRun();
    declareRate();
    declareExposure();
    triggers_.declare();
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
    table.integer("AcquisitionBurstFrameCount", "Frames per burst trigger.")
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
    exposureMode_ = &table.enumeration("ExposureMode", "What decides on the exposure.")
                         .describe("What decides on the exposure. TriggerWidth needs a FrameStart "
                                   "trigger from a line; the frame is taken when the pulse ends.")
                         .streamable()
                         .entry("Timed", kTimed, "ExposureTime.")
                         .entry("TriggerWidth", kTriggerWidth, "The length of the trigger's pulse.")
                         .lockedIf(context_.whileStreaming());
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
    exposure_->lockedIf(whileAutomatic(addAutoMode(table, "ExposureAuto", "Automatic exposure.")));
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
            return FeatureValue(std::int64_t{status(index, context_.now())});
        });
}

bool AcquisitionSection::status(std::size_t selector, std::uint64_t atNs) const
{
    switch (selector) {
    case kAcquisitionTriggerWait:
        return triggers_.isWaitingFor(TriggerSection::kAcquisitionStart, atNs);
    case kAcquisitionActive:
        return context_.acquiring;
    case kFrameTriggerWait:
        return triggers_.isWaitingFor(TriggerSection::kFrameStart, atNs) ||
               triggers_.isWaitingFor(TriggerSection::kFrameBurstStart, atNs);
    case kFrameActive:
        return context_.acquiring && atNs >= exposureFromNs_ &&
               atNs < exposureToNs_ + timing_.readoutNs();
    default:
        return context_.acquiring && atNs >= exposureFromNs_ && atNs < exposureToNs_;
    }
}

TriggerSection::Gate AcquisitionSection::gate() const
{
    return {context_.acquiring && framesLeft_ != 0, earliestNs_, nextFrameId_,
            exposureMode_->integer() == kTriggerWidth};
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
    triggers_.restart();
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

void AcquisitionSection::hostStarted() { earliestNs_ = std::max(earliestNs_, context_.now()); }

FramePlan AcquisitionSection::next()
{
    FramePlan plan;
    const std::uint64_t now = context_.now();
    TriggerSection::Taken taken{earliestNs_, 0};
    if (!context_.acquiring || framesLeft_ == 0 || !triggers_.isAcquisitionTriggered() ||
        !triggers_.take(now, &taken)) {
        return plan;
    }
    plannedUs_ = taken.widthNs == 0 ? exposure_->real() : static_cast<double>(taken.widthNs) / 1e3;
    const std::uint64_t exposure = taken.widthNs == 0 ? exposureNs() : taken.widthNs;
    std::uint64_t startNs = taken.startNs;
    const std::uint64_t latency = exposure + std::max(timing_.readoutNs(), timing_.transferNs());
    const std::uint64_t period = periodNs();
    // A host that was held up gets the frames of that time late, and the rate stays exact; one that
    // cannot keep up at all gets fewer frames.
    if (startNs + latency + std::max(period, kPatienceNs) < now) {
        startNs = now - latency;
    }
    plan.expose = true;
    plan.frameId = nextFrameId_++;
    plan.startNs = startNs;
    plan.exposureEndNs = startNs + exposure;
    plan.readyNs = startNs + latency;
    plan.transferNs = timing_.transferNs();
    plan.lastOfRun = --framesLeft_ == 0;
    exposureFromNs_ = startNs;
    exposureToNs_ = plan.exposureEndNs;
    // Triggered frames follow each other as fast as the camera can.
    if (taken.widthNs != 0) {
        earliestNs_ = std::max(plan.exposureEndNs, startNs + timing_.readoutNs());
    } else {
        earliestNs_ =
            startNs + (triggers_.isOn(TriggerSection::kFrameStart) ? shortestPeriodNs() : period);
    }
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
