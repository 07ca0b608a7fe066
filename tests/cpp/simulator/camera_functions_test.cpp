// What cameras do by themselves or on command: automatics, look-up table, sequencer, actions,
// clocks, files.
#include "base/endian.h"
#include "test_camera.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <thread>

namespace simulator::test
{

namespace
{

constexpr std::uint64_t kLutMemory = 0x04000000;
constexpr std::uint64_t kFileMemory = 0x05000000;
constexpr std::int64_t kMono12 = 0x01100005;

/// A frame of 16-bit samples.
std::vector<std::uint16_t> samples(TestCamera& camera)
{
    const auto bytes = camera.frame();
    std::vector<std::uint16_t> values;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        values.push_back(base::loadLittle<std::uint16_t>(bytes.data() + i));
    }
    return values;
}

double mean(const std::vector<std::uint8_t>& picture)
{
    double sum = 0;
    for (const std::uint8_t value : picture) {
        sum += value;
    }
    return sum / 255.0 / static_cast<double>(picture.size());
}

} // namespace

TEST(LookUp, GivesEachValueAnother)
{
    TestCamera plain;
    TestCamera camera;
    for (TestCamera* one : {&plain, &camera}) {
        ASSERT_EQ(one->set("PixelFormat", kMono12), 0);
        ASSERT_EQ(one->run("AcquisitionStart"), 0);
    }
    ASSERT_EQ(camera.set("LUTEnable", 1), 0);
    EXPECT_EQ(samples(camera), samples(plain)) << "a new table changes nothing";
    std::vector<std::uint8_t> table(2 * 4096);
    for (std::size_t i = 0; i < 4096; ++i) {
        base::storeBig(table.data() + 2 * i, static_cast<std::uint16_t>(4095 - i));
    }
    const FramePlan before = camera.model.nextFrame();
    ASSERT_EQ(camera.model.write(kLutMemory, table.data(), table.size()), 0);
    camera.model.frameDone(before);
    samples(plain);
    const auto expected = samples(plain);
    const auto got = samples(camera);
    ASSERT_EQ(got.size(), expected.size());
    for (std::size_t i = 0; i < got.size(); ++i) {
        ASSERT_EQ(got[i], 4095 - expected[i]);
    }
    // One value, by its index; and only whole values of 12 bits.
    ASSERT_EQ(camera.set("LUTIndex", 0x123), 0);
    EXPECT_EQ(camera.get("LUTValue"), 4095 - 0x123);
    ASSERT_EQ(camera.set("LUTValue", 7), 0);
    std::uint8_t bytes[3] = {};
    ASSERT_EQ(camera.model.read(kLutMemory + 2 * 0x123, bytes, 3), 0);
    EXPECT_EQ(bytes[0] * 256 + bytes[1], 7);
    EXPECT_EQ(camera.model.write(kLutMemory + 1, bytes, 2), -1015);
    EXPECT_EQ(camera.model.write(kLutMemory + 2 * 4096, bytes, 2), -1015);
    EXPECT_EQ(camera.model.write(kLutMemory, "\x10\x00", 2), -1019);
}

TEST(Automatics, ReachTheirBrightness)
{
    for (const char* mode : {"ExposureAuto", "GainAuto"}) {
        for (const double start : {200.0, 40000.0}) {
            TestCamera camera;
            ASSERT_EQ(camera.setReal("ExposureTime", mode[0] == 'G' ? 5000.0 : start), 0);
            ASSERT_EQ(camera.setReal("AutoTargetBrightness", 30.0), 0);
            ASSERT_EQ(camera.set(mode, 1), 0) << "Once";
            ASSERT_EQ(camera.run("AcquisitionStart"), 0);
            int frames = 0;
            while (camera.get(mode) != 0 && frames < 30) {
                camera.frame();
                ++frames;
            }
            EXPECT_LT(frames, 30) << mode << " goes off when it is done";
            EXPECT_NEAR(mean(camera.frame()), 0.3, 0.03) << mode;
        }
    }
    // Continuous follows the light, within its limits, and hands the rest to the gain.
    TestCamera camera;
    ASSERT_EQ(camera.setReal("AutoExposureTimeUpperLimit", 2000.0), 0);
    ASSERT_EQ(camera.set("ExposureAuto", 2), 0);
    ASSERT_EQ(camera.run("AcquisitionStart"), 0);
    for (int i = 0; i < 15; ++i) {
        camera.frame();
    }
    EXPECT_EQ(camera.getReal("ExposureTime"), 2000.0);
    EXPECT_LT(mean(camera.frame()), 0.4);
    ASSERT_EQ(camera.set("GainAuto", 2), 0);
    for (int i = 0; i < 15; ++i) {
        camera.frame();
    }
    EXPECT_NEAR(mean(camera.frame()), 0.5, 0.03);
    EXPECT_GT(camera.getReal("Gain"), 6.0);
    EXPECT_EQ(camera.get("ExposureAuto"), 2);
}

TEST(Automatics, BalanceTheColours)
{
    CameraConfig config = smallCamera();
    config.sensor = SensorKind::Color;
    config.pixelFormats = {"RGB8"};
    TestCamera camera(config);
    ASSERT_EQ(camera.setReal("ExposureTime", 4000), 0);
    ASSERT_EQ(camera.setReal("BalanceRatio", 3.0, 2), 0) << "blue";
    const auto colours = [&] {
        const auto picture = camera.frame();
        std::array<double, 3> sums{};
        for (std::size_t i = 0; i < picture.size(); ++i) {
            sums.at(i % 3) += picture[i];
        }
        return sums;
    };
    ASSERT_EQ(camera.run("AcquisitionStart"), 0);
    auto sums = colours();
    EXPECT_GT(sums[2], 1.5 * sums[1]);
    ASSERT_EQ(camera.set("BalanceWhiteAuto", 1), 0);
    for (int i = 0; camera.get("BalanceWhiteAuto") != 0 && i < 30; ++i) {
        camera.frame();
    }
    EXPECT_EQ(camera.get("BalanceWhiteAuto"), 0);
    sums = colours();
    EXPECT_NEAR(sums[0] / sums[1], 1.0, 0.06);
    EXPECT_NEAR(sums[2] / sums[1], 1.0, 0.06);
}

TEST(Sequencer, FollowsItsPath)
{
    TestCamera camera;
    ASSERT_EQ(camera.set("AcquisitionFrameRateEnable", 0), 0);
    EXPECT_EQ(camera.run("SequencerSetSave"), -1005) << "not being configured";
    ASSERT_EQ(camera.set("SequencerConfigurationMode", 1), 0);
    EXPECT_EQ(camera.set("SequencerMode", 1), -1005);
    const double exposures[] = {1000, 2000, 4000};
    for (std::int64_t set = 0; set < 3; ++set) {
        ASSERT_EQ(camera.setReal("ExposureTime", exposures[set]), 0);
        ASSERT_EQ(camera.set("SequencerSetSelector", set), 0);
        ASSERT_EQ(camera.run("SequencerSetSave"), 0);
        // Path 0 with each frame, path 1 back to the start with action 0.
        ASSERT_EQ(camera.set("SequencerSetNext", (set + 1) % 3), 0);
        ASSERT_EQ(camera.set("SequencerTriggerSource", 6), 0) << "ExposureEnd";
        ASSERT_EQ(camera.set("SequencerPathSelector", 1), 0);
        EXPECT_EQ(camera.get("SequencerSetNext"), 0) << "a path of its own";
        ASSERT_EQ(camera.set("SequencerTriggerSource", 15), 0) << "Action0";
        ASSERT_EQ(camera.set("SequencerPathSelector", 0), 0);
    }
    ASSERT_EQ(camera.set("SequencerSetStart", 1), 0);
    ASSERT_EQ(camera.set("SequencerConfigurationMode", 0), 0);
    ASSERT_EQ(camera.set("SequencerMode", 1), 0);
    ASSERT_EQ(camera.set("ActionGroupMask", 1, 0), 0);
    ASSERT_EQ(camera.run("AcquisitionStart"), 0);
    const auto exposure = [&] {
        FramePlan plan;
        camera.frame(nullptr, &plan);
        return (plan.exposureEndNs - plan.startNs) / 1000;
    };
    for (const std::uint64_t expected : {2000, 4000, 1000, 2000, 4000}) {
        EXPECT_EQ(exposure(), expected);
    }
    EXPECT_EQ(camera.get("SequencerSetActive"), 0);
    exposure();
    EXPECT_EQ(camera.get("SequencerSetActive"), 1);
    EXPECT_EQ(camera.model.actionCommand({0, 0, 1, {}}), ActionFate::Done);
    EXPECT_EQ(camera.get("SequencerSetActive"), 0);
    EXPECT_EQ(exposure(), 1000u);
}

TEST(Actions, TriggerWhoIsMeant)
{
    TestCamera camera;
    ASSERT_EQ(camera.set("ActionDeviceKey", 0x11223344), 0);
    ASSERT_EQ(camera.set("ActionGroupKey", 5, 1), 0);
    ASSERT_EQ(camera.set("ActionGroupMask", 0x6, 1), 0);
    ASSERT_EQ(camera.set("TriggerMode", 1, 1), 0);
    ASSERT_EQ(camera.set("TriggerSource", 8, 1), 0) << "Action1";
    ASSERT_EQ(camera.run("AcquisitionStart"), 0);
    EXPECT_EQ(camera.model.actionCommand({0x11223345, 5, 0xFF, {}}), ActionFate::NotMeant);
    EXPECT_EQ(camera.model.actionCommand({0x11223344, 4, 0xFF, {}}), ActionFate::NotMeant);
    EXPECT_EQ(camera.model.actionCommand({0x11223344, 5, 0xF9, {}}), ActionFate::NotMeant);
    EXPECT_TRUE(camera.frame().empty());
    EXPECT_EQ(camera.model.actionCommand({0x11223344, 5, 0x4, {}}), ActionFate::Done);
    EXPECT_FALSE(camera.frame().empty());
    EXPECT_TRUE(camera.frame().empty());
}

TEST(Clocks, OfOneNetworkAgree)
{
    CameraConfig config = smallCamera();
    config.hasNetwork = true;
    config.macAddress = "02:5a:43:00:00:01";
    TestCamera one(config);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    TestCamera two(config);
    EXPECT_GT(one.model.timestamp(), two.model.timestamp() + 10000000) << "made earlier";
    const auto status = [&] {
        EXPECT_EQ(two.run("PtpDataSetLatch"), 0);
        return two.get("PtpStatus");
    };
    EXPECT_EQ(status(), 1) << "Disabled";
    ASSERT_EQ(one.set("PtpEnable", 1), 0);
    ASSERT_EQ(two.set("PtpEnable", 1), 0);
    for (int i = 0; status() != 4 && i < 100; ++i) { // Slave
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    EXPECT_EQ(status(), 4);
    EXPECT_LT(std::abs(two.get("PtpOffsetFromMaster")), 1000);
    EXPECT_EQ(two.get("PtpClockID"), 0x025A43FFFE000001);
    EXPECT_NE(two.get("PtpParentClockID"), two.get("PtpClockID"));
    const std::uint64_t first = one.model.timestamp();
    const std::uint64_t second = two.model.timestamp();
    EXPECT_LT(second - first, 1000000000u) << "in the order in which they were asked";
    const auto host = std::chrono::system_clock::now().time_since_epoch();
    const auto hostNs = std::chrono::duration_cast<std::chrono::nanoseconds>(host).count();
    EXPECT_LT(std::llabs(hostNs - static_cast<long long>(second)), 1000000000);
    FrameLayout layout;
    ASSERT_EQ(two.run("AcquisitionStart"), 0);
    two.frame(&layout);
    EXPECT_GT(layout.timestampNs, second) << "frames show this clock";
}

TEST(Files, KeepWhatIsWritten)
{
    TestCamera camera;
    enum Operation { kOpen, kClose, kRead, kWrite, kDelete };
    const auto does = [&](Operation operation) {
        EXPECT_EQ(camera.set("FileOperationSelector", operation), 0);
        EXPECT_EQ(camera.run("FileOperationExecute"), 0);
        return camera.get("FileOperationStatus") == 0;
    };
    const auto move = [&](Operation operation, std::int64_t offset, std::int64_t length) {
        EXPECT_EQ(camera.set("FileAccessOffset", offset), 0);
        EXPECT_EQ(camera.set("FileAccessLength", length), 0);
        return does(operation) ? camera.get("FileOperationResult") : -1;
    };
    EXPECT_EQ(move(kRead, 0, 10), -1) << "not open";
    ASSERT_EQ(camera.set("FileOpenMode", 1), 0) << "Write";
    ASSERT_TRUE(does(kOpen));
    EXPECT_FALSE(does(kOpen)) << "open already";
    const std::string text(3000, 'a');
    ASSERT_EQ(camera.model.write(kFileMemory, text.data(), text.size()), 0);
    EXPECT_EQ(move(kWrite, 0, 3000), 3000);
    ASSERT_EQ(camera.model.write(kFileMemory, "bcd", 3), 0);
    EXPECT_EQ(move(kWrite, 3000, 3), 3);
    EXPECT_EQ(move(kWrite, 5000, 3), -1) << "a hole";
    EXPECT_EQ(move(kRead, 0, 3), -1) << "opened to write";
    EXPECT_FALSE(does(kDelete)) << "open";
    ASSERT_EQ(camera.run("DeviceReset"), 0) << "closes it, and does not lose it";
    ASSERT_EQ(camera.set("FileOpenMode", 0), 0);
    ASSERT_TRUE(does(kOpen));
    EXPECT_EQ(camera.get("FileSize"), 3003);
    EXPECT_EQ(move(kRead, 2998, 4096), 5);
    char back[6] = {};
    ASSERT_EQ(camera.model.read(kFileMemory, back, 5), 0);
    EXPECT_STREQ(back, "aabcd");
    EXPECT_EQ(camera.model.read(kFileMemory + 4090, back, 7), -1015);
    ASSERT_TRUE(does(kClose));
    EXPECT_TRUE(does(kDelete));
    EXPECT_EQ(camera.get("FileSize"), 0);
    ASSERT_EQ(camera.set("FileSelector", 1), 0);
    ASSERT_EQ(camera.set("FileOpenMode", 1), 0);
    EXPECT_FALSE(does(kOpen)) << "cannot be written";
}

} // namespace simulator::test
