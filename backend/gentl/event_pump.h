// A thread that fetches the events of one kind from one module of a producer.
#pragma once

#include "gentl/api.h"

#include <cstddef>
#include <functional>
#include <memory>

namespace gentl
{

/// Registers an event and carries its data to a handler until it is destroyed. No producer can keep
/// it from ending: the thread looks around four times a second, waits for it are limited, and a
/// thread that a producer does not give back is left behind, cut off from the handlers.
class EventPump
{
public:
    struct Handlers {
        /// Data of one event, valid during the call. False: nothing could be done with it.
        std::function<bool(Handle event, const void* data, std::size_t size)> event;
        /// The producer refuses to give events, again and again. True: it is of no use to go on.
        std::function<bool(Error code)> trouble;
    };

    /// Null with a code when the producer does not have such events.
    static std::unique_ptr<EventPump> start(const Api& api, Handle source, EventType type,
                                            Handlers handlers, Error* code);
    /// No handler runs or comes afterwards. Not from a handler.
    ~EventPump();
    EventPump(const EventPump&) = delete;
    EventPump& operator=(const EventPump&) = delete;

    /// Halts between two events and returns when every event that was fetched has been handled;
    /// false when the producer does not give the thread back in time. Not from a handler.
    bool park();
    void resume();

private:
    struct State;
    explicit EventPump(std::shared_ptr<State> state) : state_(std::move(state)) {}

    const std::shared_ptr<State> state_;
};

} // namespace gentl
