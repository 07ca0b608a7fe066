// How often anything in this process may have changed values of features.
#pragma once

#include <atomic>
#include <cstdint>

namespace genapi
{

/// Writes, commands, events, invalidations. One count for all modules, because a write to one may
/// change another (an interface its devices). Never 0; thread safe.
class ChangeCount
{
public:
    static std::uint64_t now() { return count().load(std::memory_order_acquire); }

    /// To be called after the change: what is read from here on is new. Returns the count before.
    static std::uint64_t advance() { return count().fetch_add(1, std::memory_order_acq_rel); }

private:
    static std::atomic<std::uint64_t>& count()
    {
        static std::atomic<std::uint64_t> changes{1};
        return changes;
    }
};

} // namespace genapi
