// Lines, counters, timers and the triggers that come from them.
#include "test_camera.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace simulator::test
{

namespace
{

constexpr std::size_t kFrameStart = 1;
enum Source : std::int64_t {
    kSoftware,
    kLine0,
    kLine1,
    kCounter0End,
    kTimer0End = 5,
    kAction0 = 7
};
/// Of CounterEventSource and TimerTriggerSource.
enum Happening : std::int64_t { kAtFrameStart = 5, kAtLine0 = 9, kAtLine1, kAtCounter0End };

/// Waits, at most 5 s, until something is so.
template <class Test> bool comes(Test test)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (!test()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    return true;
}

/// A train of pulses on a line: times in us, 0 pulses for no end.
void sendPulses(TestCamera& camera, std::size_t line, double period, double width,
                std::int64_t pulses)
{
    ASSERT_EQ(camera.setReal("SimulatorSignalPeriod", period, line), 0);
    ASSERT_EQ(camera.setReal("SimulatorSignalWidth", width, line), 0);
    ASSERT_EQ(camera.set("SimulatorSignalPulses", pulses, line), 0);
    ASSERT_EQ(camera.set("SimulatorSignalEnable", 1, line), 0);
}

void waitForLine(TestCamera& camera, std::int64_t source, std::int64_t activation = 0)
{
    ASSERT_EQ(camera.set("AcquisitionFrameRateEnable", 0), 0);
    ASSERT_EQ(camera.setReal("ExposureTime", 100), 0);
    ASSERT_EQ(camera.set("TriggerMode", 1, kFrameStart), 0);
    ASSERT_EQ(camera.set("TriggerSource", source, kFrameStart), 0);
    ASSERT_EQ(camera.set("TriggerActivation", activation, kFrameStart), 0);
    ASSERT_EQ(camera.run("AcquisitionStart"), 0);
}

/// The next `count` frames' starts of exposure, in ns.
std::vector<std::uint64_t> starts(TestCamera& camera, std::size_t count)
{
    std::vector<std::uint64_t> times;
    while (times.size() < count) {
        FramePlan plan;
        if (!comes([&] { return !camera.frame(nullptr, &plan).empty(); })) {
            break;
        }
        times.push_back(plan.startNs);
    }
    return times;
}

} // namespace

TEST(Signals, PulsesTriggerFramesAtTheirTimes)
{
    for (const std::int64_t activation : {0, 1}) {
        TestCamera camera;
        waitForLine(camera, kLine1, activation);
        ASSERT_EQ(camera.setReal("TriggerDelay", 500, kFrameStart), 0);
        EXPECT_TRUE(camera.frame().empty());
        camera.listener.takeNotes();
        const std::uint64_t before = camera.model.now();
        sendPulses(camera, 1, 100000, 50000, 4);
        const std::uint64_t after = camera.model.now();
        const auto times = starts(camera, 4);
        ASSERT_EQ(times.size(), 4u);
        const std::uint64_t lag = 500000 + (activation == 1 ? 50000000 : 0);
        EXPECT_GE(times[0], before + lag);
        EXPECT_LE(times[0], after + lag);
        for (std::size_t i = 1; i < 4; ++i) {
            EXPECT_EQ(times[i] - times[i - 1], 100000000u) << "not when somebody looked";
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(150));
        EXPECT_TRUE(camera.frame().empty()) << "that were all";
        EXPECT_EQ(camera.get("LineStatusAll"), 0);
    }
}

TEST(Signals, WakeTheHostByThemselves)
{
    TestCamera camera;
    waitForLine(camera, kLine0);
    ASSERT_EQ(camera.set("EventNotification", 1, 8), 0) << "Line0RisingEdge";
    camera.listener.takeNotes();
    sendPulses(camera, 0, 20000, 5000, 1);
    // Nobody touches a register: the camera tells on its own, in the order of its lock.
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    camera.model.setObserver(nullptr);
    EXPECT_EQ(camera.listener.takeNotes(), std::vector<std::string>{"triggered"});
    const auto events = camera.listener.takeEvents();
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].id, 0x9009u);
}

TEST(Signals, DividerWidthAndLevel)
{
    {
        TestCamera camera;
        ASSERT_EQ(camera.set("TriggerDivider", 3, kFrameStart), 0);
        waitForLine(camera, kLine0);
        sendPulses(camera, 0, 10000, 1000, 0);
        const auto times = starts(camera, 3);
        ASSERT_EQ(times.size(), 3u);
        // A busy machine may miss some pulses.
        for (std::size_t i = 1; i < 3; ++i) {
            EXPECT_GE(times[i] - times[i - 1], 30000000u);
            EXPECT_EQ((times[i] - times[i - 1]) % 10000000, 0u);
        }
    }
    {
        TestCamera camera;
        ASSERT_EQ(camera.set("ExposureMode", 2), 0) << "TriggerWidth";
        waitForLine(camera, kLine0);
        sendPulses(camera, 0, 40000, 20000, 0);
        FramePlan plan;
        std::vector<std::uint8_t> picture;
        ASSERT_TRUE(comes([&] { return !(picture = camera.frame(nullptr, &plan)).empty(); }));
        EXPECT_EQ(plan.exposureEndNs - plan.startNs, 20000000u);
        TestCamera timed;
        ASSERT_EQ(timed.setReal("ExposureTime", 20000), 0);
        ASSERT_EQ(timed.run("AcquisitionStart"), 0);
        EXPECT_EQ(picture, timed.frame()) << "as bright as 20 ms are";
    }
    {
        TestCamera camera;
        waitForLine(camera, kLine0, 3);
        EXPECT_TRUE(camera.frame().empty());
        ASSERT_EQ(camera.set("LineInverter", 1, 0), 0);
        const auto times = starts(camera, 3);
        ASSERT_EQ(times.size(), 3u);
        EXPECT_EQ(times[2] - times[0], 2000000u) << "as fast as it reads out";
        ASSERT_EQ(camera.set("LineInverter", 0, 0), 0);
        EXPECT_TRUE(camera.frame().empty());
    }
}

TEST(Signals, OutputsShowWhatTheUserAndTheCameraDo)
{
    TestCamera camera;
    EXPECT_EQ(camera.set("LineMode", 0, 2), -1005) << "an output for ever";
    ASSERT_EQ(camera.set("LineSelector", 2), 0);
    ASSERT_EQ(camera.set("LineSource", 2, 2), 0) << "UserOutput1";
    EXPECT_EQ(camera.get("LineStatus", 2), 0);
    ASSERT_EQ(camera.set("UserOutputValue", 1, 1), 0);
    EXPECT_EQ(camera.get("LineStatus", 2), 1);
    EXPECT_EQ(camera.get("LineStatusAll"), 4);
    ASSERT_EQ(camera.set("LineInverter", 1, 2), 0);
    EXPECT_EQ(camera.get("LineStatus", 2), 0);
    // An output can be looped back: the user's pulse triggers a frame, and the exposure a counter.
    ASSERT_EQ(camera.set("LineSelector", 1), 0);
    EXPECT_EQ(camera.set("LineSource", 1, 1), -1005) << "an input shows nothing";
    ASSERT_EQ(camera.set("LineMode", 1, 1), 0);
    ASSERT_EQ(camera.set("LineSource", 1, 1), 0);
    waitForLine(camera, kLine1);
    ASSERT_EQ(camera.set("UserOutputValue", 1, 0), 0);
    EXPECT_FALSE(camera.frame().empty());
    ASSERT_EQ(camera.set("UserOutputValue", 0, 0), 0);
    EXPECT_TRUE(camera.frame().empty());
    ASSERT_EQ(camera.set("TriggerSource", kSoftware, kFrameStart), 0);
    ASSERT_EQ(camera.set("LineSource", 3, 1), 0) << "ExposureActive";
    ASSERT_EQ(camera.set("CounterEventSource", kAtLine1), 0);
    ASSERT_EQ(camera.set("CounterEventActivation", 2), 0) << "AnyEdge";
    ASSERT_EQ(camera.setReal("ExposureTime", 3000), 0);
    ASSERT_TRUE(comes([&] { return camera.get("AcquisitionStatus", 2) == 1; }));
    ASSERT_EQ(camera.run("TriggerSoftware", kFrameStart), 0);
    const FramePlan plan = camera.model.nextFrame();
    ASSERT_TRUE(plan.expose);
    camera.model.frameStarted(plan);
    EXPECT_EQ(camera.get("CounterValue"), 1);
    ASSERT_TRUE(comes([&] { return camera.get("CounterValue") == 2; }));
    camera.model.frameDone(plan);
}

TEST(Signals, CountersEndAndResetEachOther)
{
    TestCamera camera;
    ASSERT_EQ(camera.set("CounterEventSource", kAtLine0, 0), 0);
    ASSERT_EQ(camera.set("CounterDuration", 5, 0), 0);
    ASSERT_EQ(camera.set("CounterEventSource", kAtCounter0End, 1), 0);
    sendPulses(camera, 0, 1000, 100, 23);
    ASSERT_TRUE(comes([&] { return camera.get("CounterValue", 0) == 5; }));
    EXPECT_EQ(camera.get("CounterStatus", 0), 3) << "completed, and so it stays";
    ASSERT_EQ(camera.set("SimulatorSignalEnable", 0, 0), 0);
    EXPECT_EQ(camera.get("CounterValue", 1), 1);
    ASSERT_EQ(camera.set("CounterResetSource", kAtCounter0End, 0), 0) << "by itself";
    ASSERT_EQ(camera.run("CounterReset", 0), 0);
    ASSERT_EQ(camera.run("CounterReset", 1), 0);
    EXPECT_EQ(camera.get("CounterValueAtReset", 0), 5);
    sendPulses(camera, 0, 1000, 100, 23);
    ASSERT_TRUE(comes([&] { return camera.get("CounterValue", 1) == 4; }));
    ASSERT_TRUE(comes([&] { return camera.get("CounterValue", 0) == 3; }));
}

TEST(Signals, TimersFollowTheirTriggerAndTriggerFrames)
{
    TestCamera camera;
    ASSERT_EQ(camera.setReal("TimerDelay", 3000), 0);
    ASSERT_EQ(camera.setReal("TimerDuration", 400000), 0);
    EXPECT_EQ(camera.get("TimerStatus"), 0);
    ASSERT_EQ(camera.set("TimerTriggerSource", kAtLine0), 0);
    EXPECT_EQ(camera.get("TimerStatus"), 1) << "waits for its trigger";
    waitForLine(camera, kTimer0End);
    const std::uint64_t before = camera.model.now();
    sendPulses(camera, 0, 50000, 100, 1);
    ASSERT_TRUE(comes([&] { return camera.get("TimerStatus") == 2; }));
    EXPECT_GE(camera.model.now(), before + 3000000);
    const auto times = starts(camera, 1);
    ASSERT_EQ(times.size(), 1u);
    EXPECT_GE(times[0], before + 403000000);
    EXPECT_LE(times[0], camera.model.now());
    EXPECT_EQ(camera.get("TimerStatus"), 3);
    EXPECT_EQ(camera.getReal("TimerValue"), 400000.0);
}

} // namespace simulator::test
