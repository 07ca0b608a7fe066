// What a bad network does to packets, repeatably.
#pragma once

#include "simulator/gige/sent_frame.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <random>
#include <vector>

namespace simulator::gige
{

/// Takes packets one by one and gives on what is left of them. Not thread safe.
class PacketFaults
{
public:
    using Clock = std::chrono::steady_clock;
    using Sink = std::function<void(wire::Bytes datagram)>;

    /// Starts the dice anew when the seed is another one or `restart`.
    void set(const NetworkFaults& faults, bool restart);
    void send(const PacketView& packet, Clock::time_point now, const Sink& sink);
    /// Gives on what was held back and is due; all of it with `everything`.
    void flush(Clock::time_point now, bool everything, const Sink& sink);
    /// No further packet comes that others would go behind.
    void release();
    bool holdsAny() const { return !held_.empty(); }

private:
    struct Held {
        Clock::time_point due;
        bool afterNext = false; ///< Goes after one more packet, whatever the time.
        std::vector<std::uint8_t> datagram;
    };
    bool happens(double probability);

    NetworkFaults faults_;
    std::mt19937_64 dice_{1};
    std::deque<Held> held_;
    std::vector<std::uint8_t> datagram_;
};

} // namespace simulator::gige
