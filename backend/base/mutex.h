// A mutex whose rules clang checks: which members it guards, which functions want it held.
//
// Members are declared with ZEL_GUARDED_BY(mutex_), private helpers with ZEL_REQUIRES(mutex_);
// `clang++ -Wthread-safety` then refuses every access outside a Lock. Other compilers see nothing.
#pragma once

#include <condition_variable>
#include <mutex>
#include <shared_mutex>

#if defined(__clang__)
#define ZEL_THREAD_ANNOTATION(text) __attribute__((text))
#else
#define ZEL_THREAD_ANNOTATION(text)
#endif

#define ZEL_CAPABILITY(name) ZEL_THREAD_ANNOTATION(capability(name))
#define ZEL_SCOPED_CAPABILITY ZEL_THREAD_ANNOTATION(scoped_lockable)
#define ZEL_GUARDED_BY(mutex) ZEL_THREAD_ANNOTATION(guarded_by(mutex))
#define ZEL_REQUIRES(...) ZEL_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define ZEL_EXCLUDES(...) ZEL_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define ZEL_REQUIRES_SHARED(...) ZEL_THREAD_ANNOTATION(requires_shared_capability(__VA_ARGS__))
#define ZEL_ACQUIRE_SHARED(...) ZEL_THREAD_ANNOTATION(acquire_shared_capability(__VA_ARGS__))
#define ZEL_ACQUIRE(...) ZEL_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define ZEL_RELEASE(...) ZEL_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define ZEL_TRY_ACQUIRE(...) ZEL_THREAD_ANNOTATION(try_acquire_capability(__VA_ARGS__))
#define ZEL_NO_THREAD_SAFETY_ANALYSIS ZEL_THREAD_ANNOTATION(no_thread_safety_analysis)

namespace base
{

/// std::mutex with a name for the analysis.
class ZEL_CAPABILITY("mutex") Mutex
{
public:
    void lock() ZEL_ACQUIRE() { mutex_.lock(); }
    void unlock() ZEL_RELEASE() { mutex_.unlock(); }
    bool try_lock() ZEL_TRY_ACQUIRE(true) { return mutex_.try_lock(); }
    /// For condition variables; the caller holds the mutex.
    std::mutex& native() { return mutex_; }

private:
    std::mutex mutex_;
};

/// Holds a Mutex for a scope, or until unlock().
class ZEL_SCOPED_CAPABILITY Lock
{
public:
    explicit Lock(Mutex& mutex) ZEL_ACQUIRE(mutex) : lock_(mutex.native()) {}
    ~Lock() ZEL_RELEASE() {} // NOLINT(modernize-use-equals-default): = default takes no annotation
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

    void unlock() ZEL_RELEASE() { lock_.unlock(); }
    void lock() ZEL_ACQUIRE() { lock_.lock(); }

    /// The lock as std::condition_variable wants it: condition.wait(lock.native()). The mutex is
    /// held again when the wait returns, so the analysis need not know.
    std::unique_lock<std::mutex>& native() { return lock_; }

private:
    std::unique_lock<std::mutex> lock_;
};

/// std::shared_mutex with a name for the analysis: guarded members may be read under a SharedLock
/// and changed under an ExclusiveLock.
class ZEL_CAPABILITY("mutex") SharedMutex
{
private:
    friend class SharedLock;
    friend class ExclusiveLock;
    std::shared_mutex mutex_;
};

/// Holds a SharedMutex for a scope, together with other readers.
class ZEL_SCOPED_CAPABILITY SharedLock
{
public:
    explicit SharedLock(SharedMutex& mutex) ZEL_ACQUIRE_SHARED(mutex) : lock_(mutex.mutex_) {}
    ~SharedLock() ZEL_RELEASE() {} // NOLINT(modernize-use-equals-default)
    SharedLock(const SharedLock&) = delete;
    SharedLock& operator=(const SharedLock&) = delete;

private:
    std::shared_lock<std::shared_mutex> lock_;
};

/// Holds a SharedMutex for a scope, alone.
class ZEL_SCOPED_CAPABILITY ExclusiveLock
{
public:
    explicit ExclusiveLock(SharedMutex& mutex) ZEL_ACQUIRE(mutex) : lock_(mutex.mutex_) {}
    ~ExclusiveLock() ZEL_RELEASE() {} // NOLINT(modernize-use-equals-default)
    ExclusiveLock(const ExclusiveLock&) = delete;
    ExclusiveLock& operator=(const ExclusiveLock&) = delete;

private:
    std::unique_lock<std::shared_mutex> lock_;
};

} // namespace base
