// Values that were read once and hold until something may have changed them.
#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

namespace genapi
{

/// How often anything in this process may have changed values of features: writes, commands,
/// events, invalidations. One count for all modules, because a write to one may change another (an
/// interface its devices). Never 0; thread safe.
class ChangeCount
{
public:
    static std::uint64_t now() { return count().load(std::memory_order_acquire); }

    /// To be called after the change: what is read from here on is new.
    static void advance() { count().fetch_add(1, std::memory_order_acq_rel); }

private:
    static std::atomic<std::uint64_t>& count()
    {
        static std::atomic<std::uint64_t> changes{1};
        return changes;
    }
};

/// The last value that was read of a feature whose description allows to keep it. Called under the
/// lock of the map.
template <class Value> class KeptValue
{
public:
    /// Null when there is none, or when it may be old.
    const Value* get() const { return seen_ == ChangeCount::now() ? &value_ : nullptr; }

    /// `seen` is the count from before the read began.
    void keep(Value value, std::uint64_t seen)
    {
        value_ = std::move(value);
        seen_ = seen;
    }

private:
    Value value_{};
    std::uint64_t seen_ = 0;
};

} // namespace genapi
