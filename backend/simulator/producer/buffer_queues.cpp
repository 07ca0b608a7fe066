// The ways of a buffer between announced, input, filling, output and delivered.
#include "simulator/producer/buffer_queues.h"

#include "simulator/producer/failure.h"

#include <algorithm>
#include <utility>

namespace simulator::producer
{

BufferQueues::BufferQueues(HandleRegistry& handles)
    : handles_(handles), waitPoint_(std::make_shared<WaitPoint>())
{
}

BufferQueues::~BufferQueues() = default;

gentl::Handle BufferQueues::announce(const Buffer& buffer)
{
    const std::lock_guard lock(waitPoint_->mutex);
    if (closed_) {
        throw Failure(gentl::err::kInvalidHandle, "the stream was closed");
    }
    for (const Buffer& other : announced_) {
        if (other->memory() == buffer->memory()) {
            throw Failure(gentl::err::kResourceInUse, "the memory is announced already");
        }
        if (other->ownsMemory() != buffer->ownsMemory()) {
            throw Failure(gentl::err::kResourceInUse,
                          "buffers with memory of producer and consumer cannot be mixed");
        }
    }
    makeRoom();
    buffer->setHandle(handles_.add(buffer));
    announced_.push_back(buffer);
    return buffer->handle();
}

void BufferQueues::makeRoom()
{
    const std::size_t count = announced_.size() + 1;
    if (announced_.capacity() < count) {
        announced_.reserve(2 * count);
    }
    input_.reserve(announced_.capacity());
    output_.reserve(announced_.capacity());
}

void BufferQueues::requireOwn(const Buffer& buffer) const
{
    if (std::find(announced_.begin(), announced_.end(), buffer) == announced_.end()) {
        throw Failure(gentl::err::kInvalidHandle, "the buffer is not of this stream");
    }
}

void BufferQueues::revoke(const Buffer& buffer)
{
    const std::lock_guard lock(waitPoint_->mutex);
    requireOwn(buffer);
    if (buffer->state != BufferState::Announced && buffer->state != BufferState::Delivered) {
        throw Failure(gentl::err::kBusy, "the buffer is queued");
    }
    announced_.erase(std::find(announced_.begin(), announced_.end(), buffer));
    handles_.remove(buffer->handle());
}

void BufferQueues::queue(const Buffer& buffer)
{
    const std::lock_guard lock(waitPoint_->mutex);
    requireOwn(buffer);
    if (buffer->state != BufferState::Announced && buffer->state != BufferState::Delivered) {
        throw Failure(gentl::err::kResourceInUse, "the buffer is queued already");
    }
    toInput(buffer);
}

void BufferQueues::toInput(const Buffer& buffer)
{
    buffer->state = BufferState::Input;
    buffer->frame.newData = false;
    input_.push_back(buffer);
    engineWake_.notify_all();
}

void BufferQueues::toOutput(const Buffer& buffer)
{
    buffer->state = BufferState::Output;
    output_.push_back(buffer);
    ++fired_;
    waitPoint_->changed.notify_all();
}

void BufferQueues::flush(std::int32_t operation)
{
    std::unique_lock lock(waitPoint_->mutex);
    switch (operation) {
    case gentl::kQueueInputToOutput:
        return inputToOutput();
    case gentl::kQueueOutputDiscard:
        return discardOutput();
    case gentl::kQueueAllToInput:
        return allToInput(true);
    case gentl::kQueueUnqueuedToInput:
        return allToInput(false);
    case gentl::kQueueAllDiscard:
        return discardAll(lock);
    default:
        throw Failure(gentl::err::kInvalidParameter, "unknown flush operation");
    }
}

void BufferQueues::inputToOutput()
{
    for (const Buffer& buffer : input_) {
        toOutput(buffer);
    }
    input_.clear();
}

void BufferQueues::discardOutput()
{
    for (const Buffer& buffer : output_) {
        buffer->state = BufferState::Announced;
    }
    output_.clear();
}

void BufferQueues::allToInput(bool outputToo)
{
    if (outputToo) {
        discardOutput();
    }
    for (const Buffer& buffer : announced_) {
        if (buffer->state == BufferState::Announced || buffer->state == BufferState::Delivered) {
            toInput(buffer);
        }
    }
}

void BufferQueues::discardAll(std::unique_lock<std::mutex>& lock)
{
    discardOutput();
    for (const Buffer& buffer : announced_) {
        if (buffer->state == BufferState::Input || buffer->state == BufferState::Filling) {
            buffer->state = BufferState::Announced;
        }
    }
    input_.clear();
    // The memory is the consumer's from now on: no byte may be written into it any more.
    waitPoint_->changed.wait(lock, [this] { return !writing_; });
}

void BufferQueues::clear()
{
    std::unique_lock lock(waitPoint_->mutex);
    closed_ = true;
    discardAll(lock);
    for (const Buffer& buffer : announced_) {
        handles_.remove(buffer->handle());
    }
    announced_.clear();
}

gentl::Handle BufferQueues::handleAt(std::size_t index) const
{
    const std::lock_guard lock(waitPoint_->mutex);
    if (index >= announced_.size()) {
        throw Failure(gentl::err::kInvalidIndex, "no buffer at this index");
    }
    return announced_[index]->handle();
}

std::pair<BufferState, FrameRecord> BufferQueues::snapshot(const Buffer& buffer) const
{
    const std::lock_guard lock(waitPoint_->mutex);
    requireOwn(buffer);
    return {buffer->state, buffer->frame};
}

QueueCounts BufferQueues::counts() const
{
    const std::lock_guard lock(waitPoint_->mutex);
    const auto filling =
        std::count_if(announced_.begin(), announced_.end(),
                      [](const Buffer& buffer) { return buffer->state == BufferState::Filling; });
    return {announced_.size(), input_.size() + static_cast<std::size_t>(filling), output_.size()};
}

std::size_t BufferQueues::smallestSize() const
{
    const std::lock_guard lock(waitPoint_->mutex);
    std::size_t smallest = ~std::size_t{0};
    for (const Buffer& buffer : announced_) {
        smallest = std::min(smallest, buffer->size());
    }
    return smallest;
}

void BufferQueues::setMode(HandlingMode mode)
{
    const std::lock_guard lock(waitPoint_->mutex);
    mode_ = mode;
}

bool BufferQueues::canFill() const
{
    return !input_.empty() || (mode_ != HandlingMode::OldestFirst && !output_.empty());
}

Filling BufferQueues::startFilling()
{
    const std::lock_guard lock(waitPoint_->mutex);
    if (!canFill()) {
        return {};
    }
    if (input_.empty()) {
        toInput(output_.front());
        output_.erase(output_.begin());
    }
    const Buffer buffer = input_.front();
    input_.erase(input_.begin());
    buffer->state = BufferState::Filling;
    buffer->filling = ++fillings_;
    return {buffer, buffer->filling};
}

bool BufferQueues::isCurrent(const Filling& filling) const
{
    return filling.buffer->state == BufferState::Filling &&
           filling.buffer->filling == filling.number;
}

bool BufferQueues::beginWriting(const Filling& filling)
{
    const std::lock_guard lock(waitPoint_->mutex);
    writing_ = isCurrent(filling);
    return writing_;
}

void BufferQueues::endWriting()
{
    const std::lock_guard lock(waitPoint_->mutex);
    writing_ = false;
    waitPoint_->changed.notify_all();
}

bool BufferQueues::deliver(const Filling& filling, FrameRecord frame)
{
    const std::lock_guard lock(waitPoint_->mutex);
    if (!isCurrent(filling)) {
        return false;
    }
    filling.buffer->frame = std::move(frame);
    if (mode_ == HandlingMode::NewestOnly) {
        for (const Buffer& older : output_) {
            toInput(older);
        }
        output_.clear();
    }
    toOutput(filling.buffer);
    return true;
}

void BufferQueues::giveBack(const Filling& filling)
{
    const std::lock_guard lock(waitPoint_->mutex);
    if (isCurrent(filling)) {
        filling.buffer->state = BufferState::Input;
        input_.insert(input_.begin(), filling.buffer);
    }
}

gentl::NewBufferData BufferQueues::takeOutput()
{
    const Buffer buffer = output_.front();
    output_.erase(output_.begin());
    buffer->state = BufferState::Delivered;
    return {buffer->handle(), buffer->userPointer()};
}

} // namespace simulator::producer
