// Names of signal sources, and which event stands for which.
#include "simulator/signal_source.h"

#include <array>

namespace simulator
{

namespace
{

/// Events that have been there before lines, counters and timers were.
constexpr std::int64_t kPlainEvents = static_cast<std::int64_t>(CameraEvent::Test) + 1;

struct SourceText {
    const char* name;
    const char* toolTip;
    CameraEvent event; ///< Of lines: the rising edge, behind which the falling one comes.
};

constexpr std::array<SourceText, kSourceCount> kSources = {{
    {"Line0", "Line 0.", CameraEvent::Line0RisingEdge},
    {"Line1", "Line 1.", CameraEvent::Line1RisingEdge},
    {"Counter0End", "Counter 0 reached its duration.", CameraEvent::Counter0End},
    {"Counter1End", "Counter 1 reached its duration.", CameraEvent::Counter1End},
    {"Timer0End", "Timer 0 ended.", CameraEvent::Timer0End},
    {"Timer1End", "Timer 1 ended.", CameraEvent::Timer1End},
    {"Action0", "The action command of ActionSelector 0.", CameraEvent::Action0},
    {"Action1", "The action command of ActionSelector 1.", CameraEvent::Action1},
}};

} // namespace

void addSources(Feature& feature, std::int64_t first)
{
    for (const SourceText& source : kSources) {
        feature.entry(source.name, first++, source.toolTip);
    }
}

bool isSource(std::int64_t source, std::int64_t activation, CameraEvent event)
{
    if (source < 0 || source >= kSourceCount) {
        return false;
    }
    const CameraEvent wanted = kSources[static_cast<std::size_t>(source)].event;
    if (lineOf(source) < 0) {
        return event == wanted;
    }
    const auto falling = static_cast<CameraEvent>(static_cast<std::size_t>(wanted) + 1);
    switch (activation) {
    case kAnyEdge:
        return event == wanted || event == falling;
    case kFallingEdge:
    case kLevelLow:
        return event == falling;
    default:
        return event == wanted;
    }
}

void addEventsAndSources(Feature& feature)
{
    feature.entry("Off", 0, "Nothing.");
    for (std::int64_t i = 0; i < kPlainEvents; ++i) {
        const auto event = static_cast<CameraEvent>(i);
        feature.entry(eventName(event), i + 1, eventToolTip(event));
    }
    addSources(feature, kPlainEvents + 1);
}

bool isEventOrSource(std::int64_t value, std::int64_t activation, CameraEvent event)
{
    if (value <= kPlainEvents) {
        return value == static_cast<std::int64_t>(event) + 1;
    }
    return isSource(value - kPlainEvents - 1, activation, event);
}

Feature& addActivation(Feature& feature, bool withLevels)
{
    feature.expert()
        .entry("RisingEdge", kRisingEdge, "Low to high.")
        .entry("FallingEdge", kFallingEdge, "High to low.")
        .entry("AnyEdge", kAnyEdge, "Both.");
    if (withLevels) {
        feature.entry("LevelHigh", kLevelHigh, "As long as it is high.")
            .entry("LevelLow", kLevelLow, "As long as it is low.");
    }
    return feature;
}

} // namespace simulator
