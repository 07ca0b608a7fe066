// Tells a forked child from the process that owns the cameras. Header-only.
//
// A fork copies objects but not the threads that serve them, and descriptors that then have two
// owners. So what existed before a fork answers with a code in the child and touches nothing.
#pragma once

#include <pthread.h>

#include <atomic>

namespace base
{

namespace detail
{
/// Forks between the first watchForks() and this process, counted along its line of descent.
inline std::atomic<unsigned> forks{0};
} // namespace detail

/// Call once before the first device or thread exists: a child forked after that is marked.
inline void watchForks()
{
    static const int registered = pthread_atfork(
        nullptr, nullptr, [] { detail::forks.fetch_add(1, std::memory_order_relaxed); });
    static_cast<void>(registered);
}

/// True in a process that was forked after watchForks(): the threads and sessions behind our
/// objects belong to the parent, and the child must not touch them. One relaxed load.
inline bool inForkedChild() { return detail::forks.load(std::memory_order_relaxed) != 0; }

/// Remembers in which process an object was made, for objects that a child may make anew.
class ForkStamp
{
public:
    ForkStamp()
    {
        watchForks();
        forks_ = detail::forks.load(std::memory_order_relaxed);
    }

    /// True when the object came into this process by a fork.
    bool isInherited() const { return forks_ != detail::forks.load(std::memory_order_relaxed); }

private:
    unsigned forks_;
};

} // namespace base
