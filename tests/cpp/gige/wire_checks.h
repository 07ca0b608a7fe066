// What must hold of the control port's parsers whatever the bytes are.
#pragma once

#include "gige/wire/discovery.h"
#include "gige/wire/events.h"
#include "gige/wire/gvcp.h"

namespace wire_checks
{

/// Whether what a parser handed out lies in what it was given.
inline bool inside(gige::wire::Bytes part, gige::wire::Bytes whole)
{
    return part.empty() ||
           (part.data >= whole.data && part.data + part.size <= whole.data + whole.size);
}

/// Reads the bytes as every command there is. False when something lies outside or does not end.
inline bool commandHolds(gige::wire::Bytes bytes)
{
    using namespace gige::wire;
    constexpr int kMaxEvents = 10'000; // More than a datagram has room for.
    CommandPacket packet;
    if (!parseCommand(bytes, &packet))
        return true;
    bool holds = inside(packet.payload, bytes);
    ForceIp force;
    readForceIp(packet.payload, &force);
    ResendRequest resend;
    readPacketResend(packet, &resend);
    Action action;
    readAction(packet, &action);
    MemoryRange range;
    readMemoryRange(packet.payload, &range);
    std::uint32_t address = 0;
    Bytes data;
    readWriteMemory(packet.payload, &address, &data);
    holds = holds && inside(data, bytes);
    for (std::size_t i = writeRegisterCount(packet.payload); i > 0; --i)
        registerToWrite(packet.payload, i - 1);
    EventReader events(packet);
    Event event;
    for (int count = 0; holds && events.next(&event); ++count)
        holds = inside(event.record, bytes) && inside(event.data, bytes) && count < kMaxEvents;
    return holds;
}

/// The same for answers; memory that was read has the size that was asked for.
inline bool answerHolds(gige::wire::Bytes bytes)
{
    using namespace gige::wire;
    constexpr std::uint16_t kAsked = 512;
    AckPacket packet;
    if (!parseAck(bytes, &packet))
        return true;
    bool holds = inside(packet.payload, bytes);
    Bytes data;
    if (readMemoryAck(packet, {packet.payload.u32(0), kAsked}, &data))
        holds = holds && inside(data, bytes) && data.size == kAsked;
    DiscoveryRecord record;
    readDiscovery(packet.payload, &record);
    readPendingAck(packet);
    return holds;
}

} // namespace wire_checks
