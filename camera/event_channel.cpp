#include "camera/event_channel.h"

#include "module/binding/interpreter_lock.h"

#include <pthread.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>

namespace ZelCamPy
{

namespace
{

/// How long a callback under way is awaited: it may itself wait for something that only the caller
/// can give, such as a lock of the script.
constexpr std::chrono::seconds kPatience{1};

} // namespace

/// All open channels. Events are rare and the mutex is held for moments only, so there is one for
/// all; nobody asks for the interpreter lock while holding it.
struct EventChannel::Channels {
    std::mutex mutex;
    std::condition_variable delivered;
    std::map<const void*, std::shared_ptr<EventChannel>> open;

    static Channels* make();
    /// A child process starts with the mutex free; the threads that delivered stay behind.
    void continueInChild();
};

EventChannel::Channels* EventChannel::Channels::make()
{
    // First what may fail: what is registered for forks stays so.
    auto made = std::make_unique<Channels>();
    pthread_atfork([] { channels().mutex.lock(); }, [] { channels().mutex.unlock(); },
                   [] { channels().continueInChild(); });
    return made.release();
}

void EventChannel::Channels::continueInChild()
{
    const auto stayedBehind = [](std::thread::id id) { return id != std::this_thread::get_id(); };
    for (const auto& [context, channel] : open) {
        auto& delivering = channel->delivering_;
        delivering.erase(std::remove_if(delivering.begin(), delivering.end(), stayedBehind),
                         delivering.end());
    }
    mutex.unlock();
}

/// Never destroyed: threads of the SDK may come by until the process is gone.
EventChannel::Channels& EventChannel::channels()
{
    static Channels* const instance = Channels::make();
    return *instance;
}

std::shared_ptr<EventChannel> EventChannel::open(const void* context, PyDevice* device)
{
    auto channel = std::make_shared<EventChannel>();
    channel->device_ = device;
    const std::lock_guard<std::mutex> hold(channels().mutex);
    channels().open[context] = channel;
    return channel;
}

void EventChannel::close(const void* context)
{
    device_ = nullptr;
    const std::lock_guard<std::mutex> hold(channels().mutex);
    channels().open.erase(context);
}

namespace
{

bool noneBut(std::thread::id thread, const std::vector<std::thread::id>& threads)
{
    return std::all_of(threads.begin(), threads.end(),
                       [thread](std::thread::id id) { return id == thread; });
}

void removeOne(std::thread::id thread, std::vector<std::thread::id>& threads)
{
    threads.erase(std::find(threads.begin(), threads.end(), thread));
}

} // namespace

bool EventChannel::onlyThisThreadDelivers() const
{
    return noneBut(std::this_thread::get_id(), delivering_);
}

bool EventChannel::takesFromThisThread() const
{
    return noneBut(std::this_thread::get_id(), pausing_);
}

EventChannel::Delivery::Delivery(const void* context)
{
    const std::lock_guard<std::mutex> hold(channels().mutex);
    const auto found = channels().open.find(context);
    if (found != channels().open.end() && found->second->takesFromThisThread()) {
        channel_ = found->second;
        channel_->delivering_.push_back(std::this_thread::get_id());
    }
}

EventChannel::Delivery::~Delivery()
{
    if (channel_ == nullptr) {
        return;
    }
    const std::lock_guard<std::mutex> hold(channels().mutex);
    removeOne(std::this_thread::get_id(), channel_->delivering_);
    channels().delivered.notify_all();
}

EventChannel::Pause::Pause(const std::shared_ptr<EventChannel>& channel) : channel_(channel)
{
    {
        const std::lock_guard<std::mutex> hold(channels().mutex);
        channel_->pausing_.push_back(std::this_thread::get_id());
        if (channel_->onlyThisThreadDelivers()) {
            return;
        }
    }
    binding::withoutLock([this] {
        std::unique_lock<std::mutex> hold(channels().mutex);
        channels().delivered.wait_for(hold, kPatience,
                                      [this] { return channel_->onlyThisThreadDelivers(); });
    });
}

EventChannel::Pause::~Pause()
{
    const std::lock_guard<std::mutex> hold(channels().mutex);
    removeOne(std::this_thread::get_id(), channel_->pausing_);
}

} // namespace ZelCamPy
