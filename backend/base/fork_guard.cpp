// Tells a forked child from the process that owns the cameras.
#include "base/fork_guard.h"

#include <pthread.h>

#include <atomic>

namespace base
{

namespace
{
std::atomic<bool> forkedChild{false};
}

void watchForks()
{
    static const int registered = pthread_atfork(
        nullptr, nullptr, [] { forkedChild.store(true, std::memory_order_relaxed); });
    static_cast<void>(registered);
}

bool inForkedChild() { return forkedChild.load(std::memory_order_relaxed); }

} // namespace base
