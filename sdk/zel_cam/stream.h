// ZelCam::Stream: one data stream of an opened device.
#pragma once

#include "../zel_err.h"
#include "../zel_export.h"

#include <cstdint>

namespace ZelCam
{

class Buffer;

/// Values of FlushBuffers, the queue operations of GenTL.
constexpr std::int64_t kFlushOutputDiscard = 1;
constexpr std::int64_t kFlushAllToInput = 2;
constexpr std::int64_t kFlushUnqueuedToInput = 3;
constexpr std::int64_t kFlushAllDiscard = 4;

/// Time-out of a wait without limit.
constexpr std::uint64_t kInfinite = ~std::uint64_t{0};

/// A data stream. Owned by its device. Every operation may be called from any thread; CancelBuffer,
/// StopAcquisition and Release may be called while another thread waits in GetBuffer and end that
/// wait. After Release every operation answers with a failure code (or 0 or null) and changes
/// nothing.
class ZEL_API Stream
{
public:
    /// Slot 0. Stops the acquisition, revokes all buffers and closes the stream.
    virtual void Release() = 0;
    /// Slot 1. Allocates and announces a buffer of `size` bytes, not queued. `userPointer` is not
    /// used. `err` (may be null) receives the code: -1009 for a size below 1, -1021 for more than
    /// the machine's memory. Null on failure.
    virtual Buffer* CreateBuffer(std::int64_t size, void* userPointer, ZelCamErr* err) = 0;
    virtual void reserved2() {}
    /// Slot 3. Takes a buffer that is in no queue out of the stream: -1022 while it is in one,
    /// -1009 for null, -1013 for a buffer that is not of this stream.
    virtual ZelCamErr RevokeBuffer(Buffer* buffer) = 0;
    /// Slot 4. Gives a buffer to the input queue, to be filled: -1004 when it is in a queue
    /// already, -1009 for null, -1013 for a buffer that is not of this stream.
    virtual ZelCamErr QueueBuffer(Buffer* buffer) = 0;
    /// Slot 5. Waits at most `timeoutMs` milliseconds (kInfinite: without limit) for the next
    /// filled buffer, which then belongs to the caller until it is queued again. Null with a code
    /// in `err` otherwise: -1011 after the time-out, -1012 when the wait was ended by CancelBuffer,
    /// StopAcquisition, Release or a signal handled in the waiting thread, -40006 or the
    /// transport's code when the device is gone, -1006 after Release. Frames that are ready come
    /// first, whatever else is true. Without an acquisition it waits all the same: another thread
    /// may start one.
    virtual Buffer* GetBuffer(std::uint64_t timeoutMs, ZelCamErr* err) = 0;
    /// Slot 6. Ends the waits of GetBuffer that are under way now; later waits are not affected.
    virtual ZelCamErr CancelBuffer() = 0;
    /// Slot 7. Moves buffers between the queues; `mode` is one of the kFlush values, else -1009.
    /// kFlushAllToInput also queues the buffers that the caller holds.
    virtual ZelCamErr FlushBuffers(std::int64_t mode) = 0;
    /// Slot 8. Locks the transport parameters, starts the host side, then runs the camera's
    /// AcquisitionStart. `frames` is the number of frames to acquire (kInfinite: until stopped),
    /// `flags` is 0. -1004 when started already, -1009 for no frames, -1013 with fewer buffers
    /// than GetMinNumBuffers, -1016 when a buffer is smaller than GetBufferSize now. What fails
    /// half-way is taken back.
    virtual ZelCamErr StartAcquisition(std::uint64_t frames, std::int64_t flags) = 0;
    /// Slot 9. The reverse of StartAcquisition. `flags` 0: finish the current frame; 1: at once.
    /// -1004 when not started. Buffers stay in their queues.
    virtual ZelCamErr StopAcquisition(std::int64_t flags) = 0;
    /// Slot 10. Allocates, announces and queues `count` buffers of the current payload size, in
    /// place of those of an earlier call, which are released first. -1009 for no buffers, -1021
    /// for more than the machine's memory or 65536, -1004 while acquiring.
    virtual ZelCamErr AllocBufferQueue(void* userPointer, std::uint64_t count) = 0;
    /// Slot 11. Frees what AllocBufferQueue allocated, wherever it is; without such buffers it does
    /// nothing. -1022 while acquiring.
    virtual ZelCamErr ReleaseBufferQueue() = 0;
    /// Slot 12. Number of buffers that AllocBufferQueue allocated.
    virtual std::uint64_t GetBufferQueueSize() = 0;
    virtual void reserved13() {}
    virtual void reserved14() {}
    virtual void reserved15() {}
    virtual void reserved16() {}
    virtual void reserved17() {}
    virtual void reserved18() {}
    virtual void reserved19() {}
    virtual void reserved20() {}
    virtual void reserved21() {}
    virtual void reserved22() {}
    /// Slot 23. Payload size in bytes of one frame with the camera's present settings.
    virtual std::uint64_t GetBufferSize() = 0;
    virtual void reserved24() {}
    /// Slot 25. The least number of buffers that an acquisition needs.
    virtual std::uint64_t GetMinNumBuffers() = 0;
    /// Slot 26. Alignment in bytes that the transport wants buffer memory to have.
    virtual std::uint64_t GetBufferAlignment() = 0;

protected:
    ~Stream() = default;
};

} // namespace ZelCam
