// One wait for all kinds of events.
#include "simulator/producer/event.h"

#include "simulator/producer/failure.h"

#include <chrono>
#include <utility>

namespace simulator::producer
{

Event::Event(gentl::EventType type, std::shared_ptr<WaitPoint> waitPoint)
    : type_(type), waitPoint_(std::move(waitPoint))
{
}

void Event::fetch(void* data, std::size_t* size, std::uint64_t timeoutMs)
{
    requireParameter(size != nullptr, "the size pointer is null");
    std::unique_lock lock(waitPoint_->mutex);
    waitForData(lock, timeoutMs);
    const std::size_t needed = nextSize();
    if (data != nullptr && *size < needed) {
        throw Failure(gentl::err::kBufferTooSmall,
                      "the event's data need " + std::to_string(needed) + " bytes");
    }
    takeNext(data);
    *size = needed;
}

void Event::waitForData(std::unique_lock<std::mutex>& lock, std::uint64_t timeoutMs)
{
    using Clock = std::chrono::steady_clock;
    // A year is beyond every wait, and adding it overflows no clock.
    constexpr std::uint64_t kLongest = 365ULL * 24 * 3600 * 1000;
    const bool forever = timeoutMs > kLongest;
    const auto deadline = Clock::now() + std::chrono::milliseconds(forever ? 0 : timeoutMs);
    for (;;) {
        if (closed_) {
            throw Failure(gentl::err::kAbort, "the event was unregistered");
        }
        if (kills_ > 0) {
            --kills_;
            throw Failure(gentl::err::kAbort, "the wait was ended");
        }
        if (pending() > 0) {
            return;
        }
        if (ended_) {
            throw Failure(gentl::err::kAbort, "the source of the event is gone");
        }
        if (forever) {
            waitPoint_->changed.wait(lock);
        } else if (Clock::now() >= deadline) {
            throw Failure(gentl::err::kTimeout, "no event within the time");
        } else {
            waitPoint_->changed.wait_until(lock, deadline);
        }
    }
}

InfoValue Event::info(std::int32_t command)
{
    const std::lock_guard lock(waitPoint_->mutex);
    switch (command) {
    case gentl::kEventInfoType:
        return InfoValue::int32(type_);
    case gentl::kEventInfoNumInQueue:
        return InfoValue::size(pending());
    case gentl::kEventInfoNumFired:
        return InfoValue::uint64(fired());
    case gentl::kEventInfoSizeMax:
    case gentl::kEventInfoDataSizeMax:
        return InfoValue::size(maxSize());
    default:
        throw Failure(gentl::err::kInvalidParameter, "unknown event info command");
    }
}

void Event::flush()
{
    const std::lock_guard lock(waitPoint_->mutex);
    discardAll();
}

void Event::kill()
{
    const std::lock_guard lock(waitPoint_->mutex);
    ++kills_;
    waitPoint_->changed.notify_all();
}

void Event::end()
{
    const std::lock_guard lock(waitPoint_->mutex);
    ended_ = true;
    waitPoint_->changed.notify_all();
}

void Event::close()
{
    const std::lock_guard lock(waitPoint_->mutex);
    closed_ = true;
    discardAll();
    waitPoint_->changed.notify_all();
}

} // namespace simulator::producer
