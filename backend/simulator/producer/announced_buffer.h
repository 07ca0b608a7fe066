// A buffer that the consumer announced, and the frame that was filled into it last.
#pragma once

#include "simulator/camera_model.h"
#include "simulator/producer/handle_registry.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

namespace simulator::producer
{

/// Where a buffer is. Announced: nowhere, known only. Input: in the input pool. Filling: the engine
/// writes. Output: waits for the consumer. Delivered: with the consumer.
enum class BufferState { Announced, Input, Filling, Output, Delivered };

/// What BUFFER_INFO tells of a frame.
struct FrameRecord {
    bool newData = false;
    bool incomplete = false;
    bool largerThanBuffer = false;
    std::uint64_t frameId = 0;
    std::uint64_t linesFilled = 0;
    std::size_t sizeFilled = 0; ///< Bytes that arrived.
    std::size_t dataSize = 0;   ///< Bytes that were meant to arrive.
    FrameLayout layout;
    std::vector<ChunkPlace> chunks;
};

/// State and frame belong to the lock of the BufferQueues; the rest never changes.
class AnnouncedBuffer : public HandleObject
{
public:
    /// Memory of the consumer, which keeps it until the buffer is revoked.
    AnnouncedBuffer(void* memory, std::size_t size, void* userPointer)
        : memory_(memory), size_(size), userPointer_(userPointer)
    {
    }
    /// Memory of the producer, aligned to kAlignment. Throws std::bad_alloc.
    AnnouncedBuffer(std::size_t size, void* userPointer)
        : owned_(allocate(size)), memory_(owned_.get()), size_(size), userPointer_(userPointer)
    {
    }

    static constexpr std::size_t kAlignment = 64;

    void* memory() const { return memory_; }
    std::size_t size() const { return size_; }
    void* userPointer() const { return userPointer_; }
    bool ownsMemory() const { return owned_ != nullptr; }
    gentl::Handle handle() const { return handle_; }
    void setHandle(gentl::Handle handle) { handle_ = handle; }

    BufferState state = BufferState::Announced;
    std::uint64_t filling = 0; ///< Number of the present filling; tells a later one apart.
    FrameRecord frame;

private:
    struct Free {
        void operator()(void* memory) const { std::free(memory); }
    };
    static void* allocate(std::size_t size)
    {
        if (size > std::size_t{1} << 46) { // rounding up must not overflow
            throw std::bad_alloc();
        }
        void* memory =
            std::aligned_alloc(kAlignment, (size + kAlignment - 1) / kAlignment * kAlignment);
        if (memory == nullptr) {
            throw std::bad_alloc();
        }
        return memory;
    }

    const std::unique_ptr<void, Free> owned_;
    void* const memory_;
    const std::size_t size_;
    void* const userPointer_;
    gentl::Handle handle_ = nullptr;
};

} // namespace simulator::producer
