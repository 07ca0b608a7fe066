// A condition variable whose waits end when a signal was handled in the waiting thread.
#include "core/interruptible_condition.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <climits>

namespace core
{

namespace
{
constexpr std::uint64_t kMillisecondsPerSecond = 1000;
constexpr long kNanosecondsPerSecond = 1'000'000'000;
constexpr std::uint64_t kNeverFromMs = 1000ULL * 3600 * 24 * 365 * 100; // a hundred years
} // namespace

Deadline::Deadline(std::uint64_t timeoutMs)
{
    if (timeoutMs >= kNeverFromMs) {
        never_ = true;
        return;
    }
    clock_gettime(CLOCK_MONOTONIC, &time_);
    time_.tv_sec += static_cast<std::time_t>(timeoutMs / kMillisecondsPerSecond);
    time_.tv_nsec += static_cast<long>(timeoutMs % kMillisecondsPerSecond) * 1'000'000;
    if (time_.tv_nsec >= kNanosecondsPerSecond) {
        time_.tv_nsec -= kNanosecondsPerSecond;
        ++time_.tv_sec;
    }
}

bool Deadline::passed() const
{
    if (never_) {
        return false;
    }
    std::timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec > time_.tv_sec ||
           (now.tv_sec == time_.tv_sec && now.tv_nsec >= time_.tv_nsec);
}

InterruptibleCondition::Result InterruptibleCondition::wait(std::unique_lock<std::mutex>& lock,
                                                            const Deadline& deadline)
{
    const std::uint32_t seen = sequence_.load();
    waiting_.fetch_add(1);
    lock.unlock();
    // An absolute time of the monotonic clock, so that a wait that starts late ends in time.
    const long result = syscall(SYS_futex, reinterpret_cast<std::uint32_t*>(&sequence_),
                                FUTEX_WAIT_BITSET | FUTEX_PRIVATE_FLAG, seen, deadline.time(),
                                nullptr, FUTEX_BITSET_MATCH_ANY);
    const int reason = result == 0 ? 0 : errno;
    waiting_.fetch_sub(1);
    lock.lock();
    if (reason == ETIMEDOUT) {
        return Result::TimedOut;
    }
    return reason == EINTR ? Result::Interrupted : Result::Woken;
}

void InterruptibleCondition::notifyAll() { notify(INT_MAX); }

void InterruptibleCondition::notify(int waits)
{
    sequence_.fetch_add(1);
    if (waiting_.load() > 0) {
        syscall(SYS_futex, reinterpret_cast<std::uint32_t*>(&sequence_),
                FUTEX_WAKE | FUTEX_PRIVATE_FLAG, waits, nullptr, nullptr, 0);
    }
}

} // namespace core
