// The new-buffer event of a data stream: its queue is the output queue.
#pragma once

#include "simulator/producer/buffer_queues.h"
#include "simulator/producer/event.h"

#include <memory>

namespace simulator::producer
{

class NewBufferEvent final : public Event
{
public:
    explicit NewBufferEvent(std::shared_ptr<BufferQueues> queues);

protected:
    std::size_t pending() const override { return queues_->waiting(); }
    std::uint64_t fired() const override { return queues_->fired() - firedBefore_; }
    std::size_t nextSize() const override { return sizeof(gentl::NewBufferData); }
    std::size_t maxSize() const override { return sizeof(gentl::NewBufferData); }
    void takeNext(void* data) override;
    void discardAll() override { queues_->discardOutput(); }

private:
    const std::shared_ptr<BufferQueues> queues_;
    std::uint64_t firedBefore_; ///< Buffers that wait already belong to this registration.
};

} // namespace simulator::producer
