// TLOpen to TLUpdateInterfaceList.
#include "simulator/producer/api_guard.h"
#include "simulator/producer/producer_functions.h"

namespace simulator::producer::api
{

gentl::Error TLOpen(gentl::Handle* tl)
{
    return guarded([&](Library& library) {
        requireParameter(tl != nullptr, "the handle pointer is null");
        *tl = library.openSystem();
    });
}

gentl::Error TLClose(gentl::Handle tl)
{
    return guarded(
        [&](Library& library) { library.closeSystem(*library.handles().get<SystemModule>(tl)); });
}

gentl::Error TLGetInfo(gentl::Handle tl, std::int32_t command, std::int32_t* type, void* data,
                       std::size_t* size)
{
    return guarded([&](Library& library) {
        library.handles().get<SystemModule>(tl);
        producerInfo(command).answer(type, data, size);
    });
}

gentl::Error TLGetNumInterfaces(gentl::Handle tl, std::uint32_t* count)
{
    return guarded([&](Library& library) {
        const auto system = library.handles().get<SystemModule>(tl);
        requireParameter(count != nullptr, "the count pointer is null");
        *count = system->interfaceCount();
    });
}

gentl::Error TLGetInterfaceID(gentl::Handle tl, std::uint32_t index, char* id, std::size_t* size)
{
    return guarded([&](Library& library) {
        const auto system = library.handles().get<SystemModule>(tl);
        InfoValue::text(system->interfaceId(index)).answer(nullptr, id, size);
    });
}

gentl::Error TLGetInterfaceInfo(gentl::Handle tl, const char* id, std::int32_t command,
                                std::int32_t* type, void* data, std::size_t* size)
{
    return guarded([&](Library& library) {
        const auto system = library.handles().get<SystemModule>(tl);
        requireParameter(id != nullptr, "the id is null");
        interfaceInfo(*system->interface(id), command).answer(type, data, size);
    });
}

gentl::Error TLOpenInterface(gentl::Handle tl, const char* id, gentl::Handle* interface)
{
    return guarded([&](Library& library) {
        const auto system = library.handles().get<SystemModule>(tl);
        requireParameter(id != nullptr && interface != nullptr, "null pointer");
        const std::lock_guard lock(library.tree());
        requireOpen(*system);
        *interface = system->openInterface(id);
    });
}

gentl::Error TLUpdateInterfaceList(gentl::Handle tl, gentl::Bool8* changed, std::uint64_t)
{
    return guarded([&](Library& library) {
        const bool differs = library.handles().get<SystemModule>(tl)->updateInterfaces();
        if (changed != nullptr) {
            *changed = differs ? 1 : 0;
        }
    });
}

} // namespace simulator::producer::api
