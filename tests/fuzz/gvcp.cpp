// Datagrams at the control and message ports: every parser, and nothing handed out lies outside.
#include "gige/wire/gvcp.h"

#include "gige/wire/discovery.h"
#include "gige/wire/events.h"
#include "gige/wire/xml_url.h"
#include "input.h"

namespace
{

using namespace gige::wire;

void inside(Bytes part, Bytes whole)
{
    fuzz::require(part.empty() ||
                  (part.data >= whole.data && part.data + part.size <= whole.data + whole.size));
}

void command(Bytes bytes)
{
    CommandPacket packet;
    if (!parseCommand(bytes, &packet)) {
        return;
    }
    inside(packet.payload, bytes);
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
    inside(data, bytes);
    for (std::size_t i = writeRegisterCount(packet.payload); i > 0; --i) {
        registerToWrite(packet.payload, i - 1);
    }
    EventReader events(packet);
    Event event;
    int count = 0;
    while (events.next(&event)) {
        inside(event.record, bytes);
        inside(event.data, bytes);
        fuzz::require(++count < 10000);
    }
}

void answer(Bytes bytes)
{
    AckPacket packet;
    if (!parseAck(bytes, &packet)) {
        return;
    }
    inside(packet.payload, bytes);
    Bytes data;
    if (readMemoryAck(packet, {packet.payload.u32(0), 512}, &data)) {
        inside(data, bytes);
    }
    DiscoveryRecord record;
    readDiscovery(packet.payload, &record);
    readPendingAck(packet);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::vector<std::uint8_t> memory(data, data + size);
    const Bytes bytes(memory.data(), memory.size());
    command(bytes);
    answer(bytes);
    parseXmlUrl(bytes.text(0, size));
    return 0;
}
