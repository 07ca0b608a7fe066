#include "demosaicing/band_pool.h"

#include "base/signal_mask.h"

#include <pthread.h>
#include <sched.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace ZelComponents
{

class BandPool::Workers
{
public:
    ~Workers()
    {
        {
            const std::lock_guard lock(mutex_);
            stopping_ = true;
        }
        start_.notify_all();
        for (std::thread& thread : threads_) {
            thread.join();
        }
    }

    void grow(std::size_t count) noexcept
    {
        const base::SignalMask mask;
        try {
            while (threads_.size() < count) {
                const std::size_t slot = threads_.size() + 1;
                threads_.emplace_back([this, slot] { serve(slot); });
                pthread_setname_np(threads_.back().native_handle(), "zel-demosaic");
            }
        } catch (const std::exception&) {
            // The system gives no more threads: those there are do the work.
        }
    }

    void run(BandWork& work, std::size_t bands, std::size_t threads) noexcept
    {
        {
            const std::lock_guard lock(mutex_);
            work_ = &work;
            bands_ = bands;
            slots_ = threads;
            nextBand_.store(0, std::memory_order_relaxed);
            ++generation_;
        }
        start_.notify_all();
        takeBands(work, bands, 0);
        std::unique_lock lock(mutex_);
        work_ = nullptr; // Threads that wake up late find nothing to do.
        done_.wait(lock, [this] { return active_ == 0; });
    }

private:
    void takeBands(BandWork& work, std::size_t bands, std::size_t slot) noexcept
    {
        while (true) {
            const std::size_t band = nextBand_.fetch_add(1, std::memory_order_relaxed);
            if (band >= bands) {
                return;
            }
            work.runBand(band, slot);
        }
    }

    void serve(std::size_t slot) noexcept
    {
        std::size_t seen = 0;
        std::unique_lock lock(mutex_);
        while (true) {
            start_.wait(lock, [&] { return stopping_ || generation_ != seen; });
            if (stopping_) {
                return;
            }
            seen = generation_;
            if (work_ == nullptr || slot >= slots_) {
                continue;
            }
            BandWork& work = *work_;
            const std::size_t bands = bands_;
            ++active_;
            lock.unlock();
            takeBands(work, bands, slot);
            lock.lock();
            if (--active_ == 0) {
                done_.notify_all();
            }
        }
    }

    std::mutex mutex_; // Guards all but nextBand_ and threads_.
    std::condition_variable start_;
    std::condition_variable done_;
    BandWork* work_ = nullptr;
    std::size_t bands_ = 0;
    std::size_t slots_ = 0;
    std::size_t generation_ = 0;
    std::size_t active_ = 0;
    bool stopping_ = false;
    std::atomic<std::size_t> nextBand_{0};
    std::vector<std::thread> threads_;
};

BandPool::BandPool() = default;

BandPool::~BandPool()
{
    if (workers_ != nullptr && owner_.isInherited()) {
        static_cast<void>(workers_.release());
    }
}

void BandPool::run(BandWork& work, std::size_t bands, std::size_t threads) noexcept
{
    Workers* const workers = threads > 1 ? workersOfThisProcess() : nullptr;
    if (workers == nullptr) {
        for (std::size_t band = 0; band < bands; ++band) {
            work.runBand(band, 0);
        }
        return;
    }
    workers->grow(threads - 1);
    workers->run(work, bands, threads);
}

BandPool::Workers* BandPool::workersOfThisProcess() noexcept
{
    if (workers_ != nullptr && owner_.isInherited()) {
        // Threads and perhaps held locks of the parent process: beyond use, even for destruction.
        static_cast<void>(workers_.release());
    }
    if (workers_ == nullptr) {
        workers_.reset(new (std::nothrow) Workers);
        owner_ = base::ForkStamp();
    }
    return workers_.get();
}

std::size_t usableProcessors()
{
    cpu_set_t processors;
    CPU_ZERO(&processors);
    if (sched_getaffinity(0, sizeof processors, &processors) != 0) {
        return std::max(1U, std::thread::hardware_concurrency());
    }
    return static_cast<std::size_t>(std::max(1, CPU_COUNT(&processors)));
}

} // namespace ZelComponents
