// A condition variable whose waits end when a signal was handled in the waiting thread.
#pragma once

#include <atomic>
#include <cstdint>
#include <ctime>
#include <mutex>

namespace core
{

/// A point in time of the monotonic clock, or never.
class Deadline
{
public:
    /// `timeoutMs` from now; all ones, and what the clock cannot express, is never.
    explicit Deadline(std::uint64_t timeoutMs);
    bool passed() const;
    /// Null for never.
    const std::timespec* time() const { return never_ ? nullptr : &time_; }

private:
    std::timespec time_{};
    bool never_ = false;
};

/// std::condition_variable restarts its wait after a signal, so that Ctrl-C in a script would not
/// end it. This one reports the signal. It waits on a futex: one system call per wait, none to
/// notify when nobody waits.
class InterruptibleCondition
{
public:
    enum class Result { Woken, TimedOut, Interrupted };

    /// Releases the lock, waits, takes the lock again. May wake without a cause; never reports
    /// TimedOut early. Interrupted: a handler that was installed without SA_RESTART ran in this
    /// thread (for waits with a deadline the kernel reports the other handlers as well).
    Result wait(std::unique_lock<std::mutex>& lock, const Deadline& deadline);

    /// Wake one or all of the waits that began before the call. The state they wait for must have
    /// been changed under the lock before; the lock itself need not be held any more.
    void notifyOne() { notify(1); }
    void notifyAll();

private:
    void notify(int waits);

    std::atomic<std::uint32_t> sequence_{0};
    std::atomic<std::uint32_t> waiting_{0};
};

} // namespace core
