// GCReadPort to GCWritePortStacked.
#include "simulator/producer/announced_buffer.h"
#include "simulator/producer/api_guard.h"
#include "simulator/producer/port.h"
#include "simulator/producer/producer_functions.h"

namespace simulator::producer
{

namespace
{

/// The port behind a handle, alive as long as this.
class PortCall
{
public:
    PortCall(Library& library, gentl::Handle handle)
        : owner_(library.handles().find(handle)), port_(owner_ ? owner_->port() : nullptr)
    {
        if (port_ == nullptr) {
            const bool isBuffer = std::dynamic_pointer_cast<AnnouncedBuffer>(owner_) != nullptr;
            throw isBuffer ? Failure(gentl::err::kNotImplemented, "buffers have no port")
                           : Failure(gentl::err::kInvalidHandle, "invalid port handle");
        }
    }
    Port* operator->() const { return port_; }

private:
    const std::shared_ptr<HandleObject> owner_;
    Port* const port_;
};

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
        const PortCall space(library, port);
        requireParameter(data != nullptr && size != nullptr, "null pointer");
        space->read(address, data, *size);
    });
}

gentl::Error GCWritePort(gentl::Handle port, std::uint64_t address, const void* data,
                         std::size_t* size)
{
    return guarded([&](Library& library) {
        const PortCall space(library, port);
        requireParameter(data != nullptr && size != nullptr, "null pointer");
        space->write(address, data, *size);
    });
}

gentl::Error GCGetPortURL(gentl::Handle port, char* url, std::size_t* size)
{
    return guarded([&](Library& library) {
        const std::string only = PortCall(library, port)->url() + '\0';
        InfoValue::textList(only).answer(nullptr, url, size);
    });
}

gentl::Error GCGetPortInfo(gentl::Handle port, std::int32_t command, std::int32_t* type, void* data,
                           std::size_t* size)
{
    return guarded(
        [&](Library& library) { PortCall(library, port)->info(command).answer(type, data, size); });
}

gentl::Error GCGetNumPortURLs(gentl::Handle port, std::uint32_t* count)
{
    return guarded([&](Library& library) {
        static_cast<void>(PortCall(library, port));
        requireParameter(count != nullptr, "the count pointer is null");
        *count = 1;
    });
}

gentl::Error GCGetPortURLInfo(gentl::Handle port, std::uint32_t index, std::int32_t command,
                              std::int32_t* type, void* data, std::size_t* size)
{
    return guarded([&](Library& library) {
        const PortCall space(library, port);
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
        const PortCall space(library, port);
        forEach(entries, count, [&](const gentl::RegisterStackEntry& entry) {
            space->read(entry.address, entry.data, entry.size);
        });
    });
}

gentl::Error GCWritePortStacked(gentl::Handle port, gentl::RegisterStackEntry* entries,
                                std::size_t* count)
{
    return guarded([&](Library& library) {
        const PortCall space(library, port);
        forEach(entries, count, [&](const gentl::RegisterStackEntry& entry) {
            space->write(entry.address, entry.data, entry.size);
        });
    });
}

} // namespace api

} // namespace simulator::producer
