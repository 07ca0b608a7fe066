// Every parser over bytes that nobody meant: nothing is read beyond them (the sanitizers watch) and
// nothing that is handed out lies outside.
#include "gige/wire/discovery.h"
#include "gige/wire/events.h"
#include "gige/wire/leader.h"
#include "gige/wire/xml_url.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <random>

namespace
{

using namespace gige::wire;

bool inside(Bytes part, Bytes whole)
{
    return part.empty() ||
           (part.data >= whole.data && part.data + part.size <= whole.data + whole.size);
}

void controlPacket(Bytes bytes)
{
    CommandPacket command;
    if (parseCommand(bytes, &command)) {
        ASSERT_TRUE(inside(command.payload, bytes));
        ForceIp force;
        readForceIp(command.payload, &force);
        ResendRequest resend;
        readPacketResend(command, &resend);
        Action action;
        readAction(command, &action);
        MemoryRange range;
        readMemoryRange(command.payload, &range);
        std::uint32_t address = 0;
        Bytes data;
        readWriteMemory(command.payload, &address, &data);
        ASSERT_TRUE(inside(data, bytes));
        for (std::size_t i = writeRegisterCount(command.payload); i > 0; --i) {
            registerToWrite(command.payload, i - 1);
        }
        EventReader events(command);
        Event event;
        int count = 0;
        while (events.next(&event)) {
            ASSERT_TRUE(inside(event.record, bytes) && inside(event.data, bytes));
            ASSERT_LT(++count, 100000);
        }
    }
    AckPacket ack;
    if (parseAck(bytes, &ack)) {
        ASSERT_TRUE(inside(ack.payload, bytes));
        Bytes data;
        if (readMemoryAck(ack, {ack.payload.u32(0), 512}, &data)) {
            ASSERT_TRUE(inside(data, bytes));
            ASSERT_EQ(data.size, 512U);
        }
        DiscoveryRecord record;
        readDiscovery(ack.payload, &record);
        readPendingAck(ack);
    }
}

void streamPacket(Bytes bytes)
{
    StreamHeader header;
    if (!parseStreamHeader(bytes, &header)) {
        return;
    }
    const Bytes body = bytes.from(header.size());
    ASSERT_TRUE(inside(body, bytes));
    Leader leader;
    if (readLeader(header, body, &leader)) {
        ASSERT_TRUE(inside(leader.parts, bytes));
        ASSERT_TRUE(inside({leader.fileName.data(), leader.fileName.size()}, bytes));
        for (std::size_t i = 0; i <= leader.partCount; ++i) { // one too many is 0
            partEntry(leader, i);
        }
    }
    Trailer trailer;
    readTrailer(body, &trailer);
    Bytes data;
    if (readAllIn(header, body, &leader, &trailer, &data)) {
        ASSERT_TRUE(inside(data, bytes));
    }
    PartPrefix prefix;
    readPartPrefix(body, &prefix);
}

TEST(RandomBytes, AreReadWithinTheirBounds)
{
    const char* const wanted = std::getenv("ZELCAM_LONG_TESTS");
    const int rounds = wanted != nullptr && *wanted != '\0' ? 20000000 : 300000;
    std::mt19937 random(20);
    for (int round = 0; round < rounds && !HasFatalFailure(); ++round) {
        const std::size_t size = random() % (round % 8 == 0 ? 600 : 80);
        // Of its very size, so that the sanitizer sees the first byte beyond.
        const std::unique_ptr<std::uint8_t[]> memory(new std::uint8_t[size]);
        for (std::size_t i = 0; i < size; ++i) {
            // Few values, so that lengths and counts are small enough to be plausible.
            memory[i] = static_cast<std::uint8_t>(random() % 4 == 0 ? random() : random() % 12);
        }
        const Bytes bytes(memory.get(), size);
        if (size >= 8 && round % 2 == 0) {
            memory[0] = 0x42;
            memory[2] = static_cast<std::uint8_t>(random() % 2);
            base::storeBig<std::uint16_t>(&memory[4], static_cast<std::uint16_t>(size - 8));
        }
        controlPacket(bytes);
        streamPacket(bytes);
        parseXmlUrl(bytes.text(0, size));
    }
}

} // namespace
