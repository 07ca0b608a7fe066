// What triggers, timers and counters listen to: lines, counters, timers, action commands.
#pragma once

#include "simulator/event_section.h"

#include <cstdint>
#include <functional>

namespace simulator
{

/// Values of the ...Activation features.
enum Activation : std::int64_t { kRisingEdge, kFallingEdge, kAnyEdge, kLevelHigh, kLevelLow };

/// Line0, Line1, Counter0End, Counter1End, Timer0End, Timer1End, Action0, Action1 in this order.
constexpr std::int64_t kSourceCount = 8;

/// Adds the sources as entries with the values `first` and up.
void addSources(Feature& feature, std::int64_t first);

/// Whether `event` is what the source (0 to kSourceCount - 1) stands for; levels count as the edge
/// that begins them.
bool isSource(std::int64_t source, std::int64_t activation, CameraEvent event);

/// 0 or 1 for the lines, else -1.
inline std::int64_t lineOf(std::int64_t source) { return source == 0 || source == 1 ? source : -1; }

/// For counters and timers: Off (0), the events of the camera, then the sources.
void addEventsAndSources(Feature& feature);
bool isEventOrSource(std::int64_t value, std::int64_t activation, CameraEvent event);

/// An activation feature for the selected counter, timer or trigger.
Feature& addActivation(Feature& feature, bool withLevels);

} // namespace simulator
