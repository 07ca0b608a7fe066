// When the cores of this machine were taken away from everybody.
#pragma once

#include <pthread.h>
#include <sched.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <ctime>
#include <list>
#include <thread>
#include <vector>

/// One thread of real-time priority on each core that sleeps a fifth of a millisecond at a time:
/// when it wakes late, the host of a virtual machine had its core, or a part of the kernel that
/// lets nobody in. Costs some per cent of a core and wants the right to real-time priority.
class CoreStops
{
public:
    CoreStops()
    {
        const long cores = sysconf(_SC_NPROCESSORS_ONLN);
        for (long core = 0; core < cores; ++core) {
            watchers_.emplace_back();
        }
        int core = 0;
        for (Watcher& watcher : watchers_) {
            watcher.thread = std::thread([this, &watcher, core] { watch(watcher, core); });
            ++core;
        }
    }
    ~CoreStops() { end(); }
    CoreStops(const CoreStops&) = delete;
    CoreStops& operator=(const CoreStops&) = delete;

    /// Ends the watching; false: it was not permitted.
    bool end()
    {
        ending_ = true;
        bool permitted = true;
        for (Watcher& watcher : watchers_) {
            if (watcher.thread.joinable()) {
                watcher.thread.join();
                stops_.insert(stops_.end(), watcher.stops.begin(), watcher.stops.end());
            }
            permitted = permitted && watcher.permitted;
        }
        return permitted;
    }

    /// For how long, all cores together, cores were away in a time, as far as it is known: a stop
    /// is noticed when the watcher was to wake. Nanoseconds; after end().
    std::int64_t within(std::int64_t begin, std::int64_t end) const
    {
        std::int64_t away = 0;
        for (const Stop& stop : stops_) {
            away +=
                std::max(std::int64_t{0}, std::min(end, stop.end) - std::max(begin, stop.begin));
        }
        return away;
    }

    /// The wall clock in nanoseconds.
    static std::int64_t now()
    {
        timespec time{};
        clock_gettime(CLOCK_REALTIME, &time);
        return time.tv_sec * std::int64_t{1000000000} + time.tv_nsec;
    }

    static constexpr std::int64_t kSleep = 200'000;
    static constexpr std::int64_t kLate = 40'000; ///< Shorter: the kernel's own copying.

private:
    struct Stop {
        std::int64_t begin;
        std::int64_t end;
    };

    struct Watcher {
        std::thread thread;
        std::vector<Stop> stops;
        bool permitted = false;
    };

    void watch(Watcher& watcher, int core)
    {
        cpu_set_t set;
        CPU_ZERO(&set);
        CPU_SET(core, &set);
        sched_param priority{};
        priority.sched_priority = 50;
        watcher.permitted = sched_setaffinity(0, sizeof set, &set) == 0 &&
                            sched_setscheduler(0, SCHED_FIFO, &priority) == 0;
        prctl(PR_SET_TIMERSLACK, 1UL, 0, 0, 0);
        while (watcher.permitted && !ending_) {
            const std::int64_t due = now() + kSleep;
            const timespec sleep{0, kSleep};
            nanosleep(&sleep, nullptr);
            const std::int64_t woke = now();
            if (woke >= due + kLate) {
                watcher.stops.push_back({due, woke});
            }
        }
    }

    std::list<Watcher> watchers_;
    std::vector<Stop> stops_;
    std::atomic<bool> ending_{false};
};
