#include "simulator/gige/frame_store.h"

#include <algorithm>

namespace simulator::gige
{

void FrameStore::add(std::shared_ptr<SentFrame> frame)
{
    const base::Lock lock(mutex_);
    bytes_ += frame->size();
    frames_.push_back(std::move(frame));
    while (frames_.size() > 2 && (frames_.size() > kMostFrames || bytes_ > kMostBytes)) {
        bytes_ -= frames_.front()->size();
        frames_.pop_front();
    }
}

void FrameStore::clear()
{
    const base::Lock lock(mutex_);
    frames_.clear();
    bytes_ = 0;
}

std::shared_ptr<SentFrame> FrameStore::find(std::uint64_t blockId, bool extended) const
{
    const base::Lock lock(mutex_);
    const auto it = std::find_if(frames_.rbegin(), frames_.rend(), [&](const auto& frame) {
        return frame->blockId() == blockId && frame->isExtended() == extended;
    });
    return it == frames_.rend() ? nullptr : *it;
}

std::shared_ptr<FrameMemory> FramePool::take(std::size_t size)
{
    for (auto it = memories_.begin(); it != memories_.end(); ++it) {
        if (it->use_count() == 1) {
            auto memory = *it;
            if (memory->size() < size) {
                memories_.erase(it); // gives the old one back first
                memory.reset();
                break;
            }
            return memory;
        }
    }
    memories_.push_back(std::make_shared<FrameMemory>(size));
    return memories_.back();
}

} // namespace simulator::gige
