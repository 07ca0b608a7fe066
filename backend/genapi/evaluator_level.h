// One step down a chain of nodes, for the files of the evaluator.
#pragma once

#include "genapi/evaluator.h"

namespace genapi
{

/// Counts for the scope. Real cameras stay below 20 levels; formulas take more of the stack.
class Evaluator::Level
{
public:
    explicit Level(Evaluator& evaluator, std::uint32_t cost = 1)
        : evaluator_(evaluator), cost_(cost)
    {
        evaluator_.depth_ += cost_;
        ++evaluator_.steps_;
    }
    ~Level() { evaluator_.depth_ -= cost_; }
    Level(const Level&) = delete;
    Level& operator=(const Level&) = delete;

    bool isTooDeep() const
    {
        constexpr std::uint32_t kMaxDepth = 400;
        constexpr std::uint32_t kMaxSteps = 100000;
        return evaluator_.depth_ > kMaxDepth || evaluator_.steps_ > kMaxSteps;
    }

private:
    Evaluator& evaluator_;
    const std::uint32_t cost_;
};

} // namespace genapi
