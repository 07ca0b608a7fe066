// The last frames of a stream, for packets that are asked for again.
#pragma once

#include "base/mutex.h"
#include "simulator/gige/sent_frame.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

namespace simulator::gige
{

/// Keeps at least two frames, at most kMostFrames, and not more than kMostBytes beyond two. Thread
/// safe.
class FrameStore
{
public:
    static constexpr std::size_t kMostFrames = 128;
    static constexpr std::size_t kMostBytes = std::size_t{128} << 20U;

    void add(std::shared_ptr<SentFrame> frame) ZEL_EXCLUDES(mutex_);
    void clear() ZEL_EXCLUDES(mutex_);
    /// The newest frame of this number; null when it is gone or never was.
    std::shared_ptr<SentFrame> find(std::uint64_t blockId, bool extended) const
        ZEL_EXCLUDES(mutex_);

private:
    mutable base::Mutex mutex_;
    std::deque<std::shared_ptr<SentFrame>> frames_ ZEL_GUARDED_BY(mutex_);
    std::size_t bytes_ ZEL_GUARDED_BY(mutex_) = 0;
};

/// Memory for frames that is used again when nobody holds it any more. One thread.
class FramePool
{
public:
    /// At least `size` bytes; throws std::bad_alloc.
    std::shared_ptr<FrameMemory> take(std::size_t size);

private:
    std::vector<std::shared_ptr<FrameMemory>> memories_;
};

} // namespace simulator::gige
