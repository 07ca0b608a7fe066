// GCReadPort to GCWritePortStacked.
#include "simulator/producer/announced_buffer.h"
#include "simulator/producer/api_guard.h"
#include "simulator/producer/port.h"
#include "simulator/producer/producer_functions.h"

namespace simulator::producer
{

namespace
{

std::shared_ptr<Port> portOf(Library& library, gentl::Handle handle)
{
    const auto object = library.handles().find(handle);
    auto port = std::dynamic_pointer_cast<Port>(object);
    if (!port) {
        const bool isBuffer = std::dynamic_pointer_cast<AnnouncedBuffer>(object) != nullptr;
        throw isBuffer ? Failure(gentl::err::kNotImplemented, "buffers have no port")
                       : Failure(gentl::err::kInvalidHandle, "invalid port handle");
    }
    return port;
}

/// Runs `access` over the entries; `*count` becomes the number of those that succeeded.
template <class Access>
void forEach(gentl::RegisterStackEntry* entries, std::size_t* count, Access&& access)
{
    requireParameter(entries != nullptr && count != nullptr, "null pointer");
    const std::size_t wanted = *count;
    for (*count = 0; *count < wanted; ++*count) {
        const gentl::RegisterStackEntry& entry = entries[*count];
        requireParameter(entry.data != nullptr, "an entry without data");
        access(entry);
    }
}

} // namespace

namespace api
{

gentl::Error GCReadPort(gentl::Handle port, std::uint64_t address, void* data, std::size_t* size)
{
    return guarded([&](Library& library) {
        const auto space = portOf(library, port);
        requireParameter(data != nullptr && size != nullptr, "null pointer");
        space->read(address, data, *size);
    });
}

gentl::Error GCWritePort(gentl::Handle port, std::uint64_t address, const void* data,
                         std::size_t* size)
{
    return guarded([&](Library& library) {
        const auto space = portOf(library, port);
        requireParameter(data != nullptr && size != nullptr, "null pointer");
        space->write(address, data, *size);
    });
}

gentl::Error GCGetPortURL(gentl::Handle port, char* url, std::size_t* size)
{
    return guarded([&](Library& library) {
        const std::string only = portOf(library, port)->url() + '\0';
        InfoValue::textList(only).answer(nullptr, url, size);
    });
}

gentl::Error GCGetPortInfo(gentl::Handle port, std::int32_t command, std::int32_t* type, void* data,
                           std::size_t* size)
{
    return guarded(
        [&](Library& library) { portOf(library, port)->info(command).answer(type, data, size); });
}

gentl::Error GCGetNumPortURLs(gentl::Handle port, std::uint32_t* count)
{
    return guarded([&](Library& library) {
        portOf(library, port);
        requireParameter(count != nullptr, "the count pointer is null");
        *count = 1;
    });
}

gentl::Error GCGetPortURLInfo(gentl::Handle port, std::uint32_t index, std::int32_t command,
                              std::int32_t* type, void* data, std::size_t* size)
{
    return guarded([&](Library& library) {
        const auto space = portOf(library, port);
        if (index != 0) {
            throw Failure(gentl::err::kInvalidIndex, "no URL at this index");
        }
        space->urlInfo(command).answer(type, data, size);
    });
}

gentl::Error GCReadPortStacked(gentl::Handle port, gentl::RegisterStackEntry* entries,
                               std::size_t* count)
{
    return guarded([&](Library& library) {
        const auto space = portOf(library, port);
        forEach(entries, count, [&](const gentl::RegisterStackEntry& entry) {
            space->read(entry.address, entry.data, entry.size);
        });
    });
}

gentl::Error GCWritePortStacked(gentl::Handle port, gentl::RegisterStackEntry* entries,
                                std::size_t* count)
{
    return guarded([&](Library& library) {
        const auto space = portOf(library, port);
        forEach(entries, count, [&](const gentl::RegisterStackEntry& entry) {
            space->write(entry.address, entry.data, entry.size);
        });
    });
}

} // namespace api

} // namespace simulator::producer
