#include "gige/ring_reader.h"

#include "gige/wire/gvsp.h"

namespace gige
{

RingReader::RingReader(StreamSocket& socket, int adapter, std::size_t packetSize)
    : socket_(socket), adapter_(adapter),
      datagram_(packetSize > wire::kDatagramOverhead ? packetSize - wire::kDatagramOverhead : 1)
{
}

RingReader::~RingReader() { socket_.setDeaf(false); }

DatagramFilter RingReader::filter() const
{
    return {socket_.camera(), socket_.cameraPort(), socket_.destination(), socket_.localPort()};
}

ZelCamErr RingReader::open(std::size_t bytes)
{
    const ZelCamErr code = ring_.open(adapter_, filter(), bytes);
    if (code == ZelErr::kOk) {
        socket_.setDeaf(true);
    }
    return code;
}

bool RingReader::drain(FrameAssembler& assembler, StreamNumbers& numbers, int most)
{
    const Clock::time_point now = Clock::now();
    PacketRing::Packet packet;
    for (int taken = 0; taken < most;) {
        if (!ring_.next(&packet)) {
            numbers.dropped += ring_.takeDrops();
            socket_.setDrained();
            return true;
        }
        if (socket_.mustCheck()) {
            const bool known = socket_.cameraPort() != 0;
            if (!socket_.admits(
                    {socket_.camera(), packet.sourcePort, 0},
                    packet.data.first(packet.segment != 0 ? packet.segment : packet.data.size))) {
                ++numbers.strangers;
                ++taken;
                continue;
            }
            if (!known && socket_.cameraPort() != 0) {
                ring_.setFilter(filter());
                socket_.setDeaf(true);
            }
        }
        taken += take(packet, assembler, now);
    }
    return false;
}

int RingReader::take(const PacketRing::Packet& packet, FrameAssembler& assembler,
                     Clock::time_point now)
{
    const std::size_t segment = packet.segment != 0 ? packet.segment : datagram_;
    int count = 0;
    for (std::size_t at = 0; at < packet.data.size || count == 0; at += segment) {
        assembler.take(packet.data.from(at).first(segment), now);
        ++count;
    }
    return count;
}

} // namespace gige
