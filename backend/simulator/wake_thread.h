// A thread that calls when it is time.
#pragma once

#include "base/mutex.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <thread>

namespace simulator
{

/// Thread safe. The thread is started when a time is first set; where there is none to be had,
/// nobody is called. One call at a time, with no lock held; destruction waits for it.
class WakeThread
{
public:
    using Clock = std::chrono::steady_clock;
    static constexpr Clock::time_point kNever = Clock::time_point::max();

    explicit WakeThread(std::function<void()> wake) : wake_(std::move(wake)) {}
    ~WakeThread();
    WakeThread(const WakeThread&) = delete;
    WakeThread& operator=(const WakeThread&) = delete;

    /// Calls once at this time, instead of at the time set before.
    void wakeAt(Clock::time_point time);

private:
    void run();

    const std::function<void()> wake_;
    base::Mutex mutex_;
    std::condition_variable changed_;
    Clock::time_point time_ ZEL_GUARDED_BY(mutex_) = kNever;
    bool ends_ ZEL_GUARDED_BY(mutex_) = false;
    std::thread thread_ ZEL_GUARDED_BY(mutex_);
};

} // namespace simulator
