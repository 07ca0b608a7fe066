#include "view/thread_queue.h"

#include <system_error>

namespace view
{

void ThreadQueue::enqueue(std::function<void()> task)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    tasks_.push_back(std::move(task));
    if (idle_ < tasks_.size() && threads_.size() < most_) {
        try {
            threads_.emplace_back([this] { work(); });
        } catch (const std::system_error&) {
            // Those that run will come to it.
            if (threads_.empty()) {
                throw;
            }
        }
    }
    changed_.notify_one();
}

void ThreadQueue::work()
{
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        ++idle_;
        changed_.wait(lock, [this] { return ending_ || !tasks_.empty(); });
        --idle_;
        if (tasks_.empty()) {
            return;
        }
        const std::function<void()> task = std::move(tasks_.front());
        tasks_.pop_front();
        lock.unlock();
        task();
        lock.lock();
    }
}

void ThreadQueue::shutdown()
{
    std::vector<std::thread> threads;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        ending_ = true;
        threads.swap(threads_);
        changed_.notify_all();
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace view
