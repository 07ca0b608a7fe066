#include "gige/wire/events.h"

namespace gige::wire
{

EventReader::EventReader(const CommandPacket& packet)
    : rest_(packet.payload),
      header_((packet.flags & kFlagExtendedIds) != 0 ? kExtendedEventRecord : kEventRecord),
      data_(packet.is(Command::EventData)), sound_(data_ || packet.is(Command::Event))
{
    sound_ = sound_ && rest_.size >= header_ && (data_ || rest_.size % header_ == 0);
    if (!sound_) {
        rest_ = {};
    }
}

bool EventReader::next(Event* event)
{
    if (rest_.size < header_) {
        return false;
    }
    std::size_t size = data_ ? rest_.size : header_;
    // Newer devices tell the size of an entry with data, and more may follow it.
    const std::size_t told = rest_.u16(0);
    if (data_ && header_ == kExtendedEventRecord && told >= header_ && told <= rest_.size) {
        size = told;
    }
    event->record = rest_.first(size);
    event->data = event->record.from(header_);
    event->id = rest_.u16(2);
    event->channel = rest_.u16(4);
    event->blockId = header_ == kExtendedEventRecord ? rest_.u64(8) : rest_.u16(6);
    event->timestamp = rest_.u64(header_ - 8);
    rest_ = rest_.from(size);
    return true;
}

Datagram makeEvent(std::uint16_t id, const Event& event, bool extended, bool ackRequired)
{
    std::array<std::uint8_t, kControlPayload> payload;
    Writer writer(payload.data(), payload.size());
    const bool data = !event.data.empty();
    const std::size_t size = (extended ? kExtendedEventRecord : kEventRecord) + event.data.size;
    writer.u16(extended && data ? static_cast<std::uint16_t>(size) : std::uint16_t{0});
    writer.u16(event.id).u16(event.channel);
    if (extended) {
        writer.u16(0).u64(event.blockId);
    } else {
        writer.u16(static_cast<std::uint16_t>(event.blockId));
    }
    writer.u64(event.timestamp).bytes(event.data);
    if (!writer.ok()) {
        return {};
    }
    const auto flags = static_cast<std::uint8_t>((extended ? kFlagExtendedIds : 0U) |
                                                 (ackRequired ? kFlagAckRequired : 0U));
    return makeCommand(data ? Command::EventData : Command::Event, flags, id,
                       {payload.data(), writer.size()});
}

} // namespace gige::wire
