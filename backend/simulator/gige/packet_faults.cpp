#include "simulator/gige/packet_faults.h"

#include <algorithm>

namespace simulator::gige
{

namespace
{

constexpr std::size_t kMostHeld = 1024;

} // namespace

void PacketFaults::set(const NetworkFaults& faults, bool restart)
{
    if (restart || faults.seed != faults_.seed) {
        dice_.seed(faults.seed);
    }
    faults_ = faults;
}

bool PacketFaults::happens(double probability)
{
    if (probability <= 0.0) {
        return false;
    }
    return static_cast<double>(dice_() >> 11U) * 0x1p-53 < probability;
}

void PacketFaults::send(const PacketView& packet, Clock::time_point now, const Sink& sink)
{
    if (happens(faults_.lose)) {
        return;
    }
    datagram_.assign(packet.header.begin(),
                     packet.header.begin() + static_cast<std::ptrdiff_t>(packet.headerSize));
    datagram_.insert(datagram_.end(), packet.body.data, packet.body.data + packet.body.size);
    if (happens(faults_.cut)) {
        datagram_.resize(dice_() % datagram_.size());
    }
    if (happens(faults_.corrupt) && !datagram_.empty()) {
        datagram_[dice_() % datagram_.size()] ^= static_cast<std::uint8_t>(1U << (dice_() % 8));
    }
    const bool twice = happens(faults_.twice);
    const bool late = happens(faults_.delay);
    const bool swapped = happens(faults_.reorder);
    if ((late || swapped) && held_.size() < kMostHeld) {
        const auto delay = std::chrono::microseconds(late ? faults_.delayUs : 0);
        held_.push_back({now + delay, swapped && !late, datagram_});
        if (!twice) {
            return;
        }
    }
    sink({datagram_.data(), datagram_.size()});
    if (twice) {
        sink({datagram_.data(), datagram_.size()});
    }
    release();
    flush(now, false, sink);
}

void PacketFaults::release()
{
    for (Held& held : held_) {
        held.afterNext = false;
    }
}

void PacketFaults::flush(Clock::time_point now, bool everything, const Sink& sink)
{
    for (auto it = held_.begin(); it != held_.end();) {
        if (everything || (!it->afterNext && it->due <= now)) {
            sink({it->datagram.data(), it->datagram.size()});
            it = held_.erase(it);
        } else {
            ++it;
        }
    }
}

} // namespace simulator::gige
