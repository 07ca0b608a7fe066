// What happens in a camera at times of its own: signals, timers, actions.
#pragma once

#include <cstdint>

namespace simulator
{

/// Camera time that never comes.
constexpr std::uint64_t kNever = ~std::uint64_t{0};

constexpr std::uint64_t nanosecondsOf(double us) { return static_cast<std::uint64_t>(us * 1000.0); }

/// Used under the camera's lock, which steps through the sections in the order of their times.
class TimedSection
{
public:
    /// When the next thing happens, in camera time; kNever: nothing will.
    virtual std::uint64_t nextNs() const = 0;
    /// What happens at nextNs(), which is later afterwards.
    virtual void step() = 0;

protected:
    ~TimedSection() = default;
};

} // namespace simulator
