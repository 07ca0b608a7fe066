// A thread that fetches the events of one kind from one module of a producer.
#include "gentl/event_pump.h"

#include "base/thread.h"
#include "gentl/info.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <vector>

namespace gentl
{

using namespace std::chrono_literals;
using Lock = std::unique_lock<std::mutex>;

namespace
{

constexpr std::uint64_t kLookAroundMs = 250;
constexpr auto kPatience = 2s;
constexpr auto kPause = 20ms;
constexpr int kTroubleAfter = 3;
constexpr std::size_t kMinEventSize = 4096;
constexpr std::size_t kMaxEventSize = 16 << 20;

} // namespace

// Shared with the thread, which may outlive the pump.
struct EventPump::State {
    State(const Api& theApi, Handle theSource, EventType theType, Handlers theHandlers)
        : api(theApi), source(theSource), type(theType), handlers(std::move(theHandlers))
    {
    }

    void run();
    bool stopRequested();
    bool handle(std::size_t size);
    bool inTrouble(Error code);
    std::size_t maxSize();

    const Api& api;
    const Handle source;
    const EventType type;
    const Handlers handlers;
    Handle event = nullptr;
    std::vector<unsigned char> data;

    std::mutex callMutex; ///< Held while a handler runs: stopping waits for it.
    bool cutOff = false;  ///< Guarded by callMutex.

    std::mutex mutex;
    std::condition_variable changed;
    bool stop = false;
    bool park = false;
    bool parked = false;
    bool done = false;
};

std::unique_ptr<EventPump> EventPump::start(const Api& api, Handle source, EventType type,
                                            Handlers handlers, Error* code)
{
    auto state = std::make_shared<State>(api, source, type, std::move(handlers));
    *code = api.call<&FunctionTable::GCRegisterEvent>("GCRegisterEvent", source, std::int32_t{type},
                                                      &state->event);
    if (*code != err::kSuccess || state->event == nullptr) {
        *code = *code != err::kSuccess ? *code : err::kError;
        return nullptr;
    }
    std::unique_ptr<EventPump> pump;
    try {
        state->data.resize(state->maxSize());
        pump.reset(new EventPump(state));
    } catch (...) {
        api.call<&FunctionTable::GCUnregisterEvent>("GCUnregisterEvent", source,
                                                    std::int32_t{type});
        throw;
    }
    try {
        base::startThread("zel-gentl", [state] { state->run(); }).detach();
    } catch (...) {
        state->done = true; // No thread that the pump's end could wait for.
        throw;
    }
    return pump;
}

EventPump::~EventPump()
{
    {
        const std::lock_guard<std::mutex> lock(state_->callMutex);
        state_->cutOff = true;
    }
    Lock lock(state_->mutex);
    state_->stop = true;
    state_->changed.notify_all();
    const auto isDone = [this] { return state_->done; };
    if (!state_->done) {
        lock.unlock();
        state_->api.call<&FunctionTable::EventKill>("EventKill", state_->event);
        lock.lock();
    }
    const bool ended = state_->changed.wait_for(lock, kPatience, isDone);
    lock.unlock();
    // This aborts the wait as well, for producers that cannot kill.
    state_->api.call<&FunctionTable::GCUnregisterEvent>("GCUnregisterEvent", state_->source,
                                                        std::int32_t{state_->type});
    if (!ended) {
        lock.lock();
        if (!state_->changed.wait_for(lock, kPatience, isDone)) {
            base::warn(base::LogChannel::GenTL, "%s keeps an event thread; it is left behind",
                       state_->api.name().c_str());
        }
    }
}

bool EventPump::park()
{
    Lock lock(state_->mutex);
    state_->park = true;
    if (!state_->parked && !state_->done) {
        lock.unlock();
        state_->api.call<&FunctionTable::EventKill>("EventKill", state_->event);
        lock.lock();
    }
    return state_->changed.wait_for(lock, kPatience,
                                    [this] { return state_->parked || state_->done; });
}

void EventPump::resume()
{
    const std::lock_guard<std::mutex> lock(state_->mutex);
    state_->park = false;
    state_->changed.notify_all();
}

void EventPump::State::run()
{
    int failures = 0;
    while (!stopRequested()) {
        std::size_t size = data.size();
        const Error code = api.call<&FunctionTable::EventGetData>(
            "EventGetData", event, static_cast<void*>(data.data()), &size, kLookAroundMs);
        if (code == err::kTimeout) {
            failures = 0;
            continue;
        }
        if (code == err::kSuccess && handle(size)) {
            failures = 0;
            continue;
        }
        if (code == err::kBufferTooSmall && data.size() < kMaxEventSize) {
            base::contained("event",
                            [&] { data.resize(std::min(kMaxEventSize, data.size() * 2)); });
            continue;
        }
        // One abort is the trace of our own kill; a producer that goes on failing must not keep
        // the processor busy.
        if (++failures < kTroubleAfter) {
            continue;
        }
        if (code != err::kSuccess && inTrouble(code)) {
            break;
        }
        Lock lock(mutex);
        changed.wait_for(lock, kPause, [this] { return stop || park; });
    }
    const std::lock_guard<std::mutex> lock(mutex);
    done = true;
    changed.notify_all();
}

// Between two events: parks as long as that is wanted.
bool EventPump::State::stopRequested()
{
    Lock lock(mutex);
    while (park && !stop) {
        parked = true;
        changed.notify_all();
        changed.wait(lock, [this] { return stop || !park; });
    }
    parked = false;
    return stop;
}

bool EventPump::State::handle(std::size_t size)
{
    const std::lock_guard<std::mutex> lock(callMutex);
    bool sensible = true;
    // Without memory one event is lost, not all that follow.
    base::contained("event", [&] {
        sensible = cutOff || handlers.event(event, data.data(), std::min(size, data.size()));
    });
    return sensible;
}

bool EventPump::State::inTrouble(Error code)
{
    const std::lock_guard<std::mutex> lock(callMutex);
    bool gone = false;
    base::contained("event",
                    [&] { gone = cutOff || (handlers.trouble && handlers.trouble(code)); });
    return gone;
}

std::size_t EventPump::State::maxSize()
{
    const auto told = askNumber([this](std::int32_t* infoType, void* out, std::size_t* size) {
        return api.call<&FunctionTable::EventGetInfo>(
            "EventGetInfo", event, std::int32_t{kEventInfoSizeMax}, infoType, out, size);
    });
    return std::clamp(static_cast<std::size_t>(told.value_or(0)), kMinEventSize, kMaxEventSize);
}

} // namespace gentl
