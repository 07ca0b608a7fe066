#include "gige/resend_plan.h"

#include <algorithm>

namespace gige
{

void ResendPlan::add(std::uint32_t first, std::uint32_t last, const ResendRules& rules,
                     Clock::time_point now)
{
    const Clock::time_point due = now + (rules.enabled ? rules.first : ResendRules::kDisorder);
    if (!runs_.empty() &&
        (runs_.size() >= kMostRuns || (runs_.back().tries == 0 && runs_.back().due == due))) {
        // Seen together: asked for together. What came in between is not asked for.
        runs_.back().last = std::max(runs_.back().last, last);
        runs_.back().first = std::min(runs_.back().first, first);
        return;
    }
    runs_.push_back({first, last, due, 0});
}

void ResendPlan::addGuess(std::uint32_t first, std::uint32_t last, const ResendRules& rules,
                          Clock::time_point now)
{
    if (runs_.size() < kMostRuns) {
        runs_.push_back({first, last, now, rules.tries - 1});
    }
}

void ResendPlan::refuse(std::uint32_t packet, bool allBefore)
{
    std::vector<Run>& kept = scratch_;
    kept.clear();
    for (Run run : runs_) {
        if (packet < run.first || packet > run.last) {
            if (!allBefore || run.first > packet) {
                kept.push_back(run);
            }
            continue;
        }
        const std::uint32_t end = run.last;
        if (packet > run.first && !allBefore) {
            run.last = packet - 1;
            kept.push_back(run);
        }
        if (packet < end && end != kToEnd && kept.size() < kMostRuns) {
            run.first = packet + 1;
            run.last = end;
            kept.push_back(run);
        }
    }
    runs_.swap(kept);
}

void ResendPlan::endAt(std::uint32_t last)
{
    for (Run& run : runs_) {
        run.last = std::min(run.last, last);
    }
    runs_.erase(std::remove_if(runs_.begin(), runs_.end(),
                               [](const Run& run) { return run.first > run.last; }),
                runs_.end());
}

Clock::time_point ResendPlan::due() const
{
    Clock::time_point due = Clock::time_point::max();
    for (const Run& run : runs_) {
        due = std::min(due, run.due);
    }
    return due;
}

} // namespace gige
