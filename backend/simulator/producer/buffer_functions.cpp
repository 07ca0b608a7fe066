// DSAnnounceBuffer to DSRevokeBuffer, and what is asked about a buffer.
#include "simulator/producer/api_guard.h"
#include "simulator/producer/producer_functions.h"
#include "simulator/producer/stream_module.h"

#include <algorithm>
#include <utility>

namespace simulator::producer
{

namespace
{

struct StreamBuffer {
    std::shared_ptr<StreamModule> stream;
    std::shared_ptr<AnnouncedBuffer> buffer;
};

StreamBuffer find(Library& library, gentl::Handle stream, gentl::Handle buffer)
{
    return {library.handles().get<StreamModule>(stream),
            library.handles().get<AnnouncedBuffer>(buffer)};
}

[[noreturn]] void refuseParts()
{
    throw Failure(gentl::err::kNoData, "the buffer is not made of parts");
}

/// Answers all questions; the code of the first that failed is the result.
template <class Entry, class Ask> void askAll(Entry* entries, std::size_t count, Ask&& ask)
{
    requireParameter(entries != nullptr || count == 0, "the entries are null");
    gentl::Error first = gentl::err::kSuccess;
    for (std::size_t i = 0; i < count; ++i) {
        const gentl::Error result = ask(entries[i]);
        entries[i].result = result;
        first = first == gentl::err::kSuccess ? result : first;
    }
    if (first != gentl::err::kSuccess) {
        throw Failure(first, "at least one of the questions failed");
    }
}

} // namespace

namespace api
{

gentl::Error DSAnnounceBuffer(gentl::Handle stream, void* memory, std::size_t size,
                              void* userPointer, gentl::Handle* buffer)
{
    return guarded([&](Library& library) {
        const auto module = library.handles().get<StreamModule>(stream);
        requireParameter(memory != nullptr && size != 0 && buffer != nullptr,
                         "no memory, size or handle pointer");
        *buffer =
            module->queues().announce(std::make_shared<AnnouncedBuffer>(memory, size, userPointer));
    });
}

gentl::Error DSAllocAndAnnounceBuffer(gentl::Handle stream, std::size_t size, void* userPointer,
                                      gentl::Handle* buffer)
{
    return guarded([&](Library& library) {
        const auto module = library.handles().get<StreamModule>(stream);
        requireParameter(size != 0 && buffer != nullptr, "no size or handle pointer");
        *buffer = module->queues().announce(std::make_shared<AnnouncedBuffer>(size, userPointer));
    });
}

gentl::Error DSGetBufferID(gentl::Handle stream, std::uint32_t index, gentl::Handle* buffer)
{
    return guarded([&](Library& library) {
        const auto module = library.handles().get<StreamModule>(stream);
        requireParameter(buffer != nullptr, "the handle pointer is null");
        *buffer = module->queues().handleAt(index);
    });
}

gentl::Error DSRevokeBuffer(gentl::Handle stream, gentl::Handle buffer, void** memory,
                            void** userPointer)
{
    return guarded([&](Library& library) {
        const auto known = find(library, stream, buffer);
        known.stream->queues().revoke(known.buffer);
        if (memory != nullptr) { // memory of the producer goes with its buffer
            *memory = known.buffer->ownsMemory() ? nullptr : known.buffer->memory();
        }
        if (userPointer != nullptr) {
            *userPointer = known.buffer->userPointer();
        }
    });
}

gentl::Error DSQueueBuffer(gentl::Handle stream, gentl::Handle buffer)
{
    return guarded([&](Library& library) {
        const auto known = find(library, stream, buffer);
        known.stream->queues().queue(known.buffer);
    });
}

gentl::Error DSGetBufferInfo(gentl::Handle stream, gentl::Handle buffer, std::int32_t command,
                             std::int32_t* type, void* data, std::size_t* size)
{
    return guarded([&](Library& library) {
        const auto known = find(library, stream, buffer);
        known.stream->info(known.buffer, command).answer(type, data, size);
    });
}

gentl::Error DSGetBufferInfoStacked(gentl::Handle stream, gentl::Handle buffer,
                                    gentl::BufferInfoStacked* entries, std::size_t count)
{
    return guarded([&](Library& library) {
        const auto known = find(library, stream, buffer);
        askAll(entries, count, [&](gentl::BufferInfoStacked& entry) {
            return guarded([&](Library&) {
                std::int32_t type = gentl::kTypeUnknown; // the entry is packed
                std::size_t size = entry.size;
                known.stream->info(known.buffer, entry.command).answer(&type, entry.data, &size);
                entry.type = type;
                entry.size = size;
            });
        });
    });
}

gentl::Error DSGetBufferChunkData(gentl::Handle stream, gentl::Handle buffer,
                                  gentl::ChunkData* chunks, std::size_t* count)
{
    return guarded([&](Library& library) {
        const auto known = find(library, stream, buffer);
        requireParameter(count != nullptr, "the count pointer is null");
        const FrameRecord frame = known.stream->queues().snapshot(known.buffer).second;
        if (!frame.newData || frame.chunks.empty()) {
            throw Failure(gentl::err::kNoData, "the buffer has no chunks");
        }
        if (chunks != nullptr) {
            if (*count < frame.chunks.size()) {
                throw Failure(gentl::err::kBufferTooSmall, "there are more chunks");
            }
            std::transform(frame.chunks.begin(), frame.chunks.end(), chunks,
                           [](const ChunkPlace& place) {
                               return gentl::ChunkData{
                                   place.id, static_cast<std::ptrdiff_t>(place.offset), place.size};
                           });
        }
        *count = frame.chunks.size();
    });
}

gentl::Error DSGetNumBufferParts(gentl::Handle stream, gentl::Handle buffer, std::uint32_t* count)
{
    return guarded([&](Library& library) {
        find(library, stream, buffer);
        requireParameter(count != nullptr, "the count pointer is null");
        refuseParts();
    });
}

gentl::Error DSGetBufferPartInfo(gentl::Handle stream, gentl::Handle buffer, std::uint32_t,
                                 std::int32_t, std::int32_t*, void*, std::size_t*)
{
    return guarded([&](Library& library) {
        find(library, stream, buffer);
        refuseParts();
    });
}

gentl::Error DSGetBufferPartInfoStacked(gentl::Handle stream, gentl::Handle buffer,
                                        gentl::BufferPartInfoStacked* entries, std::size_t count)
{
    return guarded([&](Library& library) {
        find(library, stream, buffer);
        askAll(entries, count,
               [](const gentl::BufferPartInfoStacked&) { return gentl::err::kNoData; });
        refuseParts();
    });
}

} // namespace api

} // namespace simulator::producer
