// Delivers the events of one opened device to the callbacks that are registered for them.
#pragma once

#include "zel_cam/device.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace core
{

/// A queue, a thread of its own and the list of registrations. The transport's thread only queues;
/// the delivery thread calls back without any lock, so a callback may do whatever it likes, throw
/// and close the device included. Held by shared_ptr: the thread keeps it alive when a callback
/// outlasts the device.
class EventDispatcher : public std::enable_shared_from_this<EventDispatcher>
{
public:
    /// Called on the delivery thread before the callbacks of an event, to make its data readable
    /// through the camera's parameters.
    using Publish = std::function<void(std::uint64_t id, const void* data, std::size_t size)>;

    /// Events that may wait; more are dropped, the newest first. Ten seconds of 25,000 events per
    /// second.
    static constexpr std::size_t kMaxQueued = 250'000;
    /// How long closing and unregistering wait for a callback that runs.
    static constexpr std::chrono::milliseconds kCallbackGrace{50};

    explicit EventDispatcher(Publish publish) : publish_(std::move(publish)) {}

    /// Adds a registration; the same triple twice is one.
    void add(long id, ZelCam::EventCallback callback, void* context);
    /// Removes a registration; false when there is none. Waits for its callback if that runs on the
    /// delivery thread and this is another thread, but no longer than kCallbackGrace.
    bool remove(long id, ZelCam::EventCallback callback, void* context);

    /// Queues a copy of an event and starts the thread at the first one. Never throws.
    void post(std::uint64_t id, const void* data, std::size_t size) noexcept;

    /// Drops what is queued and all registrations and ends the thread; waits for a running
    /// callback as remove() does. Nothing is delivered afterwards.
    void close();

private:
    struct Event {
        std::uint64_t id;
        std::vector<unsigned char> data;
    };
    struct Registration {
        long id;
        ZelCam::EventCallback callback;
        void* context;
        bool operator==(const Registration& other) const
        {
            return id == other.id && callback == other.callback && context == other.context;
        }
    };

    void run();
    void deliver(const Event& event);
    bool isRegistered(const Registration& registration) const;
    void awaitCallback(std::unique_lock<std::mutex>& lock, std::uint64_t call);

    const Publish publish_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Event> queue_;
    std::vector<Registration> registrations_;
    Registration running_{};      ///< What the delivery thread calls now, if inCallback_.
    std::uint64_t callCount_ = 0; ///< Numbers the calls, so that a wait knows its own.
    std::uint64_t dropped_ = 0;
    std::thread::id threadId_;
    bool inCallback_ = false;
    bool started_ = false;
    bool closed_ = false;
};

} // namespace core
