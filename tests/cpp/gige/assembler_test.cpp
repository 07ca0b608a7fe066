// Frames out of packets: in every order, with losses, and out of packets that nobody meant.
#include "gige/frame_assembler.h"
#include "gige/wire/gvcp.h"
#include "stream_maker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <random>

namespace
{

using namespace gige;
using namespace std::chrono_literals;
using namespace stream_maker;

constexpr std::size_t kGuard = 256;

/// Memory with guards around it, deliveries and requests.
class Road final : public FrameRoad
{
public:
    struct Request {
        std::uint64_t block;
        std::uint32_t first;
        std::uint32_t last;
    };
    explicit Road(std::size_t buffers, std::size_t size = kFrame) : size_(size)
    {
        for (std::size_t i = 0; i < buffers; ++i) {
            memory_.emplace_back(size + 2 * kGuard, std::uint8_t{0xEE});
            queue_.push_back(i);
        }
    }
    Place takePlace() override
    {
        if (queue_.empty()) {
            return {};
        }
        const core::BufferToken token = queue_.front();
        queue_.pop_front();
        return {token, memory_[token].data() + kGuard, size_};
    }
    void givePlace(const Place& place) override { queue_.push_front(place.token); }
    void deliver(core::BufferToken token, core::FrameInfo info) override
    {
        const std::uint8_t* const bytes = memory_[token].data();
        for (std::size_t i = 0; i < kGuard; ++i) {
            guarded = guarded && bytes[i] == 0xEE && bytes[kGuard + size_ + i] == 0xEE;
        }
        inside =
            inside && info.imageOffset <= size_ && info.deliveredSize <= size_ - info.imageOffset;
        pixels.emplace_back(bytes + kGuard, bytes + kGuard + size_);
        frames.push_back(std::move(info));
        queue_.push_back(token);
    }
    void requestResend(std::uint64_t rawId, bool, std::uint32_t first, std::uint32_t last) override
    {
        requests.push_back({rawId, first, last});
    }
    std::size_t free() const { return queue_.size(); }
    /// Whether the last frame has this number's pixels, all but those of the packets in `missing`.
    bool lastIs(std::uint64_t frame, const std::vector<std::uint32_t>& missing = {}) const
    {
        const auto gone = [&missing](std::size_t at) {
            return std::count(missing.begin(), missing.end(), at / 540 + 1) != 0;
        };
        for (std::size_t at = 0; at < kFrame; ++at) {
            if (pixels.back()[at] != (gone(at) ? 0 : pixel(frame, at))) {
                return false;
            }
        }
        return frames.back().incomplete == !missing.empty();
    }

    std::vector<core::FrameInfo> frames;
    std::vector<Packet> pixels;
    std::vector<Request> requests;
    bool guarded = true;
    bool inside = true;

private:
    const std::size_t size_;
    std::deque<Packet> memory_;
    std::deque<core::BufferToken> queue_;
};

class Assembler : public ::testing::Test
{
protected:
    Assembler() { start(); }
    void start()
    {
        FrameAssembler::Settings settings;
        settings.packetSize = kPacketSize;
        assembler.start(settings);
    }
    void take(const Packet& packet) { assembler.take({packet.data(), packet.size()}, now); }
    void takeAll(const std::vector<Packet>& packets)
    {
        for (const Packet& packet : packets) {
            take(packet);
        }
    }
    void pass(std::chrono::microseconds time)
    {
        now += time;
        assembler.runTimers(now);
    }

    Maker maker;
    Road road{6};
    StreamNumbers numbers;
    FrameAssembler assembler{road, numbers};
    Clock::time_point now = Clock::now();
};

TEST_F(Assembler, FramesAreWholeWhateverTheOrderOfTheirPackets)
{
    std::mt19937 random(3);
    for (std::uint64_t block = 1; block <= 200; ++block) {
        maker.extended = block > 100;
        if (block == 101) {
            start();
        }
        std::vector<Packet> packets = maker.frame(block);
        packets.push_back(packets[5]); // once more
        if (block % 2 == 0) {
            std::shuffle(packets.begin(), packets.end(), random);
        }
        takeAll(packets);
        ASSERT_EQ(road.frames.size(), block);
        ASSERT_TRUE(maker.extended ? !road.frames.back().incomplete : road.lastIs(block)) << block;
        EXPECT_EQ(road.frames.back().frameId, block);
        EXPECT_EQ(road.frames.back().width, kWidth);
        EXPECT_EQ(road.frames.back().deliveredSize, kFrame);
    }
    EXPECT_EQ(numbers.lost, 0U);
    EXPECT_EQ(numbers.incomplete, 0U);
    EXPECT_GT(numbers.duplicate, 100U);
    EXPECT_TRUE(road.guarded);
}

TEST_F(Assembler, WhatIsMissingIsAskedForAndEndsAsZeros)
{
    std::vector<Packet> packets = maker.frame(1);
    const Packet third = packets[3];
    packets.erase(packets.begin() + 3, packets.begin() + 5); // 3 and 4
    takeAll(packets);
    EXPECT_TRUE(road.requests.empty());
    pass(250us);
    EXPECT_TRUE(road.requests.empty()) << "they may come out of order";
    pass(100us);
    ASSERT_EQ(road.requests.size(), 1U);
    EXPECT_EQ(road.requests[0].first, 3U);
    EXPECT_EQ(road.requests[0].last, 4U);
    take(third);
    std::vector<std::chrono::microseconds> pauses;
    for (auto last = now; road.frames.empty() && pauses.size() < 20;) {
        const std::size_t before = road.requests.size();
        pass(500us);
        if (road.requests.size() > before) {
            pauses.push_back(std::chrono::duration_cast<std::chrono::microseconds>(now - last));
            last = now;
            EXPECT_EQ(road.requests.back().first, 4U) << "the other one came";
        }
    }
    ASSERT_EQ(pauses.size(), 7U) << "eight requests in all";
    EXPECT_GE(pauses[4], 15 * pauses[0]) << "each time after twice the time";
    EXPECT_TRUE(road.lastIs(1, {4}));
    EXPECT_EQ(numbers.missing, 1U);

    packets = maker.frame(2);
    takeAll({packets.begin(), packets.end() - 3}); // the last two and the trailer
    take(maker.leader(3));
    pass(400us);
    EXPECT_EQ(road.requests.back().block, 2U);
    EXPECT_EQ(road.requests.back().first, 9U);
    EXPECT_EQ(road.requests.back().last, 10U);
    packets = maker.frame(3);
    takeAll({packets.begin() + 1, packets.end()});
    EXPECT_EQ(road.frames.size(), 1U) << "frame 3 waits for frame 2";
    take(maker.payload(2, 9));
    take(maker.payload(2, 10));
    ASSERT_EQ(road.frames.size(), 3U);
    EXPECT_EQ(road.frames[1].frameId, 2U);
    EXPECT_FALSE(road.frames[1].incomplete);
    EXPECT_TRUE(road.lastIs(3));
}

TEST_F(Assembler, RefusedPacketsAreNotWaitedFor)
{
    std::vector<Packet> packets = maker.frame(1);
    packets.erase(packets.begin() + 6);
    takeAll(packets);
    pass(400us);
    Packet refusal = maker.packet(1, 6, wire::Format::Payload, {});
    base::storeBig<std::uint16_t>(refusal.data(), wire::status::kPacketUnavailable);
    take(refusal);
    pass(1us);
    ASSERT_EQ(road.frames.size(), 1U);
    EXPECT_TRUE(road.lastIs(1, {6}));
}

TEST_F(Assembler, NumbersGoOnBeyondSixteenBitsAndGapsAreCounted)
{
    for (std::uint64_t number = 65530; number < 65545; ++number) {
        if (number != 65538) {
            const std::uint64_t raw = (number - 1) % 65535 + 1;
            takeAll(maker.frame(raw));
            ASSERT_EQ(road.frames.back().frameId, number);
        }
    }
    EXPECT_EQ(numbers.lost, 1U);
    Packet leader = maker.leader(1); // the camera was restarted
    take(leader);
    EXPECT_EQ(numbers.duplicate, 1U) << "an old one, by its time";
    Maker later;
    std::vector<Packet> packets = later.frame(1);
    base::storeBig<std::uint64_t>(packets[0].data() + 12, 70000000);
    takeAll(packets);
    EXPECT_EQ(road.frames.back().frameId, 1U);
}

TEST_F(Assembler, TheEndOfAnOldFrameDoesNotHideTheNewOneWithItsId)
{
    take(maker.packet(1, 40, wire::Format::Payload, Packet(540)));
    take(maker.packet(1, 41, wire::Format::Payload, Packet(540)));
    EXPECT_EQ(road.free(), 6U);
    takeAll(maker.frame(1));
    ASSERT_EQ(road.frames.size(), 1U);
    EXPECT_TRUE(road.lastIs(1));
}

TEST_F(Assembler, WithoutBuffersFramesAreCountedExactly)
{
    Road empty(0);
    FrameAssembler starved(empty, numbers);
    starved.start({});
    for (std::uint64_t block = 1; block <= 5; ++block) {
        for (const Packet& packet : maker.frame(block)) {
            starved.take({packet.data(), packet.size()}, now);
        }
    }
    EXPECT_EQ(numbers.underruns, 5U);
    EXPECT_EQ(numbers.lost, 0U);
}

TEST_F(Assembler, PayloadsThatAreNoPicturesAreNotDelivered)
{
    for (const std::uint16_t type : {wire::payload::kRaw, wire::payload::kJpeg}) {
        take(maker.leader(type, type));
        take(maker.payload(type, 1));
        take(maker.trailer(type, 2));
    }
    EXPECT_TRUE(road.frames.empty());
    EXPECT_EQ(numbers.unusable, 2U);
    takeAll(maker.frame(9));
    EXPECT_TRUE(road.lastIs(9));
    EXPECT_EQ(road.free(), 6U) << "no buffer went away";
}

TEST_F(Assembler, SizesAreNotBelieved)
{
    take(maker.leader(1));
    take(maker.trailer(1, 0xFFFFF0)); // a frame of millions of packets
    take(maker.packet(1, 0xFF0000, wire::Format::Payload, Packet(540, 9)));
    EXPECT_EQ(numbers.malformed, 2U);
    std::vector<Packet> packets = maker.frame(1);
    takeAll({packets.begin() + 1, packets.end()});
    EXPECT_TRUE(road.lastIs(1)) << "it is as whole as if they had not come";
    take(maker.packet(2, 0xFFFFF0, wire::Format::Payload, Packet(60000, 9)));
    takeAll(maker.frame(2));
    EXPECT_TRUE(road.guarded);
}

TEST(AssemblerFuzz, NothingIsWrittenOutsideAndNoBufferIsLost)
{
    const char* const wanted = std::getenv("ZELCAM_LONG_TESTS");
    const int rounds = wanted != nullptr && *wanted != '\0' ? 1000000 : 60000;
    std::mt19937 random(17);
    Maker maker;
    Road road(5);
    StreamNumbers numbers;
    FrameAssembler assembler(road, numbers);
    FrameAssembler::Settings settings;
    settings.packetSize = kPacketSize;
    assembler.start(settings);
    Clock::time_point now = Clock::now();
    std::uint64_t block = 0;
    std::vector<Packet> packets;
    for (int round = 0; round < rounds; ++round) {
        if (packets.empty()) {
            maker.extended = random() % 50 == 0 ? !maker.extended : maker.extended;
            packets = maker.frame(++block % 70000);
            if (random() % 3 == 0) {
                std::shuffle(packets.begin(), packets.end(), random);
            }
        }
        Packet packet = packets.back();
        packets.pop_back();
        const unsigned change = random() % 8;
        for (unsigned i = 0; change < 4 && i <= random() % 3; ++i) {
            packet[random() % std::min<std::size_t>(packet.size(), 60)] =
                static_cast<std::uint8_t>(random() % 3 == 0 ? random() : random() % 12);
        }
        if (change == 4) {
            packet.resize(random() % (packet.size() + 1));
        } else if (change == 5) {
            packet.resize(packet.size() + random() % 3000, 0x55);
        }
        now += std::chrono::microseconds(random() % 200);
        assembler.take({packet.data(), packet.size()}, now);
        const FrameAssembler::Ahead ahead = assembler.ahead();
        ASSERT_TRUE(ahead.memory == nullptr || ahead.size <= kFrame);
        if (round % 7 == 0) {
            assembler.runTimers(now);
        }
        ASSERT_TRUE(road.guarded && road.inside) << round;
        if (road.frames.size() > 64) {
            road.frames.clear();
            road.pixels.clear();
            road.requests.clear();
        }
    }
    assembler.abandon();
    EXPECT_EQ(road.free(), 5U);
    EXPECT_GT(numbers.delivered, 100U);
}

} // namespace
