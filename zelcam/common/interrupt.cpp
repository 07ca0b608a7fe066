#include "common/interrupt.h"

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <thread>

namespace common
{

namespace
{

std::atomic<bool> stopped{false};
static_assert(std::atomic<bool>::is_always_lock_free, "written by a signal handler");

void onSignal(int /*number*/)
{
    constexpr int kStoppedTwice = 130;
    if (stopped.exchange(true)) {
        _exit(kStoppedTwice);
    }
}

} // namespace

void watchInterrupts()
{
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    // Without SA_RESTART: waits and reads end, and their loops ask interrupted().
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

bool interrupted() { return stopped.load(); }

void sleepMs(int milliseconds)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    constexpr std::chrono::milliseconds kSlice{20};
    while (!interrupted()) {
        const auto left = end - std::chrono::steady_clock::now();
        if (left <= left.zero()) {
            return;
        }
        std::this_thread::sleep_for(left < kSlice ? left : kSlice);
    }
}

} // namespace common
