// The control channel over a pipe that plays a camera with a small memory.
#include "base/endian.h"
#include "usb3/control_channel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <numeric>

namespace
{

using namespace usb3;
using wire::Bytes;

/// Answers at once. Refuses what is longer than its limits or, when it is told so, unaligned.
class Camera final : public ControlPipe
{
public:
    Camera() { std::iota(memory.begin(), memory.end(), std::uint8_t{0}); }

    UsbResult send(const std::uint8_t* bytes, std::size_t size, unsigned) override
    {
        if (gone) {
            return UsbResult::Gone;
        }
        ++commands;
        longest = std::max(longest, size);
        const auto kind = base::loadLittle<std::uint16_t>(bytes + 6);
        const auto address = base::loadLittle<std::uint64_t>(bytes + 12);
        const std::size_t count =
            kind == 0x0800 ? base::loadLittle<std::uint16_t>(bytes + 22) : size - 20;
        Bytes answer(bytes, bytes + 12);
        std::uint16_t status = 0;
        Bytes data;
        if (wordsOnly && (address % 4 != 0 || count % 4 != 0)) {
            status = 0x8005;
        } else if (address > memory.size() || count > memory.size() - address) {
            status = 0x8003;
        } else if (kind == 0x0800) {
            data.assign(&memory[address], &memory[address] + count);
        } else {
            std::memcpy(&memory[address], bytes + 20, count);
        }
        base::storeLittle(&answer[4], status);
        base::storeLittle(&answer[6], static_cast<std::uint16_t>(kind + 1));
        base::storeLittle(&answer[8], static_cast<std::uint16_t>(data.size()));
        answer.insert(answer.end(), data.begin(), data.end());
        for (const Bytes& stray : before) {
            answers.push_back(stray);
        }
        answers.push_back(std::move(answer));
        return UsbResult::Ok;
    }
    UsbResult receive(std::uint8_t* bytes, std::size_t capacity, unsigned,
                      std::size_t* got) override
    {
        if (answers.empty()) {
            return UsbResult::Timeout;
        }
        const Bytes answer = answers.front();
        answers.pop_front();
        EXPECT_LE(answer.size(), capacity);
        std::copy(answer.begin(), answer.end(), bytes);
        *got = answer.size();
        return UsbResult::Ok;
    }
    void clearHalts() override {}

    std::array<std::uint8_t, 1000> memory{};
    std::deque<Bytes> answers;
    std::vector<Bytes> before; ///< Comes before each answer.
    std::size_t longest = 0;
    int commands = 0;
    bool wordsOnly = false;
    bool gone = false;
};

TEST(ControlChannel, AnyAddressAndLengthInTransfersOfTheCamerasSize)
{
    Camera camera;
    ControlChannel channel(camera, [] {});
    channel.setLimits({84, 76, 1});
    for (std::size_t offset : {0U, 1U, 3U, 500U}) {
        for (std::size_t size : {0U, 1U, 2U, 5U, 63U, 64U, 65U, 499U}) {
            Bytes data(size + 2, 0xEE);
            ASSERT_EQ(channel.read(offset, data.data() + 1, size), ZelErr::kOk);
            EXPECT_EQ(data.front(), 0xEE);
            EXPECT_EQ(data.back(), 0xEE);
            EXPECT_TRUE(std::equal(data.begin() + 1, data.end() - 1, &camera.memory[offset]));
            Bytes written(size);
            std::iota(written.begin(), written.end(), static_cast<std::uint8_t>(offset + size));
            ASSERT_EQ(channel.write(offset, written.data(), size), ZelErr::kOk);
            EXPECT_TRUE(std::equal(written.begin(), written.end(), &camera.memory[offset]));
        }
    }
    EXPECT_LE(camera.longest, 84U);
    std::uint8_t byte = 0;
    EXPECT_EQ(channel.read(999, &byte, 1), ZelErr::kOk);
    EXPECT_EQ(channel.read(1000, &byte, 1), ZelErr::kGenTLInvalidAddress);
    const int before = camera.commands;
    std::array<std::uint8_t, 2> two{};
    EXPECT_EQ(channel.read(~0ULL, two.data(), 2), ZelErr::kGenTLInvalidAddress);
    EXPECT_EQ(camera.commands, before);
}

TEST(ControlChannel, ReadsWholeWordsWhereTheCameraWantsThem)
{
    Camera camera;
    camera.wordsOnly = true;
    ControlChannel channel(camera, [] {});
    std::array<std::uint8_t, 7> data{};
    ASSERT_EQ(channel.read(5, data.data(), data.size()), ZelErr::kOk);
    EXPECT_EQ(data[0], 5);
    EXPECT_EQ(data[6], 11);
}

TEST(ControlChannel, StrangersAreDroppedUntilThereAreTooMany)
{
    Camera camera;
    ControlChannel channel(camera, [] {});
    std::uint32_t value = 0;
    camera.before.assign(20, Bytes{'U', '3', 'V', 'C', 0, 0, 1, 8, 4, 0, 0xAA, 0xAA, 1, 2, 3, 4});
    camera.before.push_back({});
    EXPECT_EQ(channel.read32(0, &value), ZelErr::kOk);
    EXPECT_EQ(value, 0x03020100U);
    camera.before.assign(100, Bytes(2000 % 1024, 0x55));
    EXPECT_EQ(channel.write32(0, 1), ZelErr::kGenTLTimeout);
}

TEST(ControlChannel, WhatIsGoneStaysGone)
{
    Camera camera;
    int told = 0;
    ControlChannel channel(camera, [&told] { ++told; });
    camera.gone = true;
    std::uint32_t value = 1;
    EXPECT_EQ(channel.read32(0, &value), ZelErr::kGenTLIo);
    EXPECT_EQ(value, 0U);
    camera.gone = false;
    EXPECT_EQ(channel.write32(0, 1), ZelErr::kGenTLIo);
    EXPECT_EQ(told, 1);
    EXPECT_EQ(camera.commands, 0);
}

} // namespace
