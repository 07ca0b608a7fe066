// The buffers of a data stream: announced, in the input pool, being filled, in the output queue,
// delivered.
#pragma once

#include "simulator/producer/announced_buffer.h"
#include "simulator/producer/event.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace simulator::producer
{

/// What happens to frames when the consumer is slow.
enum class HandlingMode : std::int64_t {
    OldestFirst = 0,          ///< Without a queued buffer the new frame is lost.
    OldestFirstOverwrite = 1, ///< The oldest waiting frame gives its buffer to the new one.
    NewestOnly = 2,           ///< Only the newest frame waits; older ones are queued again.
};

struct QueueCounts {
    std::size_t announced = 0;
    std::size_t queued = 0; ///< Input pool and being filled.
    std::size_t awaitingDelivery = 0;
};

/// A buffer being filled; given to the engine and back.
struct Filling {
    std::shared_ptr<AnnouncedBuffer> buffer; ///< Null: none was free.
    std::uint64_t number = 0;
};

/// Thread safe, with the lock of its wait point. The output queue is the queue of the stream's
/// new-buffer event; it exists without one, too.
class BufferQueues
{
public:
    explicit BufferQueues(HandleRegistry& handles);
    ~BufferQueues();
    BufferQueues(const BufferQueues&) = delete;
    BufferQueues& operator=(const BufferQueues&) = delete;

    const std::shared_ptr<WaitPoint>& waitPoint() const { return waitPoint_; }

    // The consumer's side.
    /// Gives the buffer its handle. Throws Failure -1004 when the memory is announced already, or
    /// when buffers of the other kind (own or foreign memory) are, -1006 after clear().
    gentl::Handle announce(const std::shared_ptr<AnnouncedBuffer>& buffer);
    /// Throws Failure -1022 unless the buffer is announced only or delivered, -1006 when it is not
    /// of this stream.
    void revoke(const std::shared_ptr<AnnouncedBuffer>& buffer);
    /// Into the input pool. Throws Failure -1004 in any other state, -1006 as above.
    void queue(const std::shared_ptr<AnnouncedBuffer>& buffer);
    /// Throws Failure -1009 for an unknown operation.
    void flush(std::int32_t operation);
    /// In the order of announcing. Throws Failure -1017.
    gentl::Handle handleAt(std::size_t index) const;
    /// A copy of state and frame. Throws Failure -1006 when the buffer is not of this stream.
    std::pair<BufferState, FrameRecord>
    snapshot(const std::shared_ptr<AnnouncedBuffer>& buffer) const;
    QueueCounts counts() const;
    std::size_t smallestSize() const; ///< All ones without buffers.
    /// Revokes everything, for good; nothing is written any more when it returns.
    void clear();

    void setMode(HandlingMode mode);

    // The engine's side.
    /// Signalled, under waitPoint()'s lock, when a buffer gets into the input pool; the engine
    /// signals it for its own reasons, too.
    std::condition_variable& engineWake() { return engineWake_; }
    /// Whether startFilling() would find a buffer; waitPoint()'s lock is held.
    bool canFill() const;
    /// Takes a buffer out of the input pool.
    Filling startFilling();
    /// Bytes may be written between these two; false: the buffer was taken away meanwhile.
    bool beginWriting(const Filling& filling);
    void endWriting();
    /// Into the output queue; false when the buffer was taken away meanwhile.
    bool deliver(const Filling& filling, FrameRecord frame);
    /// Back to the front of the input pool.
    void giveBack(const Filling& filling);

    // The output queue, for the event; waitPoint()'s lock is held.
    std::size_t waiting() const { return output_.size(); }
    std::uint64_t fired() const { return fired_; }
    gentl::NewBufferData takeOutput();
    void discardOutput();

private:
    using Buffer = std::shared_ptr<AnnouncedBuffer>;

    void makeRoom();
    void requireOwn(const Buffer& buffer) const;
    bool isCurrent(const Filling& filling) const;
    void toInput(const Buffer& buffer);
    void toOutput(const Buffer& buffer);
    void inputToOutput();
    void allToInput(bool outputToo);
    void discardAll(std::unique_lock<std::mutex>& lock);

    HandleRegistry& handles_;
    const std::shared_ptr<WaitPoint> waitPoint_;
    std::condition_variable engineWake_;
    HandlingMode mode_ = HandlingMode::OldestFirst;
    std::vector<Buffer> announced_;
    // With room for all that are announced: moving a buffer on needs no memory.
    std::vector<Buffer> input_;
    std::vector<Buffer> output_;
    std::uint64_t fillings_ = 0;
    bool writing_ = false;
    bool closed_ = false;
    std::uint64_t fired_ = 0;
};

} // namespace simulator::producer
