// A thread that calls when it is time.
#include "simulator/wake_thread.h"

#include "base/thread.h"

namespace simulator
{

WakeThread::~WakeThread()
{
    std::thread thread;
    {
        const base::Lock lock(mutex_);
        ends_ = true;
        thread.swap(thread_);
    }
    changed_.notify_all();
    if (thread.joinable()) {
        thread.join();
    }
}

void WakeThread::wakeAt(Clock::time_point time)
{
    const base::Lock lock(mutex_);
    if (!ends_ && time != kNever && !thread_.joinable()) {
        thread_ = base::tryStartThread("camera clock", [this] { run(); });
    }
    time_ = time;
    changed_.notify_all();
}

void WakeThread::run()
{
    base::Lock lock(mutex_);
    while (!ends_) {
        if (time_ == kNever) {
            changed_.wait(lock.native());
        } else if (Clock::now() < time_) {
            const Clock::time_point time = time_;
            changed_.wait_until(lock.native(), time);
        } else {
            time_ = kNever;
            lock.unlock();
            wake_();
            lock.lock();
        }
    }
}

} // namespace simulator
