// Events and counters of a simulated camera.
#include "simulator/event_section.h"

#include "base/endian.h"
#include "gentl_abi/gentl_abi.h"

#include <string>

namespace simulator
{

namespace
{

constexpr std::size_t kCounterCount = 2;

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
}};

} // namespace

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

EventSection::EventSection(CameraContext& context) : context_(context)
{
    declareEvents();
    declareCounters();
}

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
        table.category(name + "Data", std::string("Data of the event ") + kEvents[i].name + ".",
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

void EventSection::declareCounters()
{
    FeatureTable& table = context_.table;
    table.category("CounterAndTimerControl", "Counters of what happens in the camera.");
    table.enumeration("CounterSelector", "Counter that the other features show.")
        .expert()
        .entry("Counter0", 0, "First counter.")
        .entry("Counter1", 1, "Second counter.");
    counterSource_ = &table.enumeration("CounterEventSource", "What the counter counts.")
                          .expert()
                          .streamable()
                          .entry("Off", 0, "Nothing.");
    for (std::size_t i = 0; i < kEventCount; ++i) {
        counterSource_->entry(kEvents[i].name, static_cast<std::int64_t>(i) + 1,
                              kEvents[i].toolTip);
    }
    counterSource_->selectedBy("CounterSelector", kCounterCount);
    counterSource_->value(std::int64_t{0});
    counterValue_ = &table.integer("CounterValue", "Events counted since the last reset.")
                         .expert()
                         .selectedBy("CounterSelector", kCounterCount)
                         .changesByItself()
                         .range(std::int64_t{0}, std::int64_t{0xFFFFFFFF});
    table.command("CounterReset", "Sets the counter to 0.")
        .expert()
        .selectedBy("CounterSelector", kCounterCount)
        .onExecute([this](std::size_t index) {
            counterValue_->set(std::int64_t{0}, index);
            return gentl::err::kSuccess;
        });
}

void EventSection::fire(CameraEvent event, std::uint64_t timestampNs, std::uint64_t frameId)
{
    const auto index = static_cast<std::size_t>(event);
    for (std::size_t i = 0; i < kCounterCount; ++i) {
        if (counterSource_->integer(i) == static_cast<std::int64_t>(index) + 1) {
            counterValue_->set((counterValue_->integer(i) + 1) & 0xFFFFFFFF, i);
        }
    }
    if (stopped_ || notification_->integer(index) == 0) {
        return;
    }
    const std::uint64_t id = kFirstEventId + index;
    const auto data = eventBytes(context_.config.wire, id, timestampNs, frameId);
    context_.post(
        [id, data](CameraObserver& observer) { observer.event(id, data.data(), data.size()); });
}

void EventSection::disableAll() { notification_->value(std::int64_t{0}); }

} // namespace simulator
