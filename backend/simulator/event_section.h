// EventControl and counters: what happens in the camera, told to the host.
#pragma once

#include "simulator/camera_context.h"

#include <array>
#include <cstdint>

namespace simulator
{

/// In the order of the EventSelector; the EventID is kFirstEventId plus this number.
enum class CameraEvent : std::size_t {
    AcquisitionStart,
    AcquisitionEnd,
    FrameTrigger,
    FrameTriggerMissed,
    FrameStart,
    ExposureEnd,
    FrameLost,
    Test,
};

constexpr std::uint64_t kFirstEventId = 0x9001;
constexpr std::size_t kEventCount = 8;
/// Bytes of an event: EventID, timestamp in ns, frame id; 64 bits each, big-endian.
constexpr std::size_t kEventSize = 24;

class EventSection
{
public:
    explicit EventSection(CameraContext& context);

    /// Counts, and tells the host when the event is enabled and events are not stopped.
    void fire(CameraEvent event, std::uint64_t timestampNs, std::uint64_t frameId);
    /// A host that left wants no events.
    void disableAll();
    /// Fault: events are counted, but not sent.
    void setStopped(bool stopped) { stopped_ = stopped; }

private:
    void declareEvents();
    void declareCounters();

    CameraContext& context_;
    Feature* notification_ = nullptr;
    Feature* counterSource_ = nullptr;
    Feature* counterValue_ = nullptr;
    bool stopped_ = false;
};

} // namespace simulator
