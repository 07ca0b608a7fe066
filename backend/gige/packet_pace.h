// How fast packets come.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace gige
{

/// The time that packets take, by the last few batches of them; one that took much longer than
/// those before is no slower sender, it was a pause. One thread.
class PacketPace
{
public:
    void add(std::uint64_t packets, std::chrono::nanoseconds time)
    {
        if (packets_ > 0) {
            time = std::min(time, 2 * of(packets));
        }
        // Each batch counts half as much as the one after it.
        packets_ = packets_ / 2 + static_cast<double>(packets);
        nanoseconds_ = nanoseconds_ / 2 + static_cast<double>(time.count());
    }

    /// Zero while nothing is known.
    std::chrono::nanoseconds of(std::uint64_t packets) const
    {
        const double each = packets_ > 0 ? nanoseconds_ / packets_ : 0;
        return std::chrono::nanoseconds(
            static_cast<std::int64_t>(each * static_cast<double>(packets)));
    }

private:
    double packets_ = 0;
    double nanoseconds_ = 0;
};

} // namespace gige
