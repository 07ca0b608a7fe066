// DSStartAcquisition to DSClose, and DSGetParentDev.
#include "simulator/producer/api_guard.h"
#include "simulator/producer/producer_functions.h"
#include "simulator/producer/stream_module.h"

namespace simulator::producer::api
{

gentl::Error DSStartAcquisition(gentl::Handle stream, std::int32_t flags, std::uint64_t count)
{
    return guarded([&](Library& library) {
        library.handles().get<StreamModule>(stream)->start(flags, count);
    });
}

gentl::Error DSStopAcquisition(gentl::Handle stream, std::int32_t flags)
{
    return guarded(
        [&](Library& library) { library.handles().get<StreamModule>(stream)->stop(flags); });
}

gentl::Error DSFlushQueue(gentl::Handle stream, std::int32_t operation)
{
    return guarded([&](Library& library) {
        library.handles().get<StreamModule>(stream)->queues().flush(operation);
    });
}

gentl::Error DSGetInfo(gentl::Handle stream, std::int32_t command, std::int32_t* type, void* data,
                       std::size_t* size)
{
    return guarded([&](Library& library) {
        const auto module = library.handles().get<StreamModule>(stream);
        module->streamInfo(command).answer(type, data, size);
    });
}

gentl::Error DSClose(gentl::Handle stream)
{
    return guarded([&](Library& library) {
        const auto module = library.handles().get<StreamModule>(stream);
        const std::lock_guard lock(library.tree());
        requireOpen(*module);
        library.handles().get<DeviceModule>(module->parent())->closeStream(*module);
    });
}

gentl::Error DSGetParentDev(gentl::Handle stream, gentl::Handle* device)
{
    return guarded([&](Library& library) {
        const auto module = library.handles().get<StreamModule>(stream);
        requireParameter(device != nullptr, "the handle pointer is null");
        *device = module->parent();
    });
}

} // namespace simulator::producer::api
