// Keeps users of parameters waiting while a change goes on behind their back.
#pragma once

#include "base/mutex.h"

#include <atomic>
#include <chrono>
#include <condition_variable>

namespace genapi
{

/// A stop of the camera may go on after its caller went on: until it has ended, features are still
/// locked that the caller expects to be free. Between close() and open(), which pair up, pass()
/// waits, but no longer than kPatience; a thread inside a Change passes at once. Thread safe.
class ChangeGate
{
public:
    static constexpr std::chrono::seconds kPatience{3};

    /// Lives on the thread that carries a change out.
    class Change
    {
    public:
        Change() { ++depth(); }
        ~Change() { --depth(); }
        Change(const Change&) = delete;
        Change& operator=(const Change&) = delete;

    private:
        friend class ChangeGate;
        static int& depth();
    };

    void close();
    void open();
    /// One relaxed load while the gate is open. To be called without the lock of an array, or by
    /// a thread that has passed before.
    void pass()
    {
        if (closed_.load(std::memory_order_relaxed) != 0) {
            wait();
        }
    }

private:
    void wait();

    std::atomic<int> closed_{0}; ///< Changes under mutex_ only.
    base::Mutex mutex_;
    std::condition_variable opened_;
};

} // namespace genapi
