// EVENT and EVENTDATA: what a device reports on its message channel.
#pragma once

#include "gige/wire/gvcp.h"

namespace gige::wire
{

constexpr std::size_t kEventRecord = 16;
constexpr std::size_t kExtendedEventRecord = 24; ///< With 64-bit block ids.

/// One event. When read, `data` and `record` borrow from the packet.
struct Event {
    std::uint16_t id = 0;
    std::uint16_t channel = 0xFFFF; ///< 0xFFFF: of no stream.
    std::uint64_t blockId = 0;
    std::uint64_t timestamp = 0; ///< Ticks of the device's clock.
    Bytes data;                  ///< EVENTDATA only.
    Bytes record;                ///< Set by the reader: header and data as they came.
};

/// Walks the events of an EVENT or EVENTDATA command.
class EventReader
{
public:
    explicit EventReader(const CommandPacket& packet);

    /// Whether the packet is one of the two commands and whole. Otherwise next() finds nothing.
    bool sound() const { return sound_; }
    bool next(Event* event);

private:
    Bytes rest_;
    std::size_t header_;
    bool data_;
    bool sound_;
};

/// EVENT for one event without data, EVENTDATA for one with data. `extended`: 64-bit block ids.
/// Size 0 when the data does not fit.
Datagram makeEvent(std::uint16_t id, const Event& event, bool extended, bool ackRequired);

} // namespace gige::wire
