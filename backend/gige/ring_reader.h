// Takes packets from a ring that the system fills.
#pragma once

#include "gige/packet_ring.h"
#include "gige/packet_source.h"
#include "gige/stream_socket.h"

#include <algorithm>

namespace gige
{

/// Least processor time, for who has the right to it. The stream's socket stays bound and its
/// packets are thrown away there: without it the system would tell the camera that nobody listens.
class RingReader final : public PacketSource
{
public:
    /// `socket` is borrowed and open; `adapter` is the one that the camera's packets come by.
    RingReader(StreamSocket& socket, int adapter, std::size_t packetSize);
    ~RingReader() override;
    RingReader(const RingReader&) = delete;
    RingReader& operator=(const RingReader&) = delete;

    /// Call once, before the others. Codes as PacketRing::open().
    ZelCamErr open(std::size_t bytes);

    bool drain(FrameAssembler& assembler, StreamNumbers& numbers, int most) override;
    int descriptor() const override { return ring_.descriptor(); }
    std::size_t capacity(std::size_t packetSize) const override
    {
        return ring_.size() / std::max<std::size_t>(packetSize, 1);
    }
    /// Several blocks: asking the system whether one is there takes the lock under which it fills
    /// them, and looking at the memory costs nothing.
    std::size_t turn() const override { return 256; }

private:
    DatagramFilter filter() const;
    int take(const PacketRing::Packet& packet, FrameAssembler& assembler, Clock::time_point now);

    StreamSocket& socket_;
    const int adapter_;
    const std::size_t datagram_; ///< Of a full packet; how joined ones are told apart where the
                                 ///< system does not say.
    PacketRing ring_;
};

} // namespace gige
