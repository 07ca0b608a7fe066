// Threads for the connections of the server, made when they are needed.
#pragma once

#include <httplib.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace view
{

/// Connections that idle or read slowly hold a thread each; there are enough of them that the
/// others go on, and no more than that. Further connections wait in the queue. Any thread.
class ThreadQueue final : public httplib::TaskQueue
{
public:
    explicit ThreadQueue(std::size_t most) : most_(most) {}
    ~ThreadQueue() override = default;

    void enqueue(std::function<void()> task) override;
    /// Finishes what waits and joins the threads.
    void shutdown() override;

private:
    void work();

    std::size_t most_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> tasks_;
    std::vector<std::thread> threads_;
    std::size_t idle_ = 0;
    bool ending_ = false;
};

} // namespace view
