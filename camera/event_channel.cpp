#include "camera/event_channel.h"

#include "module/binding/interpreter_lock.h"

#include <pthread.h>

#include <algorithm>
#include <condition_variable>
#include <map>
#include <mutex>

namespace ZelCamPy
{

namespace
{

/// All open channels. Events are rare and the mutex is held for moments only, so there is one for
/// all; nobody asks for the interpreter lock while holding it.
struct Channels {
    std::mutex mutex;
    std::condition_variable delivered;
    std::map<const void*, std::shared_ptr<EventChannel>> open;
};

Channels& channels();

Channels* makeChannels()
{
    // A child process starts with the mutex free; the threads that delivered stay behind.
    pthread_atfork([] { channels().mutex.lock(); }, [] { channels().mutex.unlock(); },
                   [] { channels().mutex.unlock(); });
    return new Channels;
}

/// Never destroyed: threads of the SDK may come by until the process is gone.
Channels& channels()
{
    static Channels* const instance = makeChannels();
    return *instance;
}

} // namespace

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

bool EventChannel::onlyThisThreadDelivers() const
{
    return std::all_of(delivering_.begin(), delivering_.end(),
                       [](std::thread::id id) { return id == std::this_thread::get_id(); });
}

EventChannel::Delivery::Delivery(const void* context)
{
    const std::lock_guard<std::mutex> hold(channels().mutex);
    const auto found = channels().open.find(context);
    if (found != channels().open.end() && found->second->pauses_ == 0) {
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
    auto& delivering = channel_->delivering_;
    delivering.erase(std::find(delivering.begin(), delivering.end(), std::this_thread::get_id()));
    channels().delivered.notify_all();
}

EventChannel::Pause::Pause(const std::shared_ptr<EventChannel>& channel) : channel_(channel)
{
    {
        const std::lock_guard<std::mutex> hold(channels().mutex);
        ++channel_->pauses_;
        if (channel_->onlyThisThreadDelivers()) {
            return;
        }
    }
    binding::withoutLock([this] {
        std::unique_lock<std::mutex> hold(channels().mutex);
        channels().delivered.wait(hold, [this] { return channel_->onlyThisThreadDelivers(); });
    });
}

EventChannel::Pause::~Pause()
{
    const std::lock_guard<std::mutex> hold(channels().mutex);
    --channel_->pauses_;
}

} // namespace ZelCamPy
