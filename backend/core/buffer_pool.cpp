// All buffers of one stream: where each of them is, and the queue of those that are filled.
#include "core/buffer_pool.h"

#include <algorithm>
#include <utility>

namespace core
{

using Lock = std::unique_lock<std::mutex>;
using Guard = std::lock_guard<std::mutex>;

BufferImpl* BufferPool::create(std::size_t size, std::uint64_t alignment, bool ofQueue)
{
    BufferMemory memory(size, alignment);
    if (memory.data() == nullptr) {
        return nullptr;
    }
    const Guard guard(mutex_);
    if (free_.empty()) {
        shells_.push_back(std::make_unique<BufferImpl>());
        BufferImpl* const shell = shells_.back().get();
        known_.emplace(shell, shell);
        free_.push_back(shell);
        ++inState_[static_cast<std::size_t>(State::Free)];
    }
    BufferImpl* const buffer = free_.back();
    free_.pop_back();
    buffer->setMemory(std::move(memory));
    buffer->ofQueue_ = ofQueue;
    buffer->token_ = nextToken_++;
    byToken_.emplace(buffer->token_, buffer);
    move(*buffer, State::Idle);
    return buffer;
}

void BufferPool::release(BufferImpl* buffer, bool stillInUse)
{
    const Guard guard(mutex_);
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
    const Guard guard(mutex_);
    kept_.clear();
}

BufferImpl* BufferPool::find(const ZelCam::Buffer* buffer)
{
    const Guard guard(mutex_);
    const auto found = known_.find(buffer);
    return found != known_.end() && found->second->state_ != State::Free ? found->second : nullptr;
}

std::vector<BufferImpl*> BufferPool::inState(std::initializer_list<State> states)
{
    const Guard guard(mutex_);
    std::vector<BufferImpl*> result;
    for (const auto& shell : shells_) {
        if (std::find(states.begin(), states.end(), shell->state_) != states.end()) {
            result.push_back(shell.get());
        }
    }
    return result;
}

std::vector<BufferImpl*> BufferPool::announced(bool ofQueue)
{
    const Guard guard(mutex_);
    std::vector<BufferImpl*> result;
    for (const auto& shell : shells_) {
        if (shell->state_ != State::Free && shell->ofQueue_ == ofQueue) {
            result.push_back(shell.get());
        }
    }
    return result;
}

BufferPool::State BufferPool::state(const BufferImpl* buffer)
{
    const Guard guard(mutex_);
    return buffer->state_;
}

BufferToken BufferPool::token(const BufferImpl* buffer)
{
    const Guard guard(mutex_);
    return buffer->token_;
}

std::size_t BufferPool::smallest()
{
    const Guard guard(mutex_);
    std::size_t smallest = 0;
    for (const auto& shell : shells_) {
        if (shell->state_ != State::Free) {
            const std::size_t size = shell->memory_.size();
            smallest = smallest == 0 ? size : std::min(smallest, size);
        }
    }
    return smallest;
}

std::uint64_t BufferPool::queueSize() { return announced(true).size(); }

BufferCounters BufferPool::counters()
{
    const Guard guard(mutex_);
    const auto count = [this](State state) { return inState_[static_cast<std::size_t>(state)]; };
    BufferCounters counters;
    counters.delivered = delivered_;
    counters.incomplete = incomplete_;
    counters.queued = count(State::Queued);
    counters.ready = count(State::Ready);
    counters.announced = count(State::Idle) + counters.queued + counters.ready;
    return counters;
}

void BufferPool::resetCounters()
{
    const Guard guard(mutex_);
    delivered_ = 0;
    incomplete_ = 0;
}

ZelCamErr BufferPool::markQueued(BufferImpl* buffer)
{
    const Guard guard(mutex_);
    if (buffer->state_ != State::Idle) {
        return ZelErr::kGenTLResourceInUse;
    }
    move(*buffer, State::Queued);
    return ZelErr::kOk;
}

void BufferPool::markIdle(BufferImpl* buffer)
{
    const Guard guard(mutex_);
    if (buffer->state_ == State::Queued) {
        move(*buffer, State::Idle);
    }
}

void BufferPool::idleAll(bool readyToo)
{
    const Guard guard(mutex_);
    for (const auto& shell : shells_) {
        if (shell->state_ == State::Queued || (readyToo && shell->state_ == State::Ready)) {
            move(*shell, State::Idle);
        }
    }
    if (readyToo) {
        ready_.clear();
    }
}

void BufferPool::discardReady()
{
    const Guard guard(mutex_);
    for (BufferImpl* const buffer : ready_) {
        move(*buffer, State::Idle);
    }
    ready_.clear();
}

void BufferPool::done(BufferToken token, FrameInfo frame)
{
    {
        const Guard guard(mutex_);
        const auto found = byToken_.find(token);
        if (found == byToken_.end() || found->second->state_ != State::Queued) {
            return;
        }
        BufferImpl& buffer = *found->second;
        if (frame.empty) {
            move(buffer, State::Idle);
            return;
        }
        complete(frame, buffer.memory_.size());
        ++delivered_;
        incomplete_ += frame.incomplete ? 1 : 0;
        buffer.delivered_ = std::move(frame);
        move(buffer, State::Ready);
        ready_.push_back(&buffer);
    }
    arrived_.notifyOne();
}

void BufferPool::setGeometry(const FrameGeometry& geometry)
{
    const Guard guard(mutex_);
    geometry_ = geometry;
}

BufferImpl* BufferPool::fetch(std::uint64_t timeoutMs, ZelCamErr* code)
{
    using Result = InterruptibleCondition::Result;
    Lock lock(mutex_);
    if (BufferImpl* const buffer = takeReady()) {
        *code = ZelErr::kOk;
        return buffer;
    }
    const std::uint64_t seen = cancellations_;
    const Deadline deadline(timeoutMs);
    for (Result result = Result::Woken;;) {
        // A frame wins over every reason to give up: whoever was woken for it takes it.
        if (BufferImpl* const buffer = takeReady()) {
            *code = ZelErr::kOk;
            return buffer;
        }
        if (cancellations_ != seen || result == Result::Interrupted) {
            *code = ZelErr::kGenTLAbort;
            return nullptr;
        }
        if (broken_ != ZelErr::kOk) {
            *code = broken_;
            return nullptr;
        }
        if (deadline.passed()) {
            *code = ZelErr::kGenTLTimeout;
            return nullptr;
        }
        result = arrived_.wait(lock, deadline);
    }
}

void BufferPool::endWaits()
{
    {
        const Guard guard(mutex_);
        ++cancellations_;
    }
    arrived_.notifyAll();
}

void BufferPool::setBroken(ZelCamErr reason)
{
    {
        const Guard guard(mutex_);
        if (broken_ != ZelErr::kOk) {
            return; // A closed stream stays closed, and the first reason is the true one.
        }
        broken_ = reason;
    }
    arrived_.notifyAll();
}

void BufferPool::open()
{
    const Guard guard(mutex_);
    broken_ = ZelErr::kOk;
    geometry_ = FrameGeometry();
    delivered_ = 0;
    incomplete_ = 0;
}

void BufferPool::close(ZelCamErr reason)
{
    {
        const Guard guard(mutex_);
        ++cancellations_;
        broken_ = reason;
    }
    arrived_.notifyAll();
}

ZelCamErr BufferPool::broken()
{
    const Guard guard(mutex_);
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

BufferImpl* BufferPool::takeReady()
{
    if (ready_.empty()) {
        return nullptr;
    }
    BufferImpl* const buffer = ready_.front();
    ready_.pop_front();
    move(*buffer, State::Idle);
    buffer->show(std::move(buffer->delivered_));
    return buffer;
}

} // namespace core
