// Delivers the events of one opened device to the callbacks that are registered for them.
#include "core/event_dispatcher.h"

#include "base/log.h"
#include "base/thread.h"

#include <cxxabi.h>

#include <algorithm>
#include <exception>

namespace core
{

using Lock = std::unique_lock<std::mutex>;
using Guard = std::lock_guard<std::mutex>;

void EventDispatcher::add(long id, ZelCam::EventCallback callback, void* context)
{
    const Registration registration{id, callback, context};
    const Guard guard(mutex_);
    if (!closed_ && !isRegistered(registration)) {
        registrations_.push_back(registration);
    }
}

bool EventDispatcher::remove(long id, ZelCam::EventCallback callback, void* context)
{
    const Registration registration{id, callback, context};
    Lock lock(mutex_);
    const auto found = std::find(registrations_.begin(), registrations_.end(), registration);
    if (found == registrations_.end()) {
        return false;
    }
    registrations_.erase(found);
    if (inCallback_ && running_ == registration) {
        awaitCallback(lock, callCount_);
    }
    return true;
}

void EventDispatcher::post(std::uint64_t id, const void* data, std::size_t size) noexcept
{
    try {
        const auto* const bytes = static_cast<const unsigned char*>(data);
        Event event{id, std::vector<unsigned char>(bytes, bytes + size)};
        const Guard guard(mutex_);
        if (closed_) {
            return;
        }
        if (queue_.size() >= kMaxQueued) {
            ++dropped_;
            base::log(base::LogChannel::Backend, "event %#llx dropped, %llu so far",
                      static_cast<unsigned long long>(id),
                      static_cast<unsigned long long>(dropped_));
            return;
        }
        queue_.push_back(std::move(event));
        if (!started_) {
            base::startThread("zel-events", [self = shared_from_this()] { self->run(); }).detach();
            started_ = true;
        }
        changed_.notify_all();
    } catch (const std::exception& error) {
        base::warn(base::LogChannel::Backend, "event lost: %s", error.what());
    }
}

void EventDispatcher::close()
{
    Lock lock(mutex_);
    closed_ = true;
    queue_.clear();
    registrations_.clear();
    changed_.notify_all();
    if (inCallback_) {
        awaitCallback(lock, callCount_);
    }
}

void EventDispatcher::run()
{
    Lock lock(mutex_);
    threadId_ = std::this_thread::get_id();
    for (;;) {
        changed_.wait(lock, [this] { return closed_ || !queue_.empty(); });
        if (closed_) {
            return;
        }
        const Event event = std::move(queue_.front());
        queue_.pop_front();
        lock.unlock();
        // Without memory one event is lost, not all that follow.
        base::contained("event", [&] { deliver(event); });
        lock.lock();
    }
}

void EventDispatcher::deliver(const Event& event)
{
    publish_(event.id, event.data.data(), event.data.size());
    Lock lock(mutex_);
    const std::vector<Registration> snapshot = registrations_;
    for (const Registration& registration : snapshot) {
        if (static_cast<std::uint64_t>(registration.id) != event.id ||
            !isRegistered(registration)) {
            continue;
        }
        running_ = registration;
        inCallback_ = true;
        ++callCount_;
        lock.unlock();
        try {
            registration.callback(event.data.data(), event.data.size(), registration.context);
        } catch (const abi::__forced_unwind&) {
            // The callback ended this thread, as an interpreter that has shut down does.
            throw;
        } catch (...) {
            base::log(base::LogChannel::Backend, "event callback threw");
        }
        lock.lock();
        inCallback_ = false;
        changed_.notify_all();
    }
}

bool EventDispatcher::isRegistered(const Registration& registration) const
{
    return std::find(registrations_.begin(), registrations_.end(), registration) !=
           registrations_.end();
}

// The caller may hold a lock that the callback needs, such as an interpreter's: a wait without
// limit could last for ever.
void EventDispatcher::awaitCallback(Lock& lock, std::uint64_t call)
{
    if (threadId_ == std::this_thread::get_id()) {
        return;
    }
    changed_.wait_for(lock, kCallbackGrace,
                      [this, call] { return !inCallback_ || callCount_ != call; });
}

} // namespace core
