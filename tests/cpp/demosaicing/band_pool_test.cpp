#include "demosaicing/band_pool.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <thread>
#include <vector>

namespace
{

using ZelComponents::BandPool;
using ZelComponents::BandWork;

// Counts how often each band is done and sees that no slot is used twice at a time.
class Counter : public BandWork
{
public:
    Counter(std::size_t bands, std::size_t slots) : done(bands), busy(slots) {}

    void runBand(std::size_t band, std::size_t slot) noexcept override
    {
        if (slot >= busy.size() || busy[slot].exchange(true)) {
            ++conflicts;
            return;
        }
        slotsSeen.fetch_or(1U << slot);
        if (waitForOthers) {
            const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
            while ((slotsSeen.load() & (slotsSeen.load() - 1)) == 0 &&
                   std::chrono::steady_clock::now() < deadline) {
                std::this_thread::yield();
            }
        }
        ++done[band];
        busy[slot] = false;
    }

    bool isRight() const
    {
        bool right = conflicts == 0;
        for (const std::atomic<int>& count : done) {
            right = right && count == 1;
        }
        return right;
    }

    std::vector<std::atomic<int>> done;
    std::vector<std::atomic<bool>> busy;
    std::atomic<int> conflicts{0};
    std::atomic<unsigned> slotsSeen{0};
    bool waitForOthers = false;
};

bool runsRightly(BandPool& pool, std::size_t bands, std::size_t threads)
{
    Counter counter(bands, threads);
    pool.run(counter, bands, threads);
    return counter.isRight();
}

TEST(BandPool, DoesEveryBandOnceWithAnyNumberOfThreads)
{
    BandPool pool;
    for (int round = 0; round < 300; ++round) {
        for (const std::size_t threads : {1U, 4U, 2U, 3U}) {
            ASSERT_TRUE(runsRightly(pool, static_cast<std::size_t>(round % 17), threads));
        }
    }
}

TEST(BandPool, ReallyUsesOtherThreads)
{
    BandPool pool;
    Counter counter(8, 2);
    counter.waitForOthers = true;
    pool.run(counter, 8, 2);
    EXPECT_TRUE(counter.isRight());
    EXPECT_EQ(counter.slotsSeen, 3U);
}

#ifndef __SANITIZE_THREAD__ // Whose runtime ends forked processes that start threads.
TEST(BandPool, StartsAnewInAForkedProcess)
{
    BandPool pool;
    ASSERT_TRUE(runsRightly(pool, 16, 3));
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        alarm(20); // A child that waits for its parent's threads waits for ever.
        bool right = runsRightly(pool, 16, 3);
        Counter counter(8, 2);
        counter.waitForOthers = true;
        pool.run(counter, 8, 2);
        right = right && counter.isRight() && counter.slotsSeen == 3U;
        pool.~BandPool();
        _exit(right ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(runsRightly(pool, 16, 3));
}

TEST(BandPool, DoesNotDisturbTheEndOfAProcess)
{
    const auto endWithLivingPool = [] {
        static auto* const pool = new BandPool; // For ever.
        std::exit(runsRightly(*pool, 16, 3) ? 0 : 1);
    };
    EXPECT_EXIT(endWithLivingPool(), testing::ExitedWithCode(0), "");
}
#endif

} // namespace
