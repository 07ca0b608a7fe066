// Where a stream's packets are taken from.
#pragma once

#include "gige/frame_assembler.h"

namespace gige
{

/// Hands packets to an assembler. One thread at a time.
class PacketSource
{
public:
    virtual ~PacketSource() = default;
    /// Takes what waits, at most about `most` packets. True: nothing waits any more.
    virtual bool drain(FrameAssembler& assembler, StreamNumbers& numbers, int most) = 0;
    /// Readable when packets wait.
    virtual int descriptor() const = 0;
    /// Packets that may wait before some are lost, if all are of this size.
    virtual std::size_t capacity(std::size_t packetSize) const = 0;
    /// Packets that are worth a turn of the thread.
    virtual std::size_t turn() const = 0;
};

} // namespace gige
