// Counters and timers of a simulated camera.
#include "simulator/counter_section.h"

#include "gentl_abi/gentl_abi.h"

#include <algorithm>

namespace simulator
{

namespace
{

constexpr std::int64_t kLargestCount = 0xFFFFFFFF;
constexpr double kLongestUs = 60e6;

enum CounterStatus : std::int64_t { kCounterIdle, kCounterActive = 2, kCounterCompleted };
enum TimerStatus : std::int64_t { kTimerIdle, kTimerTriggerWait, kTimerActive, kTimerCompleted };

CameraEvent nth(CameraEvent first, std::size_t index)
{
    return static_cast<CameraEvent>(static_cast<std::size_t>(first) + index);
}

bool isLineSource(const Feature& source, std::size_t index)
{
    return isEventOrSource(source.integer(index), kAnyEdge, CameraEvent::Line0RisingEdge) ||
           isEventOrSource(source.integer(index), kAnyEdge, CameraEvent::Line1RisingEdge);
}

} // namespace

CounterSection::CounterSection(CameraContext& context, EventSection& events)
    : context_(context), events_(events)
{
    context.table.category("CounterAndTimerControl",
                           "Counters of what happens in the camera, and timers.");
    declareCounters();
    declareCounterResets();
    declareTimers();
    declareTimerTriggers();
    events.listen(
        [this](CameraEvent event, std::uint64_t atNs, std::uint64_t) { happened(event, atNs); });
}

void CounterSection::declareCounters()
{
    FeatureTable& table = context_.table;
    table.enumeration("CounterSelector", "Counter that the other features show.")
        .expert()
        .entry("Counter0", 0, "First counter.")
        .entry("Counter1", 1, "Second counter.");
    source_ =
        &table.enumeration("CounterEventSource", "What the counter counts.").expert().streamable();
    addEventsAndSources(*source_);
    source_->selectedBy("CounterSelector", kCount).value(std::int64_t{0});
    activation_ = &addActivation(
        table.enumeration("CounterEventActivation", "Edge of a line that counts."), false);
    activation_->selectedBy("CounterSelector", kCount).streamable();
    value_ = &table.integer("CounterValue", "Events counted since the last reset.")
                  .expert()
                  .selectedBy("CounterSelector", kCount)
                  .changesByItself()
                  .range(std::int64_t{0}, kLargestCount);
    duration_ =
        &table.integer("CounterDuration", "Value at which the counter ends.")
             .describe("Value at which the counter ends: it stays there until it is reset, and "
                       "tells so by its end event, which may reset it.")
             .expert()
             .streamable()
             .selectedBy("CounterSelector", kCount)
             .range(std::int64_t{1}, kLargestCount)
             .value(kLargestCount);
    table.enumeration("CounterStatus", "What the counter does.")
        .expert()
        .readOnly()
        .entry("CounterIdle", kCounterIdle, "Counts nothing.")
        .entry("CounterActive", kCounterActive, "Counts.")
        .entry("CounterCompleted", kCounterCompleted, "Reached its duration.")
        .selectedBy("CounterSelector", kCount)
        .onRead([this](std::size_t index) { return FeatureValue(counterStatus(index)); });
}

void CounterSection::declareCounterResets()
{
    FeatureTable& table = context_.table;
    table.command("CounterReset", "Sets the counter to 0.")
        .expert()
        .selectedBy("CounterSelector", kCount)
        .onExecute([this](std::size_t index) {
            resetCounter(index);
            return gentl::err::kSuccess;
        });
    resetSource_ =
        &table.enumeration("CounterResetSource", "What resets the counter.").expert().streamable();
    addEventsAndSources(*resetSource_);
    resetSource_->selectedBy("CounterSelector", kCount).value(std::int64_t{0});
    resetActivation_ = &addActivation(
        table.enumeration("CounterResetActivation", "Edge of a line that resets."), false);
    resetActivation_->selectedBy("CounterSelector", kCount).streamable();
    valueAtReset_ = &table.integer("CounterValueAtReset", "Value before the last reset.")
                         .expert()
                         .readOnly()
                         .selectedBy("CounterSelector", kCount)
                         .changesByItself();
}

void CounterSection::declareTimers()
{
    FeatureTable& table = context_.table;
    table.enumeration("TimerSelector", "Timer that the other features show.")
        .expert()
        .entry("Timer0", 0, "First timer.")
        .entry("Timer1", 1, "Second timer.");
    timerDuration_ = &table.real("TimerDuration", "How long the timer is active.")
                          .unit("us")
                          .expert()
                          .streamable()
                          .selectedBy("TimerSelector", kCount)
                          .range(1.0, kLongestUs)
                          .value(1000.0);
    timerDelay_ = &table.real("TimerDelay", "Time from the trigger to the start of the timer.")
                       .unit("us")
                       .expert()
                       .streamable()
                       .selectedBy("TimerSelector", kCount)
                       .range(0.0, kLongestUs);
    table.command("TimerReset", "Starts the timer.")
        .expert()
        .selectedBy("TimerSelector", kCount)
        .onExecute([this](std::size_t index) {
            startTimer(index, context_.now());
            return gentl::err::kSuccess;
        });
    table.real("TimerValue", "Time since the timer started.")
        .unit("us")
        .expert()
        .readOnly()
        .selectedBy("TimerSelector", kCount)
        .onRead([this](std::size_t index) {
            const Timer& timer = timers_.at(index);
            const std::uint64_t now = std::clamp(context_.now(), timer.fromNs, timer.toNs);
            return FeatureValue(static_cast<double>(now - timer.fromNs) / 1000.0);
        });
}

void CounterSection::declareTimerTriggers()
{
    FeatureTable& table = context_.table;
    table.enumeration("TimerStatus", "What the timer does.")
        .expert()
        .readOnly()
        .entry("TimerIdle", kTimerIdle, "Nothing.")
        .entry("TimerTriggerWait", kTimerTriggerWait, "Waits for its trigger or its delay.")
        .entry("TimerActive", kTimerActive, "Runs.")
        .entry("TimerCompleted", kTimerCompleted, "Has run.")
        .selectedBy("TimerSelector", kCount)
        .onRead([this](std::size_t index) { return FeatureValue(timerStatus(index)); });
    timerSource_ =
        &table.enumeration("TimerTriggerSource", "What starts the timer.").expert().streamable();
    addEventsAndSources(*timerSource_);
    timerSource_->selectedBy("TimerSelector", kCount).value(std::int64_t{0});
    timerActivation_ = &addActivation(
        table.enumeration("TimerTriggerActivation", "Edge of a line that starts the timer."),
        false);
    timerActivation_->selectedBy("TimerSelector", kCount).streamable();
}

void CounterSection::happened(CameraEvent event, std::uint64_t atNs)
{
    for (std::size_t i = 0; i < kCount; ++i) {
        if (isEventOrSource(source_->integer(i), activation_->integer(i), event)) {
            count(i, atNs);
        }
        if (isEventOrSource(resetSource_->integer(i), resetActivation_->integer(i), event)) {
            resetCounter(i);
        }
        if (isEventOrSource(timerSource_->integer(i), timerActivation_->integer(i), event)) {
            startTimer(i, atNs);
        }
    }
}

void CounterSection::count(std::size_t counter, std::uint64_t atNs)
{
    const std::int64_t end = duration_->integer(counter);
    if (value_->integer(counter) >= end) {
        return;
    }
    value_->set(value_->integer(counter) + 1, counter);
    if (value_->integer(counter) == end) {
        events_.fire(nth(CameraEvent::Counter0End, counter), atNs, 0);
    }
}

void CounterSection::resetCounter(std::size_t counter)
{
    valueAtReset_->set(value_->integer(counter), counter);
    value_->set(std::int64_t{0}, counter);
}

/// A timer that runs is not disturbed.
void CounterSection::startTimer(std::size_t timer, std::uint64_t atNs)
{
    Timer& one = timers_.at(timer);
    if (one.isStarted) {
        return;
    }
    one.fromNs = atNs + nanosecondsOf(timerDelay_->real(timer));
    one.toNs = one.fromNs + nanosecondsOf(timerDuration_->real(timer));
    one.isStarted = true;
    one.hasBegun = one.isCompleted = false;
}

std::uint64_t CounterSection::nextNs() const
{
    std::uint64_t next = kNever;
    for (const Timer& timer : timers_) {
        if (timer.isStarted) {
            next = std::min(next, timer.hasBegun ? timer.toNs : timer.fromNs);
        }
    }
    return next;
}

void CounterSection::step()
{
    const std::uint64_t at = nextNs();
    for (std::size_t i = 0; i < kCount; ++i) {
        Timer& timer = timers_[i];
        if (!timer.isStarted || (timer.hasBegun ? timer.toNs : timer.fromNs) != at) {
            continue;
        }
        if (!timer.hasBegun) {
            timer.hasBegun = true;
        } else {
            timer.isStarted = timer.hasBegun = false;
            timer.isCompleted = true;
            events_.fire(nth(CameraEvent::Timer0End, i), at, 0);
        }
    }
}

bool CounterSection::isTimerActive(std::size_t timer, std::uint64_t atNs) const
{
    const Timer& one = timers_.at(timer);
    return one.isStarted && atNs >= one.fromNs && atNs < one.toNs;
}

bool CounterSection::listensToLines() const
{
    for (std::size_t i = 0; i < kCount; ++i) {
        if (isLineSource(*source_, i) || isLineSource(*resetSource_, i) ||
            isLineSource(*timerSource_, i)) {
            return true;
        }
    }
    return false;
}

void CounterSection::restart()
{
    timers_ = {};
    value_->value(std::int64_t{0});
    valueAtReset_->value(std::int64_t{0});
}

std::int64_t CounterSection::counterStatus(std::size_t counter) const
{
    if (value_->integer(counter) >= duration_->integer(counter)) {
        return kCounterCompleted;
    }
    return source_->integer(counter) == 0 ? kCounterIdle : kCounterActive;
}

std::int64_t CounterSection::timerStatus(std::size_t timer) const
{
    const Timer& one = timers_.at(timer);
    if (isTimerActive(timer, context_.now())) {
        return kTimerActive;
    }
    if (one.isCompleted) {
        return kTimerCompleted;
    }
    return one.isStarted || timerSource_->integer(timer) != 0 ? kTimerTriggerWait : kTimerIdle;
}

} // namespace simulator
