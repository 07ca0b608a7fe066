// DevGetPort to DevClose, and DevGetParentIF.
#include "simulator/producer/api_guard.h"
#include "simulator/producer/producer_functions.h"
#include "simulator/producer/stream_module.h"

namespace simulator::producer::api
{

gentl::Error DevGetPort(gentl::Handle device, gentl::Handle* port)
{
    return guarded([&](Library& library) {
        const auto module = library.handles().get<DeviceModule>(device);
        requireParameter(port != nullptr, "the handle pointer is null");
        *port = module->remotePort();
    });
}

gentl::Error DevGetNumDataStreams(gentl::Handle device, std::uint32_t* count)
{
    return guarded([&](Library& library) {
        library.handles().get<DeviceModule>(device);
        requireParameter(count != nullptr, "the count pointer is null");
        *count = 1;
    });
}

gentl::Error DevGetDataStreamID(gentl::Handle device, std::uint32_t index, char* id,
                                std::size_t* size)
{
    return guarded([&](Library& library) {
        library.handles().get<DeviceModule>(device);
        if (index != 0) {
            throw Failure(gentl::err::kInvalidIndex, "no data stream at this index");
        }
        InfoValue::text(StreamModule::kId).answer(nullptr, id, size);
    });
}

gentl::Error DevOpenDataStream(gentl::Handle device, const char* id, gentl::Handle* stream)
{
    return guarded([&](Library& library) {
        const auto module = library.handles().get<DeviceModule>(device);
        requireParameter(id != nullptr && stream != nullptr, "null pointer");
        const std::lock_guard lock(library.tree());
        requireOpen(*module);
        *stream = module->openStream(id);
    });
}

gentl::Error DevGetInfo(gentl::Handle device, std::int32_t command, std::int32_t* type, void* data,
                        std::size_t* size)
{
    return guarded([&](Library& library) {
        const auto module = library.handles().get<DeviceModule>(device);
        deviceInfo(module->camera(), command).answer(type, data, size);
    });
}

gentl::Error DevClose(gentl::Handle device)
{
    return guarded([&](Library& library) {
        const auto module = library.handles().get<DeviceModule>(device);
        const std::lock_guard lock(library.tree());
        requireOpen(*module);
        library.handles().get<InterfaceModule>(module->parent())->closeDevice(*module);
    });
}

gentl::Error DevGetParentIF(gentl::Handle device, gentl::Handle* interface)
{
    return guarded([&](Library& library) {
        const auto module = library.handles().get<DeviceModule>(device);
        requireParameter(interface != nullptr, "the handle pointer is null");
        *interface = module->parent();
    });
}

} // namespace simulator::producer::api
