// EventControl and counters: what happens in the camera, told to the host.
#pragma once

#include "simulator/camera_context.h"

#include <array>
#include <cstdint>
#include <vector>

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

/// The bytes of an event, offset 0 of its event port first; they are what the wire format of the
/// camera makes of EventID, timestamp in ns and frame id:
/// - Plain: 64 bits each, big-endian;
/// - GigE Vision: an EVENTDATA entry with a 16-bit block id (reserved, EventID, channel 0, block id
///   0: 16 bits each; timestamp: 64 bits), then the frame id with 64 bits; big-endian;
/// - USB3 Vision: reserved, EventID: 16 bits each; timestamp, frame id: 64 bits; little-endian.
std::vector<unsigned char> eventBytes(WireFormat wire, std::uint64_t eventId,
                                      std::uint64_t timestampNs, std::uint64_t frameId);

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
