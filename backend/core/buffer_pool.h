// All buffers of one stream: where each of them is, and the queue of those that are filled.
#pragma once

#include "base/mutex.h"
#include "core/buffer_impl.h"
#include "core/handling_mode.h"
#include "core/interruptible_condition.h"
#include "params/param_array.h"

#include <array>
#include <memory>
#include <unordered_map>
#include <vector>

namespace core
{

/// Frame geometry from the camera's features, for transports that do not tell it.
struct FrameGeometry {
    std::uint64_t width = 0;
    std::uint64_t height = 0;
    std::int64_t xOffset = 0;
    std::int64_t yOffset = 0;
    std::uint32_t pixelFormat = 0;
};

/// Counters of one acquisition, and how many buffers are where.
struct BufferCounters {
    std::uint64_t delivered = 0; ///< Frames put into the ready queue.
    std::uint64_t incomplete = 0;
    std::uint64_t skipped = 0; ///< Delivered, and given up for newer ones.
    std::uint64_t announced = 0;
    std::uint64_t queued = 0;
    std::uint64_t ready = 0;
};

/// A frame on its way to the user.
struct FetchedFrame {
    BufferImpl* buffer = nullptr;
    /// Rises from fetch to fetch over all streams of the process.
    std::uint64_t order = 0;
    /// Copies: the memory is the user's from the fetch on, and gone when another thread revokes it.
    std::vector<params::ChunkBytes> chunks;
};

/// Buffer states and the ready queue of a stream. Thread safe; one lock, held for moments only and
/// never while the transport is called. Shells are kept and used again. Only create() and fetch()
/// need memory: what gives buffers back works without.
class BufferPool
{
public:
    using State = BufferImpl::State;

    /// A new idle buffer over `memory`; null when that is empty. Throws bad_alloc, and has changed
    /// nothing then.
    BufferImpl* create(BufferMemory memory, bool ofQueue);
    /// Takes the memory away and forgets the buffer. `stillInUse`: the transport did not let go of
    /// the memory, which is then kept until freeKept().
    void release(BufferImpl* buffer, bool stillInUse);
    /// The transport is gone, and with it whatever it still used.
    void freeKept();
    /// The buffer behind a pointer from outside, or null when it is none of ours or not announced.
    BufferImpl* find(const ZelCam::Buffer* buffer);
    /// Calls `body` with every shell that is there, announced or not, and without the lock.
    template <class Body> void forEach(Body&& body)
    {
        for (std::size_t place = 0; BufferImpl* const shell = at(place); ++place) {
            body(shell);
        }
    }
    State state(const BufferImpl* buffer);
    /// Announced by AllocBufferQueue, or by somebody else; false for a shell that is not announced.
    bool isAnnounced(const BufferImpl* buffer, bool ofQueue);
    /// The buffer was to be filled when idleAll() was called last.
    bool wasQueued(const BufferImpl* buffer);
    BufferToken token(const BufferImpl* buffer);
    /// Size of the smallest announced buffer; 0 without one.
    std::size_t smallest();
    std::uint64_t queueSize();
    BufferCounters counters();
    void resetCounters();

    /// Idle to queued; -1004 when it is in a queue already. To be called before the transport gets
    /// it, for it may come back at once.
    ZelCamErr markQueued(BufferImpl* buffer);
    /// Queued (and, with `readyToo`, ready) to idle, for buffers that the transport gave back.
    void markIdle(BufferImpl* buffer);
    void idleAll(bool readyToo);
    /// Empties the ready queue; the buffers become idle.
    void discardReady();

    /// From the transport: a buffer came back. Unknown and stale tokens are ignored.
    void done(BufferToken token, FrameInfo frame);
    /// For the transport: a buffer that it is to fill again, from now on queued; 0 without one.
    BufferToken takeSpare();
    void setGeometry(const FrameGeometry& geometry);
    void setMode(HandlingMode mode);

    /// Takes the next filled buffer. Waits until there is one, the deadline passes (-1011), the
    /// waits are ended (-1012), a signal was handled (-1012) or the stream is broken (its reason).
    FetchedFrame fetch(std::uint64_t timeoutMs, ZelCamErr* code);
    /// The order of the newest fetch in the process.
    static std::uint64_t newestFetch();
    /// Ends the fetches that wait now.
    void endWaits();
    /// From now on a fetch that finds no frame ends with `reason`. The first reason stays.
    void setBroken(ZelCamErr reason);
    /// Ends the waits with -1012 and all later fetches that find no frame with `reason`.
    void close(ZelCamErr reason);
    /// Back to life after close(); a pool starts closed.
    void open();
    ZelCamErr broken();

private:
    /// Null behind the last; shells keep their places.
    BufferImpl* at(std::size_t place);
    void addShell() ZEL_REQUIRES(mutex_);
    void complete(FrameInfo& frame, std::size_t memorySize) const ZEL_REQUIRES(mutex_);
    void move(BufferImpl& buffer, State state) ZEL_REQUIRES(mutex_);
    std::uint64_t count(State state) const ZEL_REQUIRES(mutex_);
    void skipOldest() ZEL_REQUIRES(mutex_);
    void skipOutdated() ZEL_REQUIRES(mutex_);
    void makeRoom() ZEL_REQUIRES(mutex_);
    bool takeReady(FetchedFrame* frame) ZEL_REQUIRES(mutex_);

    base::Mutex mutex_;
    InterruptibleCondition arrived_;
    std::vector<std::unique_ptr<BufferImpl>> shells_ ZEL_GUARDED_BY(mutex_);
    std::vector<BufferImpl*> free_ ZEL_GUARDED_BY(mutex_);
    std::vector<BufferMemory> kept_ ZEL_GUARDED_BY(mutex_);
    std::unordered_map<const ZelCam::Buffer*, BufferImpl*> known_ ZEL_GUARDED_BY(mutex_);
    std::unordered_map<BufferToken, BufferImpl*> byToken_ ZEL_GUARDED_BY(mutex_);
    std::vector<BufferImpl*> ready_ ZEL_GUARDED_BY(mutex_); ///< Oldest first; few.
    std::array<std::uint64_t, BufferImpl::kStates> inState_ ZEL_GUARDED_BY(mutex_){};
    FrameGeometry geometry_ ZEL_GUARDED_BY(mutex_);
    HandlingMode mode_ ZEL_GUARDED_BY(mutex_) = HandlingMode::OldestFirst;
    BufferToken nextToken_ ZEL_GUARDED_BY(mutex_) = 1;
    std::uint64_t delivered_ ZEL_GUARDED_BY(mutex_) = 0;
    std::uint64_t incomplete_ ZEL_GUARDED_BY(mutex_) = 0;
    std::uint64_t skipped_ ZEL_GUARDED_BY(mutex_) = 0;
    std::uint64_t cancellations_ ZEL_GUARDED_BY(mutex_) = 0;
    ZelCamErr broken_ ZEL_GUARDED_BY(mutex_) = ZelErr::kGenTLInvalidHandle;
};

} // namespace core
