#include "events.h"

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>
#include <vector>

namespace zel_double
{
namespace
{

struct Registration {
    ZelCam::EventCallback callback;
    void* context;
};

// Never destroyed: a storm may outlive the interpreter.
struct Events {
    std::mutex mutex;
    std::vector<Registration> registrations;
    std::atomic<bool> storming{false};
    std::atomic<int> running{0};
    std::atomic<int> inCallbacks{0};
    std::atomic<long> delivered{0};
};

Events& events()
{
    static auto* const instance = new Events;
    return *instance;
}

Registration registration(int number)
{
    const std::lock_guard lock(events().mutex);
    return events().registrations.at(static_cast<std::size_t>(number));
}

thread_local int callbacksOfThisThread = 0;

/// True when the callback threw, which a callback may.
bool threw(const Registration& to, const void* data, std::uint64_t size)
{
    bool result = false;
    ++callbacksOfThisThread;
    ++events().inCallbacks;
    try {
        to.callback(data, size, to.context);
    } catch (...) {
        result = true;
    }
    --events().inCallbacks;
    --callbacksOfThisThread;
    return result;
}

} // namespace

void keepRegistration(ZelCam::EventCallback callback, void* context)
{
    const std::lock_guard lock(events().mutex);
    events().registrations.push_back({callback, context});
}

void fireLatest(const std::string& data)
{
    Registration latest{};
    {
        const std::lock_guard lock(events().mutex);
        latest = events().registrations.back();
    }
    threw(latest, data.data(), data.size());
}

bool settleCallbacks()
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (events().inCallbacks > callbacksOfThisThread) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

} // namespace zel_double

using zel_double::events;

extern "C" {

/// Number of registrations so far.
ZEL_API int zeldouble_registrations()
{
    const std::lock_guard lock(events().mutex);
    return static_cast<int>(events().registrations.size());
}

/// Delivers an event on the calling thread. 1 when the callback threw, else 0.
ZEL_API int zeldouble_fire(int number, const void* data, std::uint64_t size)
{
    return zel_double::threw(zel_double::registration(number), data, size) ? 1 : 0;
}

/// Delivers an event without a context.
ZEL_API int zeldouble_fire_nowhere(int number, const void* data, std::uint64_t size)
{
    return zel_double::threw({zel_double::registration(number).callback, nullptr}, data, size) ? 1
                                                                                               : 0;
}

/// Delivers an event on a thread that Python has never seen, and waits for it.
ZEL_API int zeldouble_fire_from_thread(int number, const void* data, std::uint64_t size)
{
    int result = 0;
    std::thread([&] { result = zeldouble_fire(number, data, size); }).join();
    return result;
}

/// Delivers two-byte events one after the other on a thread of its own, until it is stopped.
ZEL_API void zeldouble_storm_start(int number, int pauseUs)
{
    events().storming = true;
    ++events().running;
    std::thread([to = zel_double::registration(number), pauseUs] {
        while (events().storming) {
            zel_double::threw(to, "ev", 2);
            ++events().delivered;
            std::this_thread::sleep_for(std::chrono::microseconds(pauseUs));
        }
        --events().running;
    }).detach();
}

ZEL_API long zeldouble_storm_delivered() { return events().delivered; }

/// Ends all storms and waits until their threads have left the callbacks.
ZEL_API void zeldouble_storm_stop()
{
    events().storming = false;
    while (events().running > 0) {
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
}
}
