// Frame ids beyond the 16 bits that GigE Vision 1 has.
#pragma once

#include <cstdint>

namespace vision
{

/// Extends block ids that run from 1 to 65535 and start at 1 again. Ids above 65535 come from
/// devices with 64-bit ids and are taken as they are. One thread.
class FrameIds
{
public:
    void reset()
    {
        last_ = 0;
        wide_ = false;
    }
    std::uint64_t last() const { return last_; }

    /// The id of the next frame; `raw` 0 means that the frame did not tell: the one after the last,
    /// or 0 as long as no frame has told.
    std::uint64_t extend(std::uint64_t raw)
    {
        wide_ = wide_ || raw > kTurn;
        if (raw == 0) {
            // A guess to begin with would make the ids that follow look late.
            return last_ == 0 ? 0 : ++last_;
        }
        if (wide_ || last_ == 0) {
            return last_ = raw;
        }
        const std::uint64_t position = (last_ - 1) % kTurn + 1;
        const std::uint64_t step = (raw + kTurn - position) % kTurn;
        if (step <= kTurn / 2) {
            return last_ += step;
        }
        // More than half a turn ahead is a late frame, not tens of thousands of lost ones.
        const std::uint64_t back = kTurn - step;
        return last_ - (back < last_ ? back : last_ - 1);
    }

private:
    static constexpr std::uint64_t kTurn = 65535;

    std::uint64_t last_ = 0;
    bool wide_ = false;
};

} // namespace vision
