#include "gige/wire/gvcp.h"

namespace gige::wire
{

namespace
{

constexpr std::uint8_t kKey = 0x42;
constexpr std::size_t kForceIpPayload = 56;
// "To the end" in the form whose packet ids have 24 bits.
constexpr std::uint32_t kShortToEnd = 0xFFFFFFU;

/// Writes the payload first, then the header that tells its length.
class Builder
{
public:
    Builder() : payload_(datagram_.data.data() + kControlHeader, kControlPayload) {}

    Writer& payload() { return payload_; }

    Datagram finish(std::uint16_t head, std::uint16_t code, std::uint16_t id)
    {
        if (payload_.ok()) {
            Writer header(datagram_.data.data(), kControlHeader);
            header.u16(head).u16(code).u16(static_cast<std::uint16_t>(payload_.size())).u16(id);
            datagram_.size = kControlHeader + payload_.size();
        }
        return datagram_;
    }
    Datagram command(Command command, std::uint8_t flags, std::uint16_t id)
    {
        return finish(static_cast<std::uint16_t>(kKey << 8U | flags),
                      static_cast<std::uint16_t>(command), id);
    }

private:
    Datagram datagram_;
    Writer payload_;
};

bool announcedPayload(Bytes datagram, Bytes* payload)
{
    const std::size_t length = datagram.u16(4);
    if (!datagram.holds(kControlHeader, length)) {
        return false;
    }
    *payload = datagram.from(kControlHeader).first(length);
    return true;
}

} // namespace

bool parseCommand(Bytes datagram, CommandPacket* packet)
{
    if (datagram.size < kControlHeader || datagram.u8(0) != kKey) {
        return false;
    }
    packet->flags = datagram.u8(1);
    packet->code = datagram.u16(2);
    packet->id = datagram.u16(6);
    return announcedPayload(datagram, &packet->payload);
}

bool parseAck(Bytes datagram, AckPacket* packet)
{
    if (datagram.size < kControlHeader || datagram.u8(0) == kKey) {
        return false;
    }
    packet->status = datagram.u16(0);
    packet->code = datagram.u16(2);
    packet->id = datagram.u16(6);
    return announcedPayload(datagram, &packet->payload);
}

Datagram makeCommand(Command command, std::uint8_t flags, std::uint16_t id, Bytes payload)
{
    Builder builder;
    builder.payload().bytes(payload);
    return builder.command(command, flags, id);
}

Datagram makeAck(std::uint16_t code, std::uint16_t id, std::uint16_t status, Bytes payload)
{
    Builder builder;
    builder.payload().bytes(payload);
    return builder.finish(status, code, id);
}

Datagram makeForceIp(std::uint16_t id, const ForceIp& force, std::uint8_t flags)
{
    Builder builder;
    builder.payload().zeros(2).bytes({force.mac.data(), force.mac.size()});
    builder.payload().zeros(12).u32(force.address).zeros(12).u32(force.mask).zeros(12);
    builder.payload().u32(force.gateway);
    return builder.command(Command::ForceIp, flags, id);
}

bool readForceIp(Bytes payload, ForceIp* force)
{
    if (payload.size < kForceIpPayload) {
        return false;
    }
    std::memcpy(force->mac.data(), payload.data + 2, force->mac.size());
    force->address = payload.u32(20);
    force->mask = payload.u32(36);
    force->gateway = payload.u32(52);
    return true;
}

Datagram makeReadRegisters(std::uint16_t id, const std::uint32_t* addresses, std::size_t count)
{
    Builder builder;
    for (std::size_t i = 0; i < count && builder.payload().ok(); ++i) {
        builder.payload().u32(addresses[i]);
    }
    return builder.command(Command::ReadRegister, kFlagAckRequired, id);
}

std::size_t readRegisterCount(Bytes payload)
{
    return payload.size % 4 == 0 && payload.size <= kControlPayload ? payload.size / 4 : 0;
}

Datagram makeReadRegistersAck(std::uint16_t id, std::uint16_t status, const std::uint32_t* values,
                              std::size_t count)
{
    Builder builder;
    for (std::size_t i = 0; i < count && builder.payload().ok(); ++i) {
        builder.payload().u32(values[i]);
    }
    return builder.finish(status, ackCode(Command::ReadRegister), id);
}

Datagram makeWriteRegisters(std::uint16_t id, const RegisterValue* values, std::size_t count)
{
    Builder builder;
    for (std::size_t i = 0; i < count && builder.payload().ok(); ++i) {
        builder.payload().u32(values[i].address).u32(values[i].value);
    }
    return builder.command(Command::WriteRegister, kFlagAckRequired, id);
}

std::size_t writeRegisterCount(Bytes payload)
{
    return payload.size % 8 == 0 && payload.size <= kControlPayload ? payload.size / 8 : 0;
}

RegisterValue registerToWrite(Bytes payload, std::size_t index)
{
    return {payload.u32(8 * index), payload.u32(8 * index + 4)};
}

Datagram makeWriteAck(Command command, std::uint16_t id, std::uint16_t status, std::uint16_t index)
{
    Builder builder;
    builder.payload().u16(0).u16(index);
    return builder.finish(status, ackCode(command), id);
}

Datagram makeReadMemory(std::uint16_t id, MemoryRange range)
{
    Builder builder;
    builder.payload().u32(range.address).u16(0).u16(range.count);
    return builder.command(Command::ReadMemory, kFlagAckRequired, id);
}

bool readMemoryRange(Bytes payload, MemoryRange* range)
{
    range->address = payload.u32(0);
    range->count = payload.u16(6);
    return payload.size >= 8;
}

Datagram makeReadMemoryAck(std::uint16_t id, std::uint32_t address, Bytes data)
{
    Builder builder;
    builder.payload().u32(address).bytes(data);
    return builder.finish(status::kSuccess, ackCode(Command::ReadMemory), id);
}

bool readMemoryAck(const AckPacket& ack, MemoryRange asked, Bytes* data)
{
    *data = ack.payload.from(4).first(asked.count);
    return ack.payload.size >= 4 && ack.payload.u32(0) == asked.address &&
           data->size == asked.count;
}

Datagram makeWriteMemory(std::uint16_t id, std::uint32_t address, Bytes data)
{
    Builder builder;
    builder.payload().u32(address).bytes(data);
    return builder.command(Command::WriteMemory, kFlagAckRequired, id);
}

bool readWriteMemory(Bytes payload, std::uint32_t* address, Bytes* data)
{
    *address = payload.u32(0);
    *data = payload.from(4);
    return payload.size >= 4;
}

Datagram makePendingAck(std::uint16_t id, std::uint16_t milliseconds)
{
    Builder builder;
    builder.payload().u16(0).u16(milliseconds);
    return builder.finish(status::kSuccess, kPendingAckCode, id);
}

std::uint16_t readPendingAck(const AckPacket& ack) { return ack.payload.u16(2); }

Datagram makePacketResend(std::uint16_t id, const ResendRequest& request)
{
    Builder builder;
    Writer& payload = builder.payload();
    if (request.extended) {
        payload.u16(request.channel).u16(0).u32(request.first).u32(request.last);
        payload.u64(request.blockId);
        return builder.command(Command::PacketResend, kFlagExtendedIds, id);
    }
    payload.u16(request.channel).u16(static_cast<std::uint16_t>(request.blockId));
    payload.u32(request.first & kShortToEnd).u32(request.last & kShortToEnd);
    return builder.command(Command::PacketResend, 0, id);
}

bool readPacketResend(const CommandPacket& packet, ResendRequest* request)
{
    const Bytes payload = packet.payload;
    request->extended = (packet.flags & kFlagExtendedIds) != 0;
    request->channel = payload.u16(0);
    request->first = payload.u32(4);
    request->last = payload.u32(8);
    if (request->extended) {
        request->blockId = payload.u64(12);
        return payload.size >= 20;
    }
    request->blockId = payload.u16(2);
    request->first &= kShortToEnd;
    request->last &= kShortToEnd;
    if (request->last == kShortToEnd) {
        request->last = ResendRequest::kToEnd;
    }
    return payload.size >= 12;
}

Datagram makeAction(std::uint16_t id, const Action& action, std::uint8_t flags)
{
    Builder builder;
    builder.payload().u32(action.deviceKey).u32(action.groupKey).u32(action.groupMask);
    if (action.scheduled) {
        builder.payload().u64(action.time);
        flags = static_cast<std::uint8_t>(flags | kFlagScheduled);
    }
    return builder.command(Command::Action, flags, id);
}

bool readAction(const CommandPacket& packet, Action* action)
{
    const Bytes payload = packet.payload;
    action->deviceKey = payload.u32(0);
    action->groupKey = payload.u32(4);
    action->groupMask = payload.u32(8);
    action->scheduled = (packet.flags & kFlagScheduled) != 0;
    action->time = action->scheduled ? payload.u64(12) : 0;
    return payload.size >= (action->scheduled ? 20U : 12U);
}

} // namespace gige::wire
