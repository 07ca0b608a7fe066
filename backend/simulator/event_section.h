// EventControl and counters: what happens in the camera, told to the host.
#pragma once

#include "simulator/camera_context.h"

#include <array>
#include <cstdint>
#include <functional>
#include <utility>
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
    Line0RisingEdge, ///< Of each line, the falling edge follows the rising one.
    Line0FallingEdge,
    Line1RisingEdge,
    Line1FallingEdge,
    Counter0End,
    Counter1End,
    Timer0End,
    Timer1End,
    // Inside the camera only.
    Action0,
    Action1,
};

constexpr std::uint64_t kFirstEventId = 0x9001;
constexpr std::size_t kEventCount = 16; ///< Those that the host can have.

/// Names and descriptions of those that the host can have.
const char* eventName(CameraEvent event);
const char* eventToolTip(CameraEvent event);

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
    /// Told what happens: event, camera time, frame.
    using Listener = std::function<void(CameraEvent, std::uint64_t atNs, std::uint64_t frameId)>;

    explicit EventSection(CameraContext& context);

    /// For the life of the camera; called in fire(), which it may call itself.
    void listen(Listener listener) { listeners_.push_back(std::move(listener)); }
    /// Whether the host wants any of the events of lines.
    bool sendsLineEvents() const;

    /// Tells the listeners, and tells the host when the event is enabled and events are not
    /// stopped.
    void fire(CameraEvent event, std::uint64_t timestampNs, std::uint64_t frameId);
    /// A host that left wants no events.
    void disableAll();
    /// Fault: events are counted, but not sent.
    void setStopped(bool stopped) { stopped_ = stopped; }

private:
    void declareEvents();

    CameraContext& context_;
    Feature* notification_ = nullptr;
    std::vector<Listener> listeners_;
    int depth_ = 0; ///< Of calls of fire() in each other.
    bool stopped_ = false;
};

} // namespace simulator
