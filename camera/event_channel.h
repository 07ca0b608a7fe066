// The road of a device's events from the SDK's threads to its Python object.
#pragma once

#include <memory>
#include <thread>
#include <vector>

namespace ZelCamPy
{

class PyDevice;

/// Keeps three promises. An event for a device object that is gone is dropped without touching it,
/// although the SDK still holds its address. A call into the SDK that waits for callbacks under way
/// cannot wait for one that in turn waits for the interpreter lock. A callback may make such a call
/// itself.
class EventChannel
{
public:
    /// One callback, on the SDK's thread. Made before the interpreter lock is taken and destroyed
    /// after it is given back.
    class Delivery
    {
    public:
        /// `context` is the address that the SDK was given at the registration.
        explicit Delivery(const void* context);
        ~Delivery();
        Delivery(const Delivery&) = delete;
        Delivery& operator=(const Delivery&) = delete;

        /// False when the event is to be dropped.
        explicit operator bool() const { return channel_ != nullptr; }
        /// The device object, or null when it went in the meantime. Borrowed; call with the
        /// interpreter lock held.
        PyDevice* device() const { return channel_->device_; }

    private:
        std::shared_ptr<EventChannel> channel_;
    };

    /// Holds the events of other threads off while it lives: new ones are dropped, those under way
    /// are through when the constructor returns, or had a second to end: one that waits for the
    /// caller would never. What the SDK delivers on this very thread goes through. Made with the
    /// interpreter lock held; lets it go for a moment only when a callback is just under way.
    class Pause
    {
    public:
        explicit Pause(const std::shared_ptr<EventChannel>& channel);
        ~Pause();
        Pause(const Pause&) = delete;
        Pause& operator=(const Pause&) = delete;

    private:
        std::shared_ptr<EventChannel> channel_;
    };

    /// Opens the channel of a new device object; events find it by `context`. Interpreter lock
    /// held.
    static std::shared_ptr<EventChannel> open(const void* context, PyDevice* device);
    /// The device object is going. Interpreter lock held.
    void close(const void* context);

private:
    struct Channels;
    static Channels& channels();

    bool onlyThisThreadDelivers() const;
    bool takesFromThisThread() const;

    PyDevice* device_ = nullptr; ///< Guarded by the interpreter lock.
    // Guarded by the mutex of all channels; threads by their ids.
    std::vector<std::thread::id> pausing_;
    std::vector<std::thread::id> delivering_;
};

} // namespace ZelCamPy
