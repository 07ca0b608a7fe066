// Frames as packets, and what a bad network makes of them.
#include "gige/wire/leader.h"
#include "simulator/gige/frame_store.h"
#include "simulator/gige/packet_faults.h"
#include "simulator/gige/test_packet.h"

#include <gtest/gtest.h>

#include <map>

namespace simulator::gige
{

namespace
{

std::shared_ptr<const FrameMemory> memoryOf(std::size_t size)
{
    auto memory = std::make_shared<FrameMemory>(size + 3); // more than the frame
    for (std::size_t i = 0; i < memory->size(); ++i) {
        (*memory)[i] = static_cast<unsigned char>(i * 7 + (i >> 8U));
    }
    return memory;
}

FrameLayout layoutOf(std::size_t size)
{
    FrameLayout layout;
    layout.size = layout.imageSize = size;
    layout.width = static_cast<std::uint32_t>(size / 10);
    layout.height = 10;
    return layout;
}

} // namespace

TEST(SentFrame, CarriesEachByteOnceInPacketsOfTheSize)
{
    for (const std::uint32_t packetSize : {576U, 1500U, 9000U}) {
        for (const bool extended : {false, true}) {
            for (const std::size_t size :
                 {std::size_t{10}, std::size_t{54000}, std::size_t{30010}}) {
                const auto memory = memoryOf(size);
                FramePlan plan;
                plan.frameId = 65535;
                const SentFrame frame(memory, layoutOf(size), plan, {packetSize, extended}, {});
                EXPECT_EQ(frame.blockId(), extended ? 65536U : 1U);
                std::vector<std::uint8_t> joined;
                PacketView view;
                for (std::uint32_t id = 1; id < frame.trailerId(); ++id) {
                    frame.packet(id, false, &view);
                    EXPECT_LE(view.size() + 28, packetSize);
                    if (id + 1 < frame.trailerId()) {
                        EXPECT_EQ(view.size() + 28, packetSize) << "all but the last are full";
                    }
                    joined.insert(joined.end(), view.body.data, view.body.data + view.body.size);
                }
                ASSERT_EQ(joined.size(), size);
                EXPECT_TRUE(std::equal(joined.begin(), joined.end(), memory->begin()));
            }
        }
    }
}

TEST(SentFrame, PartsCarryTheImageAndItsChunks)
{
    const auto memory = memoryOf(30100);
    FrameLayout layout = layoutOf(30100);
    layout.imageSize = 30000;
    layout.chunkOffset = 30008;
    const SentFrame frame(memory, layout, {}, {1500, true, false, true}, {});
    PacketView view;
    frame.packet(0, false, &view);
    wire::StreamHeader header;
    ASSERT_TRUE(wire::parseStreamHeader({view.header.data(), view.headerSize}, &header));
    wire::Leader leader;
    ASSERT_TRUE(wire::readLeader(header, view.body, &leader));
    ASSERT_EQ(leader.partCount, 2);
    EXPECT_EQ(wire::partEntry(leader, 0).image.height, 10U);
    EXPECT_EQ(wire::partEntry(leader, 1).dataType, 10);
    std::vector<std::uint8_t> joined;
    std::vector<std::size_t> ends;
    for (std::uint32_t id = 1; id < frame.trailerId(); ++id) {
        frame.packet(id, false, &view);
        EXPECT_LE(view.size() + 28, 1500U);
        wire::PartPrefix prefix;
        ASSERT_TRUE(wire::readPartPrefix(
            {view.header.data() + view.headerSize - wire::kPartPrefix, wire::kPartPrefix},
            &prefix));
        EXPECT_EQ(prefix.offset, joined.size());
        EXPECT_EQ(prefix.part, ends.size());
        joined.insert(joined.end(), view.body.data, view.body.data + view.body.size);
        if (prefix.zone == 0x40) {
            ends.push_back(joined.size());
        }
    }
    ASSERT_EQ(ends, (std::vector<std::size_t>{30000, 30092}));
    EXPECT_TRUE(std::equal(memory->begin(), memory->begin() + 30000, joined.begin()));
    EXPECT_TRUE(
        std::equal(memory->begin() + 30008, memory->begin() + 30100, joined.begin() + 30000));
}

TEST(SentFrame, WhatFitsIsASinglePacketWhereThatIsWanted)
{
    const auto memory = memoryOf(1400);
    for (const std::size_t size : {1000U, 1399U, 1400U}) { // 44 bytes of leader and trailer
        const SentFrame frame(memory, layoutOf(size), {}, {28 + 8 + 44 + 1399, false, true}, {});
        PacketView view;
        frame.packet(0, false, &view);
        wire::StreamHeader header;
        ASSERT_TRUE(wire::parseStreamHeader({view.header.data(), view.headerSize}, &header));
        ASSERT_EQ(header.format, size <= 1399 ? wire::Format::AllIn : wire::Format::Leader);
        if (size <= 1399) {
            EXPECT_EQ(frame.trailerId(), 0U);
            wire::Leader leader;
            wire::Trailer trailer;
            wire::Bytes data;
            ASSERT_TRUE(wire::readAllIn(header, view.body, &leader, &trailer, &data));
            EXPECT_EQ(trailer.height, 10U);
            ASSERT_EQ(data.size, size);
            EXPECT_TRUE(std::equal(data.data, data.data + size, memory->begin()));
        }
    }
}

TEST(TestPacket, RunsThroughAllStatesOfItsRegister)
{
    TestBytes bytes;
    std::size_t period = 0;
    do {
        bytes.next();
        ++period;
    } while (bytes.state() != 0xFFFF && period < 100000);
    EXPECT_EQ(period, 65535U);
    const auto packet = testPacket(1472, false);
    ASSERT_EQ(packet.size(), 1472U);
    EXPECT_EQ(packet[8], 0xFF);
    EXPECT_EQ(packet[9], 0xE9) << "0xFFFF / 2, with the feedback";
}

TEST(SentFrame, OfAnIncompleteFrameTheEndIsMissing)
{
    FramePlan plan;
    plan.incomplete = true;
    plan.lines = 5;
    const SentFrame frame(memoryOf(54000), layoutOf(54000), plan, {1500, false}, {});
    EXPECT_TRUE(frame.has(0));
    EXPECT_TRUE(frame.has(18));
    EXPECT_FALSE(frame.has(19)) << "27000 bytes are 18 packets of 1464 and a part";
    EXPECT_TRUE(frame.has(frame.trailerId()));
}

TEST(FrameStore, ForgetsTheOldestAndKeepsTwo)
{
    FrameStore store;
    const auto memory = std::make_shared<const FrameMemory>(FrameStore::kMostBytes);
    for (std::uint64_t i = 0; i < 4; ++i) {
        FramePlan plan;
        plan.frameId = i;
        store.add(std::make_shared<SentFrame>(memory, layoutOf(memory->size()), plan,
                                              PacketForm{9000, false}, NetworkFaults{}));
    }
    EXPECT_EQ(store.find(2, false), nullptr);
    EXPECT_NE(store.find(3, false), nullptr);
    EXPECT_NE(store.find(4, false), nullptr);
    EXPECT_EQ(store.find(4, true), nullptr) << "numbers of the other width";
}

TEST(PacketFaults, AreRepeatableAndLoseNothingElse)
{
    FramePlan plan;
    const SentFrame frame(memoryOf(540000), layoutOf(540000), plan, {576, false}, {});
    const auto packets = [&](const NetworkFaults& faults) {
        PacketFaults network;
        network.set(faults, true);
        std::vector<std::vector<std::uint8_t>> out;
        const auto sink = [&](wire::Bytes bytes) {
            out.emplace_back(bytes.data, bytes.data + bytes.size);
        };
        PacketView view;
        PacketFaults::Clock::time_point now{};
        for (std::uint32_t id = 0; id <= frame.trailerId(); ++id) {
            frame.packet(id, false, &view);
            network.send(view, now += std::chrono::microseconds(10), sink);
        }
        network.flush(now, true, sink);
        return out;
    };
    NetworkFaults faults;
    faults.seed = 5;
    faults.twice = 0.05;
    faults.reorder = 0.05;
    faults.delay = 0.05;
    faults.delayUs = 200;
    const auto first = packets(faults);
    EXPECT_EQ(first, packets(faults));
    faults.seed = 6;
    EXPECT_NE(first, packets(faults));
    std::map<std::vector<std::uint8_t>, int> seen;
    for (const auto& each : first) {
        ++seen[each];
    }
    EXPECT_EQ(seen.size(), frame.trailerId() + 1) << "each packet came";
    EXPECT_GT(first.size(), seen.size()) << "some came twice";
    const auto inOrder = packets({});
    std::size_t moved = 0;
    for (std::size_t i = 0; i < inOrder.size(); ++i) {
        moved += first[i] != inOrder[i] ? 1U : 0U;
    }
    EXPECT_GT(moved, 0U);

    NetworkFaults lossy;
    lossy.lose = 0.1;
    const double left = static_cast<double>(packets(lossy).size());
    EXPECT_NEAR(left / static_cast<double>(inOrder.size()), 0.9, 0.04);
}

} // namespace simulator::gige
