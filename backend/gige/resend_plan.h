// Which packets of a frame are asked for again, and when.
#pragma once

#include "gige/udp_socket.h"

#include <cstdint>
#include <vector>

namespace gige
{

/// How patiently missing packets are asked for.
struct ResendRules {
    bool enabled = true;
    std::chrono::microseconds first{300}; ///< After a gap was seen: packets may come out of order.
    std::chrono::microseconds again{kShortestAgain}; ///< After a request; doubled each time.
    int tries = 8;
    /// Bounds for `again`, which follows the time that answers take.
    static constexpr std::chrono::microseconds kShortestAgain{1000};
    static constexpr std::chrono::microseconds kLongestAgain{25000};
    /// Without requests: how long packets out of order are waited for.
    static constexpr std::chrono::microseconds kDisorder{2000};
};

/// Runs of missing packets with the time of their next request. Bounded: gaps beyond what a frame
/// may sensibly have are joined. One thread.
class ResendPlan
{
public:
    static constexpr std::uint32_t kToEnd = 0xFFFFFFFFU;

    struct Run {
        std::uint32_t first;
        std::uint32_t last; ///< Inclusive; kToEnd: up to the end, wherever that is.
        Clock::time_point due;
        int tries;
    };

    void clear() { runs_.clear(); }
    bool empty() const { return runs_.empty(); }
    /// A gap was seen now.
    void add(std::uint32_t first, std::uint32_t last, const ResendRules& rules,
             Clock::time_point now);
    /// These may be missing: they are asked for once, now.
    void addGuess(std::uint32_t first, std::uint32_t last, const ResendRules& rules,
                  Clock::time_point now);
    /// The device says that it cannot send this packet again, or none up to it.
    void refuse(std::uint32_t packet, bool allBefore);
    /// Nothing beyond this one exists.
    void endAt(std::uint32_t last);
    /// The next time at which something is due; max() when nothing is.
    Clock::time_point due() const;

    /// Walks over what is due. `missing(first, last, emit)` calls emit for each run of packets of
    /// a range that are still missing; `request(first, last, again)` asks for one, for the first
    /// time or again, and answers false when the frame's budget is used up. Runs that were asked
    /// for often enough are dropped.
    template <class Missing, class Request>
    void run(Clock::time_point now, const ResendRules& rules, Missing&& missing, Request&& request)
    {
        std::vector<Run>& kept = scratch_;
        kept.clear();
        for (const Run& old : runs_) {
            if (old.due > now) {
                kept.push_back(old);
                continue;
            }
            const int tries = rules.enabled ? rules.tries : 0;
            missing(old.first, old.last, [&](std::uint32_t first, std::uint32_t last) {
                if (old.tries < tries && kept.size() < kMostRuns &&
                    request(first, last, old.tries != 0)) {
                    kept.push_back(
                        {first, last, now + rules.again * (1 << old.tries), old.tries + 1});
                }
            });
        }
        runs_.swap(kept);
    }

private:
    static constexpr std::size_t kMostRuns = 256;

    std::vector<Run> runs_;
    std::vector<Run> scratch_;
};

} // namespace gige
