// What one frame turned out to be, from its leader, its payload and its trailer.
#pragma once

#include "core/transport.h"
#include "usb3/wire/frame_packet.h"
#include "usb3/wire/transfer_plan.h"

#include <cstddef>
#include <cstdint>

namespace usb3
{

/// Follows the transfers of one frame. Knows nothing of USB; nothing it is given is believed.
class FrameBuilder
{
public:
    void setLeader(const wire::Leader& leader)
    {
        leader_ = leader;
        hasLeader_ = true;
    }
    bool hasLeader() const { return hasLeader_; }
    const wire::Leader& leader() const { return leader_; }

    /// A payload transfer of `wanted` bytes brought `got`, to be kept at the end of what is there.
    /// Bytes behind a transfer that was not full do not belong there: the frame is broken then.
    void add(std::size_t wanted, std::size_t got);
    /// Something of the frame went elsewhere.
    void breakOff() { broken_ = true; }
    std::uint64_t received() const { return received_; }

    /// The frame's description over `memory`, of which `capacity` bytes are the frame's. Without a
    /// trailer, with one of another frame, with bytes missing or a bad status it is incomplete.
    core::FrameInfo finish(const wire::Trailer* trailer, const std::uint8_t* memory,
                           std::size_t capacity) const;

private:
    void describeImage(const wire::Trailer& trailer, core::FrameInfo* info) const;

    wire::Leader leader_;
    bool hasLeader_ = false;
    bool broken_ = false;
    bool ended_ = false; ///< A transfer was not full.
    std::uint64_t received_ = 0;
};

} // namespace usb3
