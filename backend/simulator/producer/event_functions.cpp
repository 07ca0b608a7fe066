// GCRegisterEvent to EventKill.
#include "simulator/producer/announced_buffer.h"
#include "simulator/producer/api_guard.h"
#include "simulator/producer/message_event.h"
#include "simulator/producer/producer_functions.h"

namespace simulator::producer
{

namespace
{

std::shared_ptr<Module> sourceOf(Library& library, gentl::Handle handle)
{
    const auto object = library.handles().find(handle);
    if (std::dynamic_pointer_cast<AnnouncedBuffer>(object)) {
        throw Failure(gentl::err::kNotImplemented, "buffers have no events");
    }
    auto source = std::dynamic_pointer_cast<Module>(object);
    if (!source) {
        throw Failure(gentl::err::kInvalidHandle, "invalid event source handle");
    }
    return source;
}

} // namespace

namespace api
{

gentl::Error GCRegisterEvent(gentl::Handle source, std::int32_t type, gentl::Handle* event)
{
    return guarded([&](Library& library) {
        const auto module = sourceOf(library, source);
        requireParameter(event != nullptr, "the event pointer is null");
        *event = module->events().add(type);
    });
}

gentl::Error GCUnregisterEvent(gentl::Handle source, std::int32_t type)
{
    return guarded([&](Library& library) { sourceOf(library, source)->events().remove(type); });
}

gentl::Error EventGetData(gentl::Handle event, void* data, std::size_t* size,
                          std::uint64_t timeoutMs)
{
    return guarded([&](Library& library) {
        library.handles().get<Event>(event)->fetch(data, size, timeoutMs);
    });
}

gentl::Error EventGetDataInfo(gentl::Handle event, const void* in, std::size_t inSize,
                              std::int32_t command, std::int32_t* type, void* data,
                              std::size_t* size)
{
    return guarded([&](Library& library) {
        const auto known = library.handles().get<Event>(event);
        readEventData(known->type(), in, inSize, command).answer(type, data, size);
    });
}

gentl::Error EventGetInfo(gentl::Handle event, std::int32_t command, std::int32_t* type, void* data,
                          std::size_t* size)
{
    return guarded([&](Library& library) {
        library.handles().get<Event>(event)->info(command).answer(type, data, size);
    });
}

gentl::Error EventFlush(gentl::Handle event)
{
    return guarded([&](Library& library) { library.handles().get<Event>(event)->flush(); });
}

gentl::Error EventKill(gentl::Handle event)
{
    return guarded([&](Library& library) { library.handles().get<Event>(event)->kill(); });
}

} // namespace api

} // namespace simulator::producer
