// Worker threads that share the bands of an image with the calling thread.
#pragma once

#include "base/fork_guard.h"

#include <cstddef>
#include <memory>

namespace ZelComponents
{

/// Work that falls into independent bands.
class BandWork
{
public:
    /// Does band `band`. At most one thread at a time has the same `slot`.
    virtual void runBand(std::size_t band, std::size_t slot) noexcept = 0;

protected:
    ~BandWork() = default;
};

/// A pool of threads, started when first needed and kept waiting between runs. One run at a time.
///
/// A process forked from one with a pool has none of its threads: the pool notices, leaves the old
/// ones alone and starts its own. The destructor joins the threads; a pool that is never destroyed
/// does not disturb the end of the process.
class BandPool
{
public:
    BandPool();
    ~BandPool();
    BandPool(const BandPool&) = delete;
    BandPool& operator=(const BandPool&) = delete;

    /// Does bands 0 to `bands` - 1 in any order on up to `threads` threads, the calling one
    /// included, which have slots 0 to `threads` - 1. Returns when all are done. With fewer threads
    /// to be had than asked for, the same work is done by fewer.
    void run(BandWork& work, std::size_t bands, std::size_t threads) noexcept;

private:
    class Workers;

    Workers* workersOfThisProcess() noexcept;

    std::unique_ptr<Workers> workers_;
    base::ForkStamp owner_;
};

/// Processors that the calling thread may run on, at least 1.
std::size_t usableProcessors();

} // namespace ZelComponents
