// Every parser over bytes that nobody meant: nothing is read beyond them (the sanitizers watch) and
// nothing that is handed out lies outside.
#include "gige/wire/leader.h"
#include "gige/wire/xml_url.h"
#include "wire_checks.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <random>

namespace
{

using namespace gige::wire;

using wire_checks::inside;

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
        ASSERT_TRUE(wire_checks::commandHolds(bytes));
        ASSERT_TRUE(wire_checks::answerHolds(bytes));
        streamPacket(bytes);
        parseXmlUrl(bytes.text(0, size));
    }
}

} // namespace
