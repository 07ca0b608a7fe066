// IFClose to IFOpenDevice, and IFGetParentTL.
#include "simulator/producer/api_guard.h"
#include "simulator/producer/producer_functions.h"

namespace simulator::producer::api
{

gentl::Error IFClose(gentl::Handle interface)
{
    return guarded([&](Library& library) {
        const auto module = library.handles().get<InterfaceModule>(interface);
        const std::lock_guard lock(library.tree());
        requireOpen(*module);
        library.handles().get<SystemModule>(module->parent())->closeInterface(*module);
    });
}

gentl::Error IFGetInfo(gentl::Handle interface, std::int32_t command, std::int32_t* type,
                       void* data, std::size_t* size)
{
    return guarded([&](Library& library) {
        const auto module = library.handles().get<InterfaceModule>(interface);
        interfaceInfo(module->plugs(), command).answer(type, data, size);
    });
}

gentl::Error IFGetNumDevices(gentl::Handle interface, std::uint32_t* count)
{
    return guarded([&](Library& library) {
        const auto module = library.handles().get<InterfaceModule>(interface);
        requireParameter(count != nullptr, "the count pointer is null");
        *count = module->deviceCount();
    });
}

gentl::Error IFGetDeviceID(gentl::Handle interface, std::uint32_t index, char* id,
                           std::size_t* size)
{
    return guarded([&](Library& library) {
        const auto module = library.handles().get<InterfaceModule>(interface);
        InfoValue::text(module->deviceId(index)).answer(nullptr, id, size);
    });
}

gentl::Error IFUpdateDeviceList(gentl::Handle interface, gentl::Bool8* changed, std::uint64_t)
{
    return guarded([&](Library& library) {
        const bool differs = library.handles().get<InterfaceModule>(interface)->updateDevices();
        if (changed != nullptr) {
            *changed = differs ? 1 : 0;
        }
    });
}

gentl::Error IFGetDeviceInfo(gentl::Handle interface, const char* id, std::int32_t command,
                             std::int32_t* type, void* data, std::size_t* size)
{
    return guarded([&](Library& library) {
        const auto module = library.handles().get<InterfaceModule>(interface);
        requireParameter(id != nullptr, "the id is null");
        deviceInfo(*module->device(id), command).answer(type, data, size);
    });
}

gentl::Error IFOpenDevice(gentl::Handle interface, const char* id, std::int32_t access,
                          gentl::Handle* device)
{
    return guarded([&](Library& library) {
        const auto module = library.handles().get<InterfaceModule>(interface);
        requireParameter(id != nullptr && device != nullptr, "null pointer");
        const std::lock_guard lock(library.tree());
        requireOpen(*module);
        *device = module->openDevice(id, access);
    });
}

gentl::Error IFGetParentTL(gentl::Handle interface, gentl::Handle* tl)
{
    return guarded([&](Library& library) {
        const auto module = library.handles().get<InterfaceModule>(interface);
        requireParameter(tl != nullptr, "the handle pointer is null");
        *tl = module->parent();
    });
}

} // namespace simulator::producer::api
