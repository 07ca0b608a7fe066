// ZelCam::Buffer over memory that a stream owns.
#pragma once

#include "core/buffer_memory.h"
#include "core/transport.h"
#include "zel_cam/buffer.h"
#include "zel_image/image.h"

#include <mutex>

namespace core
{

/// A shell that its pool never destroys: revoked buffers lose their memory and wait to be used
/// again, so that a stale pointer answers zeros. What the user sees changes at the fetch, not when
/// the transport delivers.
class BufferImpl final : public ZelCam::Buffer
{
public:
    /// Where the buffer is. Guarded by the pool.
    enum class State {
        Free,   ///< No memory; not announced.
        Idle,   ///< Announced, in no queue: fresh, discarded, or with the user.
        Queued, ///< With the transport, to be filled.
        Ready,  ///< Filled, waiting to be fetched.
    };

    ZelImage* GetImage() override;
    std::int64_t GetImageOffset() override;
    void* GetBufferPtr() override;
    std::uint64_t GetBufferSize() override;
    std::uint32_t GetPixelFormat() override;
    std::uint64_t GetTimestamp() override;
    std::uint64_t GetFrameID() override;
    bool IsIncomplete() override;
    std::uint64_t GetWidth() override;
    std::uint64_t GetHeight() override;
    std::int64_t GetXOffset() override;
    std::int64_t GetYOffset() override;
    std::int64_t GetXPadding() override;
    std::int64_t GetYPadding() override;

    /// What the last fetch told; for core.
    std::vector<ChunkPlace> chunks() const;

private:
    friend class BufferPool;

    template <class Value> Value field(Value FrameInfo::*member) const
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return current_.*member;
    }
    /// Gives back what it had before.
    BufferMemory setMemory(BufferMemory memory);
    /// Makes the delivered frame the visible one.
    void show(FrameInfo frame);

    // Guarded by the pool's lock.
    State state_ = State::Free;
    bool ofQueue_ = false; ///< Made by AllocBufferQueue.
    BufferToken token_ = 0;
    FrameInfo delivered_;

    mutable std::mutex mutex_; // Guards what follows; taken last.
    BufferMemory memory_;
    FrameInfo current_;
    ZelImage image_{};
};

} // namespace core
