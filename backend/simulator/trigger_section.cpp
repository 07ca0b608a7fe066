// Triggers of a simulated camera.
#include "simulator/trigger_section.h"

#include "gentl_abi/gentl_abi.h"

#include <algorithm>
#include <utility>

namespace simulator
{

namespace
{

constexpr std::int64_t kSoftware = 0; ///< Of TriggerSource; the signal sources follow.
constexpr std::uint64_t kShortestWidthNs = 10000;

} // namespace

TriggerSection::TriggerSection(CameraContext& context, EventSection& events,
                               const LineSection& lines, std::function<Gate()> gate,
                               std::function<void(std::uint64_t)> startAcquisition)
    : context_(context), events_(events), lines_(lines), gate_(std::move(gate)),
      startAcquisition_(std::move(startAcquisition))
{
    events.listen(
        [this](CameraEvent event, std::uint64_t atNs, std::uint64_t) { happened(event, atNs); });
}

void TriggerSection::declare()
{
    FeatureTable& table = context_.table;
    burstCount_ = table.find("AcquisitionBurstFrameCount");
    table.enumeration("TriggerSelector", "Trigger that the other features show.")
        .entry("AcquisitionStart", kAcquisitionStart, "Lets a started acquisition begin.")
        .entry("FrameStart", kFrameStart, "Exposes one frame.")
        .entry("FrameBurstStart", kFrameBurstStart, "Exposes AcquisitionBurstFrameCount frames.")
        .value(std::int64_t{kFrameStart});
    mode_ = &table.enumeration("TriggerMode", "Waits for the selected trigger.")
                 .streamable()
                 .entry("Off", 0, "Does not wait.")
                 .entry("On", 1, "Waits.")
                 .selectedBy("TriggerSelector", kCount)
                 .lockedIf(context_.whileStreaming());
    table.command("TriggerSoftware", "Fires the selected trigger.")
        .describe("Fires the selected trigger when its source is Software. A trigger that comes "
                  "while the camera is not ready for it is ignored.")
        .selectedBy("TriggerSelector", kCount)
        .onExecute([this](std::size_t trigger) {
            software(trigger);
            return gentl::err::kSuccess;
        });
    source_ = &table.enumeration("TriggerSource", "Where the trigger comes from.")
                   .streamable()
                   .entry("Software", kSoftware, "TriggerSoftware.");
    addSources(*source_, kSoftware + 1);
    source_->selectedBy("TriggerSelector", kCount);
    activation_ = &addActivation(
        table.enumeration("TriggerActivation", "Edge or level of a line that triggers."), true);
    activation_->selectedBy("TriggerSelector", kCount).streamable();
    delay_ = &table.real("TriggerDelay", "Time from the trigger to its effect.")
                  .unit("us")
                  .expert()
                  .streamable()
                  .range(0.0, 1000000.0)
                  .selectedBy("TriggerSelector", kCount);
    divider_ = &table.integer("TriggerDivider", "Of n triggers the last one counts.")
                    .expert()
                    .streamable()
                    .range(std::int64_t{1}, std::int64_t{65535})
                    .selectedBy("TriggerSelector", kCount)
                    .value(std::int64_t{1});
}

void TriggerSection::restart()
{
    pending_ = {};
    pulses_ = {};
    burstLeft_ = 0;
    isInWidth_ = false;
    acquisitionTriggered_ = !isOn(kAcquisitionStart);
}

bool TriggerSection::hasWidth(std::size_t trigger) const
{
    return trigger == kFrameStart && line(trigger) >= 0 &&
           activation_->integer(trigger) != kAnyEdge && gate_().widthIsExposure;
}

bool TriggerSection::isWaitingFor(std::size_t trigger, std::uint64_t atNs) const
{
    const Gate gate = gate_();
    if (!gate.isRunning || mode_->integer(trigger) == 0 || pending_.at(trigger).isSet) {
        return false;
    }
    if (trigger == kAcquisitionStart) {
        return !acquisitionTriggered_;
    }
    const bool burstIsRunning = burstLeft_ != 0;
    // A frame of a burst can only be triggered when its burst was.
    const bool fits = trigger == kFrameBurstStart ? !burstIsRunning
                                                  : !isOn(kFrameBurstStart) || burstIsRunning ||
                                                        pending_[kFrameBurstStart].isSet;
    return acquisitionTriggered_ && fits && !isInWidth_ && atNs >= gate.earliestNs;
}

void TriggerSection::software(std::size_t trigger)
{
    const std::uint64_t now = context_.now();
    if (source_->integer(trigger) == kSoftware) {
        fired(trigger, now);
    } else {
        events_.fire(CameraEvent::FrameTriggerMissed, now, gate_().nextFrameId);
    }
}

void TriggerSection::happened(CameraEvent event, std::uint64_t atNs)
{
    for (std::size_t trigger = 0; trigger < kCount; ++trigger) {
        if (!isOn(static_cast<Trigger>(trigger)) || !gate_().isRunning) {
            continue;
        }
        const std::int64_t source = source_->integer(trigger) - 1;
        const std::int64_t activation = activation_->integer(trigger);
        if (isSource(source, activation, event)) {
            activeSinceNs_[trigger] = atNs;
            fired(trigger, atNs);
        } else if (isInWidth_ && trigger == kFrameStart && lineOf(source) >= 0 &&
                   isSource(source, kAnyEdge, event)) {
            endOfWidth(trigger, atNs);
        }
    }
}

/// The exposure lasted as long as the pulse: now the frame is known.
void TriggerSection::endOfWidth(std::size_t trigger, std::uint64_t atNs)
{
    const auto delayNs = static_cast<std::uint64_t>(delay_->real(trigger) * 1000.0);
    isInWidth_ = false;
    pending_[trigger] = {true, widthFromNs_,
                         std::max(atNs + delayNs - widthFromNs_, kShortestWidthNs)};
    context_.post([](CameraObserver& observer) { observer.triggered(); });
}

void TriggerSection::fired(std::size_t trigger, std::uint64_t atNs)
{
    const std::uint64_t frame = gate_().nextFrameId;
    if (!isWaitingFor(trigger, atNs)) {
        if (!isLevel(trigger) || line(trigger) < 0) {
            events_.fire(CameraEvent::FrameTriggerMissed, atNs, frame);
        }
        return;
    }
    if (++pulses_[trigger] % divider_->integer(trigger) != 0) {
        return;
    }
    const std::uint64_t effectNs =
        atNs + static_cast<std::uint64_t>(delay_->real(trigger) * 1000.0);
    if (trigger == kAcquisitionStart) {
        acquisitionTriggered_ = true;
        startAcquisition_(effectNs);
    } else {
        events_.fire(CameraEvent::FrameTrigger, atNs, frame);
        if (hasWidth(trigger)) {
            isInWidth_ = true;
            widthFromNs_ = effectNs;
            return;
        }
        pending_[trigger] = {true, effectNs, 0};
    }
    context_.post([](CameraObserver& observer) { observer.triggered(); });
}

bool TriggerSection::isActive(std::size_t trigger, std::uint64_t atNs) const
{
    const std::int64_t source = line(trigger);
    return source >= 0 && isLevel(trigger) && !hasWidth(trigger) &&
           lines_.level(static_cast<std::size_t>(source), atNs) ==
               (activation_->integer(trigger) == kLevelHigh);
}

bool TriggerSection::takeOne(Trigger trigger, std::uint64_t nowNs, Taken* taken)
{
    if (pending_[trigger].isSet) {
        pending_[trigger].isSet = false;
        taken->startNs = std::max(taken->startNs, pending_[trigger].atNs);
        taken->widthNs = pending_[trigger].widthNs;
        return true;
    }
    if (!isActive(trigger, nowNs)) {
        return false;
    }
    taken->startNs = std::max(taken->startNs, activeSinceNs_[trigger]);
    return true;
}

bool TriggerSection::take(std::uint64_t nowNs, Taken* taken)
{
    if (isOn(kFrameBurstStart) && burstLeft_ == 0) {
        if (!takeOne(kFrameBurstStart, nowNs, taken)) {
            return false;
        }
        burstLeft_ = static_cast<std::uint64_t>(burstCount_->integer());
    }
    if (isOn(kFrameStart) && !takeOne(kFrameStart, nowNs, taken)) {
        return false;
    }
    if (burstLeft_ != 0) {
        --burstLeft_;
    }
    return true;
}

bool TriggerSection::listensToLines() const
{
    for (std::size_t trigger = 0; trigger < kCount; ++trigger) {
        if (isOn(static_cast<Trigger>(trigger)) && line(trigger) >= 0) {
            return gate_().isRunning;
        }
    }
    return false;
}

} // namespace simulator
