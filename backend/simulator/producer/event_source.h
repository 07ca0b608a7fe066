// The registrations of one module: at most one event of each type.
#pragma once

#include "simulator/producer/event.h"
#include "simulator/producer/handle_registry.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace simulator::producer
{

/// Thread safe. Posting to a type that nobody registered does nothing.
class EventSource
{
public:
    /// Makes the event of a type.
    using Factory = std::function<std::shared_ptr<Event>(gentl::EventType)>;

    /// `types` are those that can be registered; all others answer -1003. The default factory makes
    /// message events.
    EventSource(HandleRegistry& handles, std::vector<gentl::EventType> types, Factory factory = {});

    /// Throws Failure -1009 for an unknown type, -1003, -1004 when the type is registered,
    /// -1006 after close().
    gentl::Handle add(std::int32_t type);
    /// Ends its waits and throws its data away. Throws Failure -1009 when it is not registered.
    void remove(std::int32_t type);
    /// Removes all; nothing can be registered any more (-1006).
    void close();

    void post(gentl::EventType type, const std::string& message);
    /// The device is gone: what is queued is still given out, then all waits end.
    void endAll();

private:
    struct Registration {
        gentl::Handle handle;
        std::shared_ptr<Event> event;
    };

    HandleRegistry& handles_;
    const std::vector<gentl::EventType> types_;
    const Factory factory_;
    std::mutex mutex_;
    std::map<std::int32_t, Registration> registrations_;
    bool ended_ = false;
    bool closed_ = false;
};

} // namespace simulator::producer
