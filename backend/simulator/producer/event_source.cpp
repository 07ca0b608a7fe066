// Registration, delivery and end of the events of a module.
#include "simulator/producer/event_source.h"

#include "simulator/producer/failure.h"
#include "simulator/producer/message_event.h"

#include <algorithm>
#include <utility>

namespace simulator::producer
{

EventSource::EventSource(HandleRegistry& handles, std::vector<gentl::EventType> types,
                         Factory factory)
    : handles_(handles), types_(std::move(types)), factory_(std::move(factory))
{
}

gentl::Handle EventSource::add(std::int32_t type)
{
    requireParameter(type >= gentl::kEventError && type <= gentl::kEventModule,
                     "unknown event type");
    if (std::find(types_.begin(), types_.end(), type) == types_.end()) {
        throw Failure(gentl::err::kNotImplemented, "this module has no events of this type");
    }
    const std::lock_guard lock(mutex_);
    if (closed_) {
        throw Failure(gentl::err::kInvalidHandle, "the module was closed");
    }
    if (registrations_.count(type) != 0) {
        throw Failure(gentl::err::kResourceInUse, "the event is registered already");
    }
    const auto known = static_cast<gentl::EventType>(type);
    auto event = factory_ ? factory_(known) : std::make_shared<MessageEvent>(known);
    if (ended_) {
        event->end();
    }
    Registration& registration = registrations_[type];
    try {
        registration = {handles_.add(event), event};
    } catch (...) {
        registrations_.erase(type);
        throw;
    }
    return registration.handle;
}

void EventSource::remove(std::int32_t type)
{
    Registration removed;
    {
        const std::lock_guard lock(mutex_);
        const auto found = registrations_.find(type);
        requireParameter(found != registrations_.end(), "the event is not registered");
        removed = std::move(found->second);
        registrations_.erase(found);
    }
    handles_.remove(removed.handle);
    removed.event->close();
}

void EventSource::close()
{
    std::map<std::int32_t, Registration> removed;
    {
        const std::lock_guard lock(mutex_);
        closed_ = true;
        removed.swap(registrations_);
    }
    for (const auto& [type, registration] : removed) {
        handles_.remove(registration.handle);
        registration.event->close();
    }
}

void EventSource::post(gentl::EventType type, const std::string& message)
{
    const std::lock_guard lock(mutex_);
    const auto found = registrations_.find(type);
    if (found != registrations_.end()) {
        if (auto* event = dynamic_cast<MessageEvent*>(found->second.event.get())) {
            event->post(message);
        }
    }
}

void EventSource::endAll()
{
    const std::lock_guard lock(mutex_);
    ended_ = true;
    for (const auto& [type, registration] : registrations_) {
        registration.event->end();
    }
}

} // namespace simulator::producer
