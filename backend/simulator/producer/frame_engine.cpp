// The thread that carries frames: wait for the start, fill, wait for the end, deliver.
#include "simulator/producer/frame_engine.h"

#include "base/thread.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

namespace simulator::producer
{

namespace
{

std::size_t lineSize(const FrameLayout& layout)
{
    return layout.height == 0 ? 0 : layout.imageSize / layout.height;
}

/// The first `lines` lines are there; what lies behind them is not.
void makeIncomplete(FrameRecord* record, std::uint64_t lines)
{
    record->incomplete = true;
    record->linesFilled = std::min(lines, record->linesFilled);
    record->sizeFilled =
        std::min<std::size_t>(record->sizeFilled, record->linesFilled * lineSize(record->layout));
    record->chunks.clear();
}

} // namespace

FrameEngine::FrameEngine(CameraModel& camera, BufferQueues& queues)
    : camera_(camera), queues_(queues)
{
}

FrameEngine::~FrameEngine() { stop(true); }

void FrameEngine::start(std::uint64_t frames)
{
    {
        const std::lock_guard lock(queues_.waitPoint()->mutex);
        stop_ = abandoned_ ? Stop::Abandon : Stop::None;
        due_ = false;
        cameraStopped_ = false;
    }
    counts_.delivered = 0;
    remaining_ = frames;
    thread_ = base::startThread("zel-frames", [this] { run(); });
}

void FrameEngine::stop(bool kill)
{
    if (thread_.joinable()) {
        requestStop(kill);
        thread_.join();
    }
}

void FrameEngine::requestStop(bool kill) { raise(kill ? Stop::Kill : Stop::Finish); }

void FrameEngine::abandon()
{
    {
        const std::lock_guard lock(queues_.waitPoint()->mutex);
        abandoned_ = true;
    }
    raise(Stop::Abandon);
}

void FrameEngine::raise(Stop stop)
{
    const std::lock_guard lock(queues_.waitPoint()->mutex);
    stop_ = std::max(stop_, stop);
    queues_.engineWake().notify_all();
}

void FrameEngine::frameDue()
{
    const std::lock_guard lock(queues_.waitPoint()->mutex);
    due_ = true;
    queues_.engineWake().notify_all();
}

void FrameEngine::cameraStopped()
{
    const std::lock_guard lock(queues_.waitPoint()->mutex);
    cameraStopped_ = true;
    queues_.engineWake().notify_all();
}

FrameEngine::Clock::time_point FrameEngine::hostTime(std::uint64_t cameraNs) const
{
    const auto ahead = static_cast<std::int64_t>(cameraNs - camera_.now());
    return Clock::now() + std::chrono::nanoseconds(ahead);
}

void FrameEngine::run()
{
    while (remaining_ > 0) {
        {
            const std::lock_guard lock(queues_.waitPoint()->mutex);
            if (stop_ != Stop::None) {
                return;
            }
            due_ = false;
        }
        try {
            const FramePlan plan = camera_.nextFrame();
            if (plan.expose) {
                carry(plan);
            } else {
                waitForFrame();
            }
        } catch (const std::bad_alloc&) {
            ++counts_.lost;
            std::this_thread::yield(); // memory may come back
        }
    }
}

void FrameEngine::waitForFrame()
{
    std::unique_lock lock(queues_.waitPoint()->mutex);
    queues_.engineWake().wait(lock, [this] { return due_ || stop_ != Stop::None; });
}

/// False when the frame is not to be exposed any more.
bool FrameEngine::waitForStart(const FramePlan& plan)
{
    const auto start = hostTime(plan.startNs);
    std::unique_lock lock(queues_.waitPoint()->mutex);
    cameraStopped_ = false;
    const auto isOver = [this] { return cameraStopped_ || stop_ != Stop::None; };
    return !queues_.engineWake().wait_until(lock, start, isOver);
}

/// Without a queued buffer there is time until the frame has to be complete.
Filling FrameEngine::waitForBuffer(const FramePlan& plan)
{
    const auto ready = hostTime(plan.readyNs);
    {
        std::unique_lock lock(queues_.waitPoint()->mutex);
        queues_.engineWake().wait_until(
            lock, ready, [this] { return queues_.canFill() || stop_ != Stop::None; });
    }
    return queues_.startFilling();
}

FrameEngine::Stop FrameEngine::waitUntil(std::uint64_t cameraNs)
{
    const auto time = hostTime(cameraNs);
    std::unique_lock lock(queues_.waitPoint()->mutex);
    queues_.engineWake().wait_until(lock, time, [this] { return stop_ != Stop::None; });
    return stop_;
}

FrameEngine::Stop FrameEngine::waitUntilReady(const FramePlan& plan)
{
    if (waitUntil(plan.exposureEndNs) == Stop::None) {
        camera_.exposureEnded(plan);
    }
    return waitUntil(plan.readyNs);
}

void FrameEngine::carry(const FramePlan& plan)
{
    if (!waitForStart(plan)) {
        camera_.frameDone(plan);
        return;
    }
    camera_.frameStarted(plan);
    ++counts_.started;
    if (plan.lost) {
        waitUntilReady(plan);
        ++counts_.lost;
        camera_.frameDone(plan);
        return;
    }
    const Filling filling = waitForBuffer(plan);
    if (!filling.buffer) {
        ++counts_.underrun;
        camera_.frameDropped(plan);
        return;
    }
    FrameRecord record;
    if (queues_.beginWriting(filling)) {
        try {
            record = fill(plan, *filling.buffer);
        } catch (const std::bad_alloc&) {
            queues_.endWriting();
            giveUp(plan, filling);
            throw; // counted by the caller
        }
        queues_.endWriting();
    }
    try {
        finish(plan, filling, std::move(record));
    } catch (const std::bad_alloc&) {
        giveUp(plan, filling);
        throw;
    }
    camera_.frameDone(plan);
}

void FrameEngine::giveUp(const FramePlan& plan, const Filling& filling)
{
    queues_.giveBack(filling);
    camera_.frameDone(plan);
}

FrameRecord FrameEngine::render(const FramePlan& plan, void* memory, std::size_t capacity)
{
    constexpr std::size_t kMaxChunks = 32;
    FrameRecord record;
    const FrameLayout& layout = record.layout;
    const gentl::Error code = camera_.render(plan, memory, capacity, &record.layout);
    record.newData = true;
    record.frameId = plan.frameId;
    record.dataSize = layout.size;
    record.sizeFilled = std::min<std::size_t>(layout.size, capacity);
    record.linesFilled = layout.height;
    if (code == gentl::err::kSuccess) {
        record.chunks.resize(kMaxChunks);
        const std::size_t count = camera_.chunks(layout, record.chunks.data(), kMaxChunks);
        record.chunks.resize(std::min(count, kMaxChunks));
    } else {
        record.largerThanBuffer = layout.size > capacity;
        makeIncomplete(&record, capacity / std::max<std::size_t>(lineSize(layout), 1));
        record.sizeFilled = std::min<std::size_t>(layout.size, capacity);
    }
    return record;
}

FrameRecord FrameEngine::fill(const FramePlan& plan, const AnnouncedBuffer& buffer)
{
    if (!plan.incomplete) {
        return render(plan, buffer.memory(), buffer.size());
    }
    // The lines that do not arrive must not appear in the consumer's memory.
    std::vector<unsigned char> whole(buffer.size());
    FrameRecord record = render(plan, whole.data(), whole.size());
    if (plan.lines < record.linesFilled) {
        makeIncomplete(&record, plan.lines);
    }
    std::memcpy(buffer.memory(), whole.data(), record.sizeFilled);
    return record;
}

void FrameEngine::finish(const FramePlan& plan, const Filling& filling, FrameRecord record)
{
    const Stop stop = waitUntilReady(plan);
    const bool isWhole = camera_.now() >= plan.readyNs;
    if (stop == Stop::Abandon || (stop == Stop::Finish && !isWhole)) {
        queues_.giveBack(filling);
        ++counts_.lost;
        return;
    }
    if (stop == Stop::Kill) {
        cutShort(plan, &record);
    }
    const bool incomplete = record.incomplete;
    // Counted first: who has the frame finds it counted.
    ++counts_.delivered;
    counts_.incomplete += incomplete ? 1 : 0;
    if (queues_.deliver(filling, std::move(record))) {
        --remaining_;
    } else {
        --counts_.delivered;
        counts_.incomplete -= incomplete ? 1 : 0;
        ++counts_.lost;
    }
}

/// As many lines as had arrived by now.
void FrameEngine::cutShort(const FramePlan& plan, FrameRecord* record) const
{
    const std::uint64_t now = camera_.now();
    if (now >= plan.readyNs || plan.readyNs <= plan.startNs) {
        return;
    }
    const double part = now <= plan.startNs ? 0.0
                                            : static_cast<double>(now - plan.startNs) /
                                                  static_cast<double>(plan.readyNs - plan.startNs);
    makeIncomplete(record,
                   static_cast<std::uint64_t>(part * static_cast<double>(record->layout.height)));
}

} // namespace simulator::producer
