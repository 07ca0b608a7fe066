// ZelCam::Buffer over memory that a stream owns.
#pragma once

#include "base/fork_guard.h"
#include "base/mutex.h"
#include "core/buffer_memory.h"
#include "core/transport.h"
#include "zel_cam/buffer.h"
#include "zel_image/image.h"

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
        Spare,  ///< Given up for a newer frame; the transport takes it next.
    };
    static constexpr std::size_t kStates = 5;

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

private:
    friend class BufferPool;

    /// A field of the visible frame, or `fallback` in a forked child, where the mutex may be
    /// held for ever by a thread that stayed behind.
    template <class Value> Value field(Value FrameInfo::*member, Value fallback = {}) const
    {
        if (base::inForkedChild()) {
            return fallback;
        }
        const base::Lock lock(mutex_);
        return current_.*member;
    }
    void* memory() const
    {
        const base::Lock lock(mutex_);
        return memory_.data();
    }
    std::size_t memorySize() const
    {
        const base::Lock lock(mutex_);
        return memory_.size();
    }
    /// Gives back what it had before.
    BufferMemory setMemory(BufferMemory memory);
    /// Makes the delivered frame the visible one.
    void show(FrameInfo frame);

    // Guarded by the pool's lock.
    State state_ = State::Free;
    bool ofQueue_ = false;   ///< Made by AllocBufferQueue.
    bool wasQueued_ = false; ///< Until idleAll().
    BufferToken token_ = 0;
    FrameInfo delivered_;

    mutable base::Mutex mutex_; ///< Taken last.
    BufferMemory memory_ ZEL_GUARDED_BY(mutex_);
    FrameInfo current_ ZEL_GUARDED_BY(mutex_);
    ZelImage image_ ZEL_GUARDED_BY(mutex_){};
};

} // namespace core
