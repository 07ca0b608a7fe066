// Events and counters of a simulated camera.
#include "simulator/event_section.h"

#include "base/endian.h"
#include "base/text.h"
#include "gentl_abi/gentl_abi.h"

#include <string>

namespace simulator
{

namespace
{

constexpr int kDeepest = 8;

struct EventText {
    const char* name;
    const char* toolTip;
};

constexpr std::array<EventText, kEventCount> kEvents = {{
    {"AcquisitionStart", "The acquisition started."},
    {"AcquisitionEnd", "The acquisition ended."},
    {"FrameTrigger", "A frame trigger was accepted."},
    {"FrameTriggerMissed", "A frame trigger came too early and was ignored."},
    {"FrameStart", "The exposure of a frame started."},
    {"ExposureEnd", "The exposure of a frame ended."},
    {"FrameLost", "A frame was lost because the host had no room for it."},
    {"Test", "TestEventGenerate was executed."},
    {"Line0RisingEdge", "Line 0 went from low to high."},
    {"Line0FallingEdge", "Line 0 went from high to low."},
    {"Line1RisingEdge", "Line 1 went from low to high."},
    {"Line1FallingEdge", "Line 1 went from high to low."},
    {"Counter0End", "Counter 0 reached its duration."},
    {"Counter1End", "Counter 1 reached its duration."},
    {"Timer0End", "Timer 0 ended."},
    {"Timer1End", "Timer 1 ended."},
}};

} // namespace

const char* eventName(CameraEvent event)
{
    return kEvents.at(static_cast<std::size_t>(event)).name;
}

const char* eventToolTip(CameraEvent event)
{
    return kEvents.at(static_cast<std::size_t>(event)).toolTip;
}

std::vector<unsigned char> eventBytes(WireFormat wire, std::uint64_t eventId,
                                      std::uint64_t timestampNs, std::uint64_t frameId)
{
    if (wire == WireFormat::Usb3Vision) {
        std::vector<unsigned char> bytes(20);
        base::storeLittle(bytes.data() + 2, static_cast<std::uint16_t>(eventId));
        base::storeLittle(bytes.data() + 4, timestampNs);
        base::storeLittle(bytes.data() + 12, frameId);
        return bytes;
    }
    std::vector<unsigned char> bytes(24);
    if (wire == WireFormat::GigEVision) {
        base::storeBig(bytes.data() + 2, static_cast<std::uint16_t>(eventId));
    } else {
        base::storeBig(bytes.data(), eventId);
    }
    base::storeBig(bytes.data() + 8, timestampNs);
    base::storeBig(bytes.data() + 16, frameId);
    return bytes;
}

EventSection::EventSection(CameraContext& context) : context_(context) { declareEvents(); }

void EventSection::declareEvents()
{
    FeatureTable& table = context_.table;
    table.category("EventControl", "Messages of the camera to the host.");
    Feature& selector =
        table.enumeration("EventSelector", "Event that EventNotification shows.").expert();
    for (std::size_t i = 0; i < kEventCount; ++i) {
        selector.entry(kEvents[i].name, static_cast<std::int64_t>(i), kEvents[i].toolTip);
    }
    notification_ = &table.enumeration("EventNotification", "Sends the selected event.")
                         .expert()
                         .streamable()
                         .entry("Off", 0, "Not sent.")
                         .entry("On", 1, "Sent.")
                         .selectedBy("EventSelector", kEventCount);
    table.command("TestEventGenerate", "Fires the test event.")
        .expert()
        .onExecute([this](std::size_t) {
            fire(CameraEvent::Test, context_.now(), 0);
            return gentl::err::kSuccess;
        });
    const bool isLittle = context_.config.wire == WireFormat::Usb3Vision;
    for (std::size_t i = 0; i < kEventCount; ++i) {
        const std::string name = std::string("Event") + kEvents[i].name;
        const std::string port = name + "Port";
        table.port(port, false, kFirstEventId + i);
        table.category(name + "Data",
                       base::intern(std::string("Data of the event ") + kEvents[i].name + "."),
                       "EventControl");
        table.integer(name, kEvents[i].toolTip)
            .describe(std::string(kEvents[i].toolTip) +
                      " The value is the identifier under which the event is registered.")
            .expert()
            .constant(static_cast<std::int64_t>(kFirstEventId + i));
        table.integer(name + "Timestamp", "Camera time of the event.")
            .unit("ns")
            .expert()
            .inPort(port, isLittle ? 4 : 8, isLittle);
        table.integer(name + "FrameID", "Frame that the event belongs to.")
            .expert()
            .inPort(port, isLittle ? 12 : 16, isLittle);
    }
}

void EventSection::fire(CameraEvent event, std::uint64_t timestampNs, std::uint64_t frameId)
{
    const auto index = static_cast<std::size_t>(event);
    // Counters and timers may set each other off in a circle.
    if (depth_ < kDeepest) {
        ++depth_;
        for (const Listener& listener : listeners_) {
            listener(event, timestampNs, frameId);
        }
        --depth_;
    }
    if (stopped_ || index >= kEventCount || notification_->integer(index) == 0) {
        return;
    }
    const std::uint64_t id = kFirstEventId + index;
    const auto data = eventBytes(context_.config.wire, id, context_.stamp(timestampNs), frameId);
    context_.post(
        [id, data](CameraObserver& observer) { observer.event(id, data.data(), data.size()); });
}

bool EventSection::sendsLineEvents() const
{
    for (auto i = static_cast<std::size_t>(CameraEvent::Line0RisingEdge);
         i <= static_cast<std::size_t>(CameraEvent::Line1FallingEdge); ++i) {
        if (notification_->integer(i) != 0) {
            return true;
        }
    }
    return false;
}

void EventSection::disableAll() { notification_->value(std::int64_t{0}); }

} // namespace simulator
