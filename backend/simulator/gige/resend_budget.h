// How much a camera sends again, whatever is asked of it.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>

namespace simulator::gige
{

/// A bucket of packets that fills with time. Not thread safe.
class ResendBudget
{
public:
    using Clock = std::chrono::steady_clock;
    static constexpr double kMost = 8192.0;
    static constexpr double kPerSecond = 50000.0;

    /// How many of `wanted` packets may be sent now; they are taken.
    std::uint32_t take(std::uint32_t wanted, Clock::time_point now)
    {
        const double seconds = std::chrono::duration<double>(now - filled_).count();
        filled_ = now;
        left_ = std::min(kMost, left_ + std::max(0.0, seconds) * kPerSecond);
        const auto taken = std::min(wanted, static_cast<std::uint32_t>(left_));
        left_ -= taken;
        return taken;
    }

private:
    double left_ = kMost;
    Clock::time_point filled_ = Clock::now();
};

} // namespace simulator::gige
