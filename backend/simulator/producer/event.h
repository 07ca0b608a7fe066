// A registered event: waiting for its data, ending waits, asking about its queue.
#pragma once

#include "gentl_abi/gentl_abi.h"
#include "simulator/producer/handle_registry.h"
#include "simulator/producer/info_value.h"

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>

namespace simulator::producer
{

/// Lock and signal that an event shares with whoever fills its queue.
struct WaitPoint {
    std::mutex mutex;
    std::condition_variable changed;
};

/// Waiting is the same for all kinds of events; where their data lie is not. Thread safe; takes the
/// lock of its wait point and no other.
class Event : public HandleObject
{
public:
    Event(gentl::EventType type, std::shared_ptr<WaitPoint> waitPoint);

    gentl::EventType type() const { return type_; }

    /// Takes the next data out of the queue, waiting for it up to `timeoutMs`; never less. `data`
    /// null: the data are thrown away. Throws Failure -1011; -1012 after kill(), end(), close();
    /// -1016 when `*size` is too small: the data stay.
    void fetch(void* data, std::size_t* size, std::uint64_t timeoutMs);
    /// Answers EventGetInfo.
    InfoValue info(std::int32_t command);
    void flush();
    /// Makes one fetch() end with -1012, before any data: one that waits, or else the next.
    void kill();
    /// Nothing will come any more: what is queued is still given out, then every fetch() ends.
    void end();
    /// Ends all fetches, for good.
    void close();

protected:
    // What a kind of event adds; called with the lock held.
    virtual std::size_t pending() const = 0;
    virtual std::uint64_t fired() const = 0;
    virtual std::size_t nextSize() const = 0;
    virtual std::size_t maxSize() const = 0;
    /// Copies nextSize() bytes unless `data` is null.
    virtual void takeNext(void* data) = 0;
    virtual void discardAll() = 0;

    WaitPoint& waitPoint() const { return *waitPoint_; }

private:
    void waitForData(std::unique_lock<std::mutex>& lock, std::uint64_t timeoutMs);

    const gentl::EventType type_;
    const std::shared_ptr<WaitPoint> waitPoint_;
    std::uint64_t kills_ = 0;
    bool ended_ = false;
    bool closed_ = false;
};

} // namespace simulator::producer
