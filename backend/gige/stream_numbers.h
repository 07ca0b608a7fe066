// What a receiver counts.
#pragma once

#include <atomic>
#include <cstdint>

namespace gige
{

/// Written by the receiver's thread, read from anywhere. Since the last start of the acquisition.
struct StreamNumbers {
    using Count = std::atomic<std::uint64_t>;

    Count delivered{0};  ///< Frames, whole or not.
    Count incomplete{0}; ///< Of those: with missing parts.
    Count lost{0};       ///< Frames of which nothing came.
    Count underruns{0};  ///< Frames that found no buffer.
    Count unusable{0};   ///< Frames whose payload is no picture.
    Count packets{0};
    Count missing{0};   ///< Packets that never came, of delivered frames.
    Count requests{0};  ///< Commands for packets to be sent again.
    Count asked{0};     ///< Packets that were asked for.
    Count resent{0};    ///< Packets that came because they were asked for.
    Count duplicate{0}; ///< Packets that came again, or too late.
    Count malformed{0}; ///< Packets that made no sense.
    Count strangers{0}; ///< Packets from others than the camera.
    Count dropped{0};   ///< Packets for which the socket had no room.

    template <class Visit> void each(Visit&& visit)
    {
        for (Count* count :
             {&delivered, &incomplete, &lost, &underruns, &unusable, &packets, &missing, &requests,
              &asked, &resent, &duplicate, &malformed, &strangers, &dropped}) {
            visit(*count);
        }
    }
    void reset()
    {
        each([](Count& count) { count = 0; });
    }
};

} // namespace gige
