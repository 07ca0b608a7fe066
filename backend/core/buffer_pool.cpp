// All buffers of one stream: where each of them is, and the queue of those that are filled.
#include "core/buffer_pool.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace core
{

using base::Lock;

namespace
{

std::atomic<std::uint64_t> fetches{0};

/// The chunks of a frame whose memory may be read. The one that holds the image is left out: it is
/// large, and the user has it already.
std::vector<params::ChunkBytes> copyChunks(const FrameInfo& frame, const void* memory)
{
    std::vector<params::ChunkBytes> result;
    const auto* const base = static_cast<const unsigned char*>(memory);
    for (const ChunkPlace& chunk : frame.chunks) {
        const bool holdsImage = frame.deliveredSize > 0 && chunk.offset <= frame.imageOffset &&
                                frame.imageOffset - chunk.offset < chunk.size;
        if (!holdsImage) {
            const unsigned char* const begin = base + chunk.offset;
            result.push_back({chunk.id, {begin, begin + chunk.size}});
        }
    }
    return result;
}

} // namespace

BufferImpl* BufferPool::create(BufferMemory memory, bool ofQueue)
{
    if (memory.data() == nullptr) {
        return nullptr;
    }
    const Lock lock(mutex_);
    if (free_.empty()) {
        addShell();
    }
    kept_.reserve(kept_.size() + shells_.size());
    BufferImpl* const buffer = free_.back();
    byToken_.emplace(nextToken_, buffer);
    free_.pop_back();
    buffer->setMemory(std::move(memory));
    buffer->ofQueue_ = ofQueue;
    buffer->token_ = nextToken_++;
    move(*buffer, State::Idle);
    return buffer;
}

// With the room for it in every list, so that moving it between them cannot fail.
void BufferPool::addShell()
{
    const std::size_t count = shells_.size() + 1;
    if (shells_.capacity() < count) {
        shells_.reserve(2 * count);
    }
    free_.reserve(shells_.capacity());
    ready_.reserve(shells_.capacity());
    auto shell = std::make_unique<BufferImpl>();
    known_.emplace(shell.get(), shell.get());
    free_.push_back(shell.get());
    shells_.push_back(std::move(shell));
    ++inState_[static_cast<std::size_t>(State::Free)];
}

void BufferPool::release(BufferImpl* buffer, bool stillInUse)
{
    const Lock lock(mutex_);
    if (buffer->state_ == State::Ready) {
        ready_.erase(std::find(ready_.begin(), ready_.end(), buffer));
    }
    byToken_.erase(buffer->token_);
    BufferMemory memory = buffer->setMemory(BufferMemory());
    if (stillInUse) {
        kept_.push_back(std::move(memory));
    }
    buffer->delivered_ = FrameInfo();
    move(*buffer, State::Free);
    free_.push_back(buffer);
}

void BufferPool::freeKept()
{
    const Lock lock(mutex_);
    kept_.clear();
}

BufferImpl* BufferPool::find(const ZelCam::Buffer* buffer)
{
    const Lock lock(mutex_);
    const auto found = known_.find(buffer);
    return found != known_.end() && found->second->state_ != State::Free ? found->second : nullptr;
}

BufferImpl* BufferPool::at(std::size_t place)
{
    const Lock lock(mutex_);
    return place < shells_.size() ? shells_[place].get() : nullptr;
}

bool BufferPool::isAnnounced(const BufferImpl* buffer, bool ofQueue)
{
    const Lock lock(mutex_);
    return buffer->state_ != State::Free && buffer->ofQueue_ == ofQueue;
}

bool BufferPool::wasQueued(const BufferImpl* buffer)
{
    const Lock lock(mutex_);
    return buffer->wasQueued_;
}

BufferPool::State BufferPool::state(const BufferImpl* buffer)
{
    const Lock lock(mutex_);
    return buffer->state_;
}

BufferToken BufferPool::token(const BufferImpl* buffer)
{
    const Lock lock(mutex_);
    return buffer->token_;
}

std::size_t BufferPool::smallest()
{
    const Lock lock(mutex_);
    std::size_t smallest = 0;
    for (const auto& shell : shells_) {
        if (shell->state_ != State::Free) {
            const std::size_t size = shell->memorySize();
            smallest = smallest == 0 ? size : std::min(smallest, size);
        }
    }
    return smallest;
}

std::uint64_t BufferPool::queueSize()
{
    const Lock lock(mutex_);
    return static_cast<std::uint64_t>(
        std::count_if(shells_.begin(), shells_.end(), [](const auto& shell) {
            return shell->state_ != State::Free && shell->ofQueue_;
        }));
}

BufferCounters BufferPool::counters()
{
    const Lock lock(mutex_);
    BufferCounters counters;
    counters.delivered = delivered_;
    counters.incomplete = incomplete_;
    counters.skipped = skipped_;
    counters.queued = count(State::Queued) + count(State::Spare);
    counters.ready = count(State::Ready);
    counters.announced = count(State::Idle) + counters.queued + counters.ready;
    return counters;
}

void BufferPool::resetCounters()
{
    const Lock lock(mutex_);
    delivered_ = 0;
    incomplete_ = 0;
    skipped_ = 0;
}

ZelCamErr BufferPool::markQueued(BufferImpl* buffer)
{
    const Lock lock(mutex_);
    if (buffer->state_ != State::Idle) {
        return ZelErr::kGenTLResourceInUse;
    }
    move(*buffer, State::Queued);
    return ZelErr::kOk;
}

void BufferPool::markIdle(BufferImpl* buffer)
{
    const Lock lock(mutex_);
    if (buffer->state_ == State::Queued) {
        move(*buffer, State::Idle);
    }
}

void BufferPool::idleAll(bool readyToo)
{
    const Lock lock(mutex_);
    for (const auto& shell : shells_) {
        const State state = shell->state_;
        shell->wasQueued_ = state == State::Queued || state == State::Spare;
        if (shell->wasQueued_ || (readyToo && state == State::Ready)) {
            move(*shell, State::Idle);
        }
    }
    if (readyToo) {
        ready_.clear();
    }
}

void BufferPool::discardReady()
{
    const Lock lock(mutex_);
    for (BufferImpl* const buffer : ready_) {
        move(*buffer, State::Idle);
    }
    ready_.clear();
}

void BufferPool::done(BufferToken token, FrameInfo frame)
{
    {
        const Lock lock(mutex_);
        const auto found = byToken_.find(token);
        if (found == byToken_.end() || found->second->state_ != State::Queued) {
            return;
        }
        BufferImpl& buffer = *found->second;
        if (frame.empty) {
            move(buffer, State::Idle);
            return;
        }
        complete(frame, buffer.memorySize());
        ++delivered_;
        incomplete_ += frame.incomplete ? 1 : 0;
        buffer.delivered_ = std::move(frame);
        move(buffer, State::Ready);
        ready_.push_back(&buffer);
        makeRoom();
    }
    arrived_.notifyOne();
}

BufferToken BufferPool::takeSpare()
{
    const Lock lock(mutex_);
    if (count(State::Spare) == 0) {
        return 0;
    }
    for (const auto& shell : shells_) {
        if (shell->state_ == State::Spare) {
            move(*shell, State::Queued);
            return shell->token_;
        }
    }
    return 0;
}

void BufferPool::setMode(HandlingMode mode)
{
    const Lock lock(mutex_);
    mode_ = mode;
}

std::uint64_t BufferPool::newestFetch() { return fetches; }

void BufferPool::setGeometry(const FrameGeometry& geometry)
{
    const Lock lock(mutex_);
    geometry_ = geometry;
}

FetchedFrame BufferPool::fetch(std::uint64_t timeoutMs, ZelCamErr* code)
{
    using Result = InterruptibleCondition::Result;
    FetchedFrame frame;
    *code = ZelErr::kOk;
    Lock lock(mutex_);
    if (takeReady(&frame)) {
        return frame;
    }
    const std::uint64_t seen = cancellations_;
    const Deadline deadline(timeoutMs);
    for (Result result = Result::Woken;;) {
        // A frame wins over every reason to give up: whoever was woken for it takes it.
        if (takeReady(&frame)) {
            return frame;
        }
        if (cancellations_ != seen || result == Result::Interrupted) {
            *code = ZelErr::kGenTLAbort;
            return frame;
        }
        if (broken_ != ZelErr::kOk) {
            *code = broken_;
            return frame;
        }
        if (deadline.passed()) {
            *code = ZelErr::kGenTLTimeout;
            return frame;
        }
        result = arrived_.wait(lock.native(), deadline);
    }
}

void BufferPool::endWaits()
{
    {
        const Lock lock(mutex_);
        ++cancellations_;
    }
    arrived_.notifyAll();
}

void BufferPool::setBroken(ZelCamErr reason)
{
    {
        const Lock lock(mutex_);
        if (broken_ != ZelErr::kOk) {
            return; // A closed stream stays closed, and the first reason is the true one.
        }
        broken_ = reason;
    }
    arrived_.notifyAll();
}

void BufferPool::open()
{
    const Lock lock(mutex_);
    broken_ = ZelErr::kOk;
    geometry_ = FrameGeometry();
}

void BufferPool::close(ZelCamErr reason)
{
    {
        const Lock lock(mutex_);
        ++cancellations_;
        broken_ = reason;
    }
    arrived_.notifyAll();
}

ZelCamErr BufferPool::broken()
{
    const Lock lock(mutex_);
    return broken_;
}

// Fills in what the transport did not tell and cuts off what would reach beyond the memory.
void BufferPool::complete(FrameInfo& frame, std::size_t memorySize) const
{
    if (frame.width == 0 && frame.height == 0) {
        frame.width = geometry_.width;
        frame.height = geometry_.height;
        frame.xOffset = geometry_.xOffset;
        frame.yOffset = geometry_.yOffset;
    }
    if (frame.pixelFormat == 0) {
        frame.pixelFormat = geometry_.pixelFormat;
    }
    if (frame.imageOffset > memorySize) {
        frame.imageOffset = memorySize;
    }
    const std::uint64_t room = memorySize - frame.imageOffset;
    if (frame.deliveredSize > room) {
        frame.deliveredSize = room;
        frame.incomplete = true;
    }
    const auto outside = [memorySize](const ChunkPlace& chunk) {
        return chunk.offset > memorySize || chunk.size > memorySize - chunk.offset;
    };
    frame.chunks.erase(std::remove_if(frame.chunks.begin(), frame.chunks.end(), outside),
                       frame.chunks.end());
}

void BufferPool::move(BufferImpl& buffer, State state)
{
    --inState_[static_cast<std::size_t>(buffer.state_)];
    ++inState_[static_cast<std::size_t>(state)];
    buffer.state_ = state;
}

std::uint64_t BufferPool::count(State state) const
{
    return inState_[static_cast<std::size_t>(state)];
}

void BufferPool::skipOldest()
{
    move(*ready_.front(), State::Spare);
    ready_.erase(ready_.begin());
    ++skipped_;
}

void BufferPool::skipOutdated()
{
    while (mode_ == HandlingMode::NewestOnly && ready_.size() > 1) {
        skipOldest();
    }
}

// After a frame arrived: what waits makes way for what comes, as far as the mode wants it. The one
// that has just arrived stays.
void BufferPool::makeRoom()
{
    skipOutdated();
    if (mode_ == HandlingMode::OldestFirstOverwrite && ready_.size() > 1 &&
        count(State::Queued) + count(State::Spare) == 0) {
        skipOldest();
    }
}

bool BufferPool::takeReady(FetchedFrame* frame)
{
    if (ready_.empty()) {
        return false;
    }
    skipOutdated(); // The mode may have changed since the frames arrived.
    BufferImpl& buffer = *ready_.front();
    frame->chunks = copyChunks(buffer.delivered_, buffer.memory());
    frame->order = ++fetches;
    frame->buffer = &buffer;
    ready_.erase(ready_.begin());
    move(buffer, State::Idle);
    buffer.show(std::move(buffer.delivered_));
    return true;
}

} // namespace core
