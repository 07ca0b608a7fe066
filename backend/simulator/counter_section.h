// CounterAndTimerControl: counts what happens in the camera, and times that follow it.
#pragma once

#include "simulator/signal_source.h"
#include "simulator/timed_section.h"

#include <array>
#include <cstdint>

namespace simulator
{

/// Used under the camera's lock.
class CounterSection final : public TimedSection
{
public:
    static constexpr std::size_t kCount = 2; ///< Counters, and timers.

    CounterSection(CameraContext& context, EventSection& events);

    /// When the next timer begins or ends; all ones: none does.
    std::uint64_t nextNs() const override;
    void step() override;
    bool isTimerActive(std::size_t timer, std::uint64_t atNs) const;
    /// Whether anything here waits for lines.
    bool listensToLines() const;
    /// A restart: timers are idle, counters stand at 0.
    void restart();

private:
    struct Timer {
        std::uint64_t fromNs = 0;
        std::uint64_t toNs = 0;
        bool isStarted = false; ///< Has begun or will, at fromNs.
        bool hasBegun = false;
        bool isCompleted = false;
    };

    void declareCounters();
    void declareCounterResets();
    void declareTimers();
    void declareTimerTriggers();
    void happened(CameraEvent event, std::uint64_t atNs);
    void count(std::size_t counter, std::uint64_t atNs);
    void resetCounter(std::size_t counter);
    void startTimer(std::size_t timer, std::uint64_t atNs);
    std::int64_t counterStatus(std::size_t counter) const;
    std::int64_t timerStatus(std::size_t timer) const;

    CameraContext& context_;
    EventSection& events_;
    Feature* source_ = nullptr;
    Feature* activation_ = nullptr;
    Feature* resetSource_ = nullptr;
    Feature* resetActivation_ = nullptr;
    Feature* value_ = nullptr;
    Feature* valueAtReset_ = nullptr;
    Feature* duration_ = nullptr;
    Feature* timerDuration_ = nullptr;
    Feature* timerDelay_ = nullptr;
    Feature* timerSource_ = nullptr;
    Feature* timerActivation_ = nullptr;
    std::array<Timer, kCount> timers_;
};

} // namespace simulator
