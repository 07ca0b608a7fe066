// Wire formats of USB3 Vision against bytes written by hand, and what must hold for every plan.
#include "usb3/frame_builder.h"
#include "usb3/wire/control_packet.h"
#include "usb3/wire/event_packet.h"
#include "usb3/wire/frame_packet.h"
#include "usb3/wire/interface_descriptor.h"
#include "usb3/wire/transfer_plan.h"

#include <gtest/gtest.h>

#include <random>

namespace
{

using namespace usb3;
using namespace usb3::wire;

TEST(ControlPacket, CommandsHaveTheBytesOfTheProtocol)
{
    EXPECT_EQ(makeRead(7, 0x1122334455667788, 0x40),
              (Bytes{'U',  '3',  'V',  'C',  0,    0x40, 0,    8,    12, 0, 7,    0,
                     0x88, 0x77, 0x66, 0x55, 0x44, 0x33, 0x22, 0x11, 0,  0, 0x40, 0}));
    EXPECT_EQ(makeWrite(0xFFFE, 4, "ab", 2),
              (Bytes{'U',  '3', 'V', 'C', 0, 0x40, 2, 8, 10, 0,   0xFE,
                     0xFF, 4,   0,   0,   0, 0,    0, 0, 0,  'a', 'b'}));
}

TEST(ControlPacket, OnlyTheAnswerToTheCommandCounts)
{
    const Bytes good{'U', '3', 'V', 'C', 3, 0x80, 1, 8, 2, 0, 9, 0, 0x11, 0x22};
    const auto kind = [](Bytes bytes, Command command, std::uint16_t id) {
        return readAnswer(bytes.data(), bytes.size(), command, id).kind;
    };
    const Answer answer = readAnswer(good.data(), good.size(), Command::ReadMemory, 9);
    EXPECT_EQ(answer.kind, Answer::Kind::Final);
    EXPECT_EQ(answer.status, 0x8003);
    EXPECT_EQ(answer.size, 2U);
    EXPECT_EQ(codeOfStatus(answer.status), ZelErr::kGenTLInvalidAddress);
    EXPECT_EQ(kind(good, Command::ReadMemory, 10), Answer::Kind::Stranger);
    EXPECT_EQ(kind(good, Command::WriteMemory, 9), Answer::Kind::Stranger);
    EXPECT_EQ(kind(Bytes(good.begin(), good.end() - 1), Command::ReadMemory, 9),
              Answer::Kind::Stranger);
    // Patience is asked for with the status of success.
    const Bytes pending{'U', '3', 'V', 'C', 0, 0, 5, 8, 4, 0, 9, 0, 0, 0, 0x2C, 1};
    EXPECT_EQ(readAnswer(pending.data(), pending.size(), Command::WriteMemory, 9).milliseconds,
              300U);
    EXPECT_EQ(kind(pending, Command::WriteMemory, 9), Answer::Kind::Pending);
}

TEST(TransferPlan, HoldsThePayloadInAlignedTransfers)
{
    std::mt19937_64 dice(1);
    for (int i = 0; i < 20000; ++i) {
        StreamNeeds needs;
        const std::uint32_t bits = static_cast<std::uint32_t>(dice() % 13);
        needs.info = bits << 24U;
        needs.payload = 1 + dice() % (std::uint64_t{1} << (dice() % 28));
        needs.leader = 52;
        needs.trailer = static_cast<std::uint32_t>(dice() % 40);
        const auto largest = static_cast<std::uint32_t>(16384U << (dice() % 7));
        TransferPlan plan;
        ASSERT_EQ(planTransfers(needs, largest, &plan), ZelErr::kOk);
        const std::uint64_t step = std::uint64_t{1} << bits;
        for (const std::uint32_t size :
             {plan.size, plan.final1, plan.final2, plan.leader, plan.trailer}) {
            ASSERT_EQ(size % step, 0U);
        }
        std::uint64_t sum = 0;
        for (std::uint32_t t = 0; t < plan.transfers(); ++t) {
            ASSERT_GT(plan.lengthOf(t), 0U);
            ASSERT_TRUE(sum < needs.payload) << "no transfer without payload";
            sum += plan.lengthOf(t);
        }
        ASSERT_EQ(sum, std::uint64_t{plan.size} * plan.count + plan.final1 + plan.final2);
        ASSERT_GE(sum, needs.payload);
        ASSERT_LT(sum - needs.payload, step);
        ASSERT_GE(plan.count, 1U);
        ASSERT_LE(plan.size, std::max<std::uint64_t>(largest, step));
        ASSERT_GE(plan.leader, 52U);
        ASSERT_GT(plan.trailer, 0U);
    }
    TransferPlan plan;
    EXPECT_EQ(planTransfers({}, 1 << 20, &plan), ZelErr::kGenTLNotAvailable);
    EXPECT_EQ(planTransfers({21U << 24U, 100, 52, 32}, 1 << 20, &plan), ZelErr::kGenTLInvalidValue);
    EXPECT_EQ(planTransfers({0, ~0ULL, 52, 32}, 1 << 20, &plan), ZelErr::kGenTLInvalidValue);
    EXPECT_EQ(planTransfers({0, 100, 1U << 30U, 32}, 1 << 20, &plan), ZelErr::kGenTLInvalidValue);
}

TEST(FrameBuilder, IsWholeOnlyWhenEverythingAgrees)
{
    Leader leader;
    leader.blockId = 5;
    leader.payload = 1;
    leader.hasImage = true;
    leader.pixelFormat = 0x01080001;
    leader.width = 10;
    leader.height = 10;
    Trailer trailer;
    trailer.blockId = 5;
    trailer.validSize = 100;
    const std::vector<std::uint8_t> memory(128);
    const auto finish = [&](std::size_t got, const Trailer* end) {
        FrameBuilder builder;
        builder.setLeader(leader);
        builder.add(got, got);
        return builder.finish(end, memory.data(), memory.size());
    };
    EXPECT_FALSE(finish(100, &trailer).incomplete);
    EXPECT_FALSE(finish(128, &trailer).incomplete) << "filled up to the alignment";
    EXPECT_EQ(finish(128, &trailer).deliveredSize, 100U);
    EXPECT_TRUE(finish(99, &trailer).incomplete);
    EXPECT_EQ(finish(500, nullptr).deliveredSize, 128U) << "no more than the memory";
    for (const auto& damage : std::vector<std::function<void(Trailer&)>>{
             [](Trailer& t) { t.blockId = 6; }, [](Trailer& t) { t.status = 0xA101; },
             [](Trailer& t) { t.validSize = 99; }, [](Trailer& t) { t.validSize = ~0ULL; }}) {
        Trailer wrong = trailer;
        damage(wrong);
        EXPECT_TRUE(finish(128, &wrong).incomplete);
    }
    Trailer shorter = trailer; // the camera ended the image early and says so
    shorter.height = 5;
    shorter.validSize = 50;
    EXPECT_FALSE(finish(50, &shorter).incomplete);
    EXPECT_EQ(finish(50, &shorter).height, 5U);
}

TEST(EventPacket, SeveralEventsTellTheirSizes)
{
    Bytes bytes{'U', '3', 'V', 'E', 0, 0, 0, 0x0C, 28, 0, 1, 0};
    const Bytes first{12, 0, 0xFF, 0x4F, 1, 2, 3, 4, 5, 6, 7, 8};
    const Bytes second{16, 0, 1, 0x90, 1, 2, 3, 4, 5, 6, 7, 8, 'd', 'a', 't', 'a'};
    bytes.insert(bytes.end(), first.begin(), first.end());
    bytes.insert(bytes.end(), second.begin(), second.end());
    std::vector<std::pair<std::uint16_t, Bytes>> seen;
    const auto take = [&](std::uint16_t id, const std::uint8_t* data, std::size_t size) {
        seen.emplace_back(id, Bytes(data, data + size));
    };
    EXPECT_TRUE(readEvents(bytes.data(), bytes.size(), take));
    EXPECT_EQ(seen,
              (std::vector<std::pair<std::uint16_t, Bytes>>{{0x4FFF, first}, {0x9001, second}}));
    seen.clear();
    bytes[12 + 12] = 17; // longer than the packet
    EXPECT_FALSE(readEvents(bytes.data(), bytes.size(), take));
    EXPECT_EQ(seen.size(), 1U);
    EXPECT_FALSE(readEvents(bytes.data(), bytes.size() - 1, take));
}

TEST(CameraStrings, StandBehindOtherDescriptors)
{
    const Bytes bytes{3, 0x41, 9, 20, 0x24, 1, 0, 0, 1, 0, 0, 0, 1, 0, 4, 5, 6, 0, 8, 0, 10, 11, 8};
    CameraStrings strings;
    ASSERT_TRUE(readCameraStrings(bytes.data(), bytes.size(), &strings));
    EXPECT_EQ(strings.guid, 4);
    EXPECT_EQ(strings.model, 6);
    EXPECT_EQ(strings.serial, 10);
    EXPECT_EQ(strings.userName, 11);
    EXPECT_FALSE(readCameraStrings(bytes.data(), bytes.size() - 1, &strings));
    const Bytes endless{0, 0x24, 1};
    EXPECT_FALSE(readCameraStrings(endless.data(), endless.size(), &strings));
}

} // namespace
