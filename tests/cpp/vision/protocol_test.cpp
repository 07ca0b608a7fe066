// Packets, frame ids and chunks against bytes written by hand.
#include "core/chunk_trailer.h"
#include "vision/frame_ids.h"
#include "vision/gvcp_packet.h"

#include <gtest/gtest.h>

#include <cstring>

namespace
{

using namespace vision;

TEST(GvcpPacket, CommandsHaveTheBytesOfTheProtocol)
{
    EXPECT_EQ(gvcp::makeReadRegister(0x1234, 0x0A00),
              (gvcp::Bytes{0x42, 0x01, 0x00, 0x80, 0x00, 0x04, 0x12, 0x34, 0, 0, 0x0A, 0x00}));
    const gvcp::Bytes force =
        gvcp::makeForceIp(7, {2, 0x5a, 0x43, 0, 0, 9}, 0xC0A80001, 0xFFFFFF00, 0xC0A800FE);
    ASSERT_EQ(force.size(), 64U);
    EXPECT_EQ(gvcp::Bytes(force.begin(), force.begin() + 16),
              (gvcp::Bytes{0x42, 0x11, 0x00, 0x04, 0x00, 0x38, 0x00, 0x07, 0, 0, 2, 0x5a, 0x43, 0,
                           0, 9}));
    EXPECT_EQ(gvcp::load32(force.data() + 28), 0xC0A80001U);
    EXPECT_EQ(gvcp::load32(force.data() + 44), 0xFFFFFF00U);
    EXPECT_EQ(gvcp::load32(force.data() + 60), 0xC0A800FEU);
}

TEST(GvcpPacket, DiscoveryAnswerIsReadAndShortOrWrongOnesAreRefused)
{
    gvcp::Bytes answer(8 + 0xF8, 0);
    answer[3] = 0x03;
    answer[5] = 0xF8;
    const gvcp::Bytes mac{2, 0x5a, 0x43, 0, 0, 9};
    std::copy(mac.begin(), mac.end(), answer.begin() + 8 + 0x0A);
    answer[8 + 0x24] = 127;
    answer[8 + 0x27] = 1;
    std::memcpy(&answer[8 + 0x48], "A vendor", 8);
    std::memset(&answer[8 + 0x68], 'm', 32);       // a full field without a closing NUL
    std::memcpy(&answer[8 + 0xD8], "S\xE9rie", 5); // Latin-1
    gvcp::Packet packet;
    ASSERT_TRUE(gvcp::parse(answer.data(), answer.size(), &packet));
    gvcp::DiscoveryRecord record;
    ASSERT_TRUE(gvcp::parseDiscovery(packet, &record));
    EXPECT_EQ(record.address, 0x7F000001U);
    EXPECT_EQ(gvcp::macText(record.mac), "02:5a:43:00:00:09");
    EXPECT_EQ(record.vendor, "A vendor");
    EXPECT_EQ(record.model, std::string(32, 'm'));
    EXPECT_EQ(record.serialNumber, "S\xC3\xA9rie");

    for (std::size_t size = 0; size < answer.size(); ++size) {
        EXPECT_FALSE(gvcp::parse(answer.data(), size, &packet)) << size;
    }
    answer[5] = 0x40;
    ASSERT_TRUE(gvcp::parse(answer.data(), answer.size(), &packet));
    EXPECT_FALSE(gvcp::parseDiscovery(packet, &record));
}

TEST(FrameIds, GoOnBeyondSixteenBits)
{
    FrameIds ids;
    EXPECT_EQ(ids.extend(65534), 65534U);
    EXPECT_EQ(ids.extend(65535), 65535U);
    EXPECT_EQ(ids.extend(1), 65536U); // 0 is skipped by the protocol
    EXPECT_EQ(ids.extend(0), 65537U); // not told: the next one
    EXPECT_EQ(ids.extend(5), 65540U);
    EXPECT_EQ(ids.extend(3), 65538U); // late
    EXPECT_EQ(ids.extend(6), 65541U);
    for (std::uint64_t i = 65542; i < 400000; ++i) {
        ASSERT_EQ(ids.extend((i - 1) % 65535 + 1), i);
    }
    ids.reset();
    EXPECT_EQ(ids.extend(65535), 65535U);
    EXPECT_EQ(ids.extend(65536), 65536U); // a device with wide ids
    EXPECT_EQ(ids.extend(1U << 30U), 1U << 30U);
    ids.reset();
    EXPECT_EQ(ids.extend(0), 0U); // the first one did not tell either
    EXPECT_EQ(ids.extend(65415), 65415U);
    EXPECT_EQ(ids.extend(65416), 65416U);
}

TEST(ChunkTrailer, FindsChunksFromTheEnd)
{
    gvcp::Bytes bytes{1,          2, 3, 4, /* id */ 0,     0, 0, 1, /* length */ 0, 0, 0, 4, 9, 9,
                      /* id */ 0, 0, 0, 7, /* length */ 0, 0, 0, 2};
    const auto places = core::chunkPlaces(bytes.data(), bytes.size(), true);
    ASSERT_EQ(places.size(), 2U);
    EXPECT_EQ(places[0].id, 1U);
    EXPECT_EQ(places[0].offset, 0U);
    EXPECT_EQ(places[0].size, 4U);
    EXPECT_EQ(places[1].id, 7U);
    EXPECT_EQ(places[1].offset, 12U);
    EXPECT_EQ(places[1].size, 2U);
    EXPECT_TRUE(core::chunkPlaces(bytes.data(), bytes.size(), false).empty());
    EXPECT_TRUE(core::chunkPlaces(bytes.data(), bytes.size() - 1, true).empty());
    bytes[11] = 5; // the first chunk would begin before the payload
    EXPECT_TRUE(core::chunkPlaces(bytes.data(), bytes.size(), true).empty());
}

} // namespace
