// Fetching from the output queue.
#include "simulator/producer/new_buffer_event.h"

#include <cstring>
#include <utility>

namespace simulator::producer
{

NewBufferEvent::NewBufferEvent(std::shared_ptr<BufferQueues> queues)
    : Event(gentl::kEventNewBuffer, queues->waitPoint()), queues_(std::move(queues))
{
    const std::lock_guard lock(waitPoint().mutex);
    firedBefore_ = queues_->fired() - queues_->waiting();
}

void NewBufferEvent::takeNext(void* data)
{
    const gentl::NewBufferData taken = queues_->takeOutput();
    if (data != nullptr) {
        std::memcpy(data, &taken, sizeof taken);
    }
}

} // namespace simulator::producer
