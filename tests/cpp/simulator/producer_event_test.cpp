// Events: waiting and its ends, registration, and the data of every type.
#include "producer_harness.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

namespace producer_test
{

using Clock = std::chrono::steady_clock;

class ProducerEvent : public ProducerTest
{
protected:
    Handle registerEvent(Handle source, EventType type) const
    {
        Handle event = nullptr;
        EXPECT_EQ(f.GCRegisterEvent(source, type, &event), err::kSuccess);
        return event;
    }
    Error fetch(Handle event, std::uint64_t timeoutMs) const
    {
        std::size_t size = 0;
        return f.EventGetData(event, nullptr, &size, timeoutMs);
    }
    /// The raw data of the next event; empty when none came within 5 s.
    std::vector<char> nextData(Handle event) const
    {
        std::vector<char> raw(askFor<std::size_t>(kTypeSizeT, f.EventGetInfo, event,
                                                  std::int32_t{kEventInfoSizeMax}));
        std::size_t size = raw.size();
        EXPECT_EQ(f.EventGetData(event, raw.data(), &size, 5000), err::kSuccess);
        raw.resize(size);
        return raw;
    }
    std::size_t queued(Handle event) const
    {
        return askFor<std::size_t>(kTypeSizeT, f.EventGetInfo, event,
                                   std::int32_t{kEventInfoNumInQueue});
    }
    std::string text(Handle event, const std::vector<char>& raw, EventDataInfo command) const
    {
        const void* in = raw.data();
        return askText(f.EventGetDataInfo, event, in, raw.size(), std::int32_t{command});
    }
};

TEST_F(ProducerEvent, TimeOutsAreNeverEarly)
{
    const Session session = openStream("One", 1);
    const Handle remote = registerEvent(session.device, kEventRemoteDevice);
    for (const std::uint64_t wait : {0U, 1U, 30U, 120U}) {
        for (const Handle event : {session.event, remote}) {
            const auto begin = Clock::now();
            EXPECT_EQ(fetch(event, wait), err::kTimeout);
            EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(wait));
        }
    }
}

TEST_F(ProducerEvent, KillEndsExactlyOneWaitAndWaitsForIt)
{
    const Session session = openStream("One", 2);
    // Nobody waits: the next one ends, before any data, and only that one.
    ASSERT_EQ(start(session, 2), err::kSuccess);
    while (queued(session.event) < 2) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_EQ(f.EventKill(session.event), err::kSuccess);
    EXPECT_EQ(fetch(session.event, kInfinite), err::kAbort);
    EXPECT_EQ(queued(session.event), 2U);
    EXPECT_EQ(fetch(session.event, 0), err::kSuccess);
    EXPECT_EQ(fetch(session.event, 0), err::kSuccess);
    EXPECT_EQ(fetch(session.event, 0), err::kTimeout);

    // Two wait: each kill ends one of them.
    std::atomic<int> ended{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 2; ++i) {
        waiters.emplace_back([&] {
            EXPECT_EQ(fetch(session.event, kInfinite), err::kAbort);
            ++ended;
        });
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(f.EventKill(session.event), err::kSuccess);
    while (ended == 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(ended, 1);
    EXPECT_EQ(f.EventKill(session.event), err::kSuccess);
    for (std::thread& waiter : waiters) {
        waiter.join();
    }
    EXPECT_EQ(fetch(session.event, 0), err::kTimeout);
}

TEST_F(ProducerEvent, UnregisteringAndClosingEndWaits)
{
    const Session session = openStream("One", 1);
    const auto waitIn = [this](Handle event) {
        return std::thread([this, event] { EXPECT_EQ(fetch(event, kInfinite), err::kAbort); });
    };
    std::thread waiter = waitIn(session.event);
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_EQ(f.GCUnregisterEvent(session.stream, kEventNewBuffer), err::kSuccess);
    waiter.join();
    EXPECT_EQ(fetch(session.event, 0), err::kInvalidHandle);
    EXPECT_EQ(f.GCUnregisterEvent(session.stream, kEventNewBuffer), err::kInvalidParameter);

    // A kill that nobody used up goes with its registration.
    Handle event = registerEvent(session.stream, kEventNewBuffer);
    EXPECT_EQ(f.EventKill(event), err::kSuccess);
    EXPECT_EQ(f.GCUnregisterEvent(session.stream, kEventNewBuffer), err::kSuccess);
    event = registerEvent(session.stream, kEventNewBuffer);
    EXPECT_EQ(fetch(event, 0), err::kTimeout);

    waiter = waitIn(event);
    std::thread remoteWaiter = waitIn(registerEvent(session.device, kEventRemoteDevice));
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_EQ(f.TLClose(system), err::kSuccess);
    waiter.join();
    remoteWaiter.join();
}

TEST_F(ProducerEvent, RegistrationHasItsRules)
{
    const Session session = openStream("One", 1);
    Handle event = nullptr;
    EXPECT_EQ(f.GCRegisterEvent(session.stream, kEventNewBuffer, &event), err::kResourceInUse);
    EXPECT_EQ(f.GCRegisterEvent(session.device, kEventNewBuffer, &event), err::kNotImplemented);
    EXPECT_EQ(f.GCRegisterEvent(session.stream, kEventRemoteDevice, &event), err::kNotImplemented);
    EXPECT_EQ(f.GCRegisterEvent(system, kEventModule, &event), err::kNotImplemented);
    EXPECT_EQ(f.GCRegisterEvent(session.device, 6, &event), err::kInvalidParameter);
    EXPECT_EQ(f.GCRegisterEvent(session.device, kEventRemoteDevice, nullptr),
              err::kInvalidParameter);
}

TEST_F(ProducerEvent, NewBufferDataAreAPair)
{
    Session session = openStream("One", 0);
    std::vector<unsigned char> memory(kPayload);
    Handle buffer = nullptr;
    int user = 0;
    ASSERT_EQ(f.DSAnnounceBuffer(session.stream, memory.data(), kPayload, &user, &buffer),
              err::kSuccess);
    ASSERT_EQ(f.DSQueueBuffer(session.stream, buffer), err::kSuccess);
    ASSERT_EQ(start(session), err::kSuccess);
    while (queued(session.event) == 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    // Too little room leaves the event where it is.
    NewBufferData data{};
    std::size_t size = sizeof data - 1;
    EXPECT_EQ(f.EventGetData(session.event, &data, &size, 0), err::kBufferTooSmall);
    size = sizeof data + 5;
    ASSERT_EQ(f.EventGetData(session.event, &data, &size, 0), err::kSuccess);
    EXPECT_EQ(size, sizeof data);
    EXPECT_EQ(data.buffer, buffer);
    EXPECT_EQ(data.userPointer, &user);
    const void* in = &data;
    EXPECT_EQ(askFor<void*>(kTypePtr, f.EventGetDataInfo, session.event, in, size,
                            std::int32_t{kEventDataId}),
              buffer);
    EXPECT_EQ(askFor<void*>(kTypePtr, f.EventGetDataInfo, session.event, in, size,
                            std::int32_t{kEventDataValue}),
              &user);
    EXPECT_EQ(f.EventGetDataInfo(session.event, &data, 3, kEventDataId, nullptr, nullptr, &size),
              err::kInvalidParameter);

    // Flushing throws the waiting frame away: its buffer is free to be queued again.
    ASSERT_EQ(f.DSQueueBuffer(session.stream, buffer), err::kSuccess);
    while (queued(session.event) == 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_EQ(f.EventFlush(session.event), err::kSuccess);
    EXPECT_EQ(queued(session.event), 0U);
    EXPECT_EQ(f.DSQueueBuffer(session.stream, buffer), err::kSuccess);
    // So does unregistering.
    while (queued(session.event) == 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_EQ(askFor<std::uint64_t>(kTypeUint64, f.EventGetInfo, session.event,
                                    std::int32_t{kEventInfoNumFired}),
              3U);
    EXPECT_EQ(f.GCUnregisterEvent(session.stream, kEventNewBuffer), err::kSuccess);
    EXPECT_EQ(f.DSRevokeBuffer(session.stream, buffer, nullptr, nullptr), err::kSuccess);
}

TEST_F(ProducerEvent, FramesWaitForALateRegistration)
{
    const Session session = openStream("One", 2);
    ASSERT_EQ(f.GCUnregisterEvent(session.stream, kEventNewBuffer), err::kSuccess);
    ASSERT_EQ(start(session, 2), err::kSuccess);
    while (streamSize(session, kStreamInfoNumAwaitDelivery) < 2) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    const Handle event = registerEvent(session.stream, kEventNewBuffer);
    EXPECT_EQ(queued(event), 2U);
    EXPECT_EQ(fetch(event, 0), err::kSuccess);
}

TEST_F(ProducerEvent, CameraEventsArriveWithTheirPort)
{
    const Session session = openCamera(net, kOneId);
    const Handle event = registerEvent(session.device, kEventRemoteDevice);
    // Disabled events do not come.
    EXPECT_EQ(session.camera.write("TestEventGenerate", 1), err::kSuccess);
    EXPECT_EQ(fetch(event, 50), err::kTimeout);
    const std::uint64_t test = session.camera.entry("EventSelector", "Test");
    EXPECT_EQ(session.camera.writeEntry("EventNotification", "On", test), err::kSuccess);
    EXPECT_EQ(session.camera.write("TestEventGenerate", 1), err::kSuccess);
    const std::vector<char> raw = nextData(event);
    const void* in = raw.data();
    const auto id = askFor<std::uint64_t>(kTypeUint64, f.EventGetDataInfo, event, in, raw.size(),
                                          std::int32_t{kEventDataNumId});
    char hex[20];
    std::snprintf(hex, sizeof hex, "%llX", static_cast<unsigned long long>(id));
    EXPECT_EQ(text(event, raw, kEventDataId), hex);
    // The description knows a port of this event.
    EXPECT_NE(session.camera.xml().find("<EventID>" + std::string(hex) + "</EventID>"),
              std::string::npos);
    std::int32_t type = 0;
    std::size_t size = 0;
    EXPECT_EQ(f.EventGetDataInfo(event, in, raw.size(), kEventDataValue, &type, nullptr, &size),
              err::kSuccess);
    EXPECT_EQ(type, kTypeBuffer);
    ASSERT_EQ(size, 24U);
    // A GigE Vision command with one entry; the value is the entry, which the port's addresses
    // mean.
    ASSERT_EQ(raw.size(), 8 + size);
    EXPECT_EQ(std::string(raw.data(), 6), std::string("\x42\0\0\xC2\0\x18", 6));
    std::vector<char> value(size);
    EXPECT_EQ(
        f.EventGetDataInfo(event, in, raw.size(), kEventDataValue, &type, value.data(), &size),
        err::kSuccess);
    EXPECT_TRUE(std::equal(value.begin(), value.end(), raw.begin() + 8));
    EXPECT_EQ(f.EventGetDataInfo(event, in, 7, kEventDataNumId, &type, nullptr, &size),
              err::kInvalidParameter);
    EXPECT_EQ(queued(event), 0U);
}

TEST_F(ProducerEvent, ChangesBehindTheConsumersBackAreTold)
{
    const Session session = openStream("One", 1);
    const Handle change = registerEvent(session.device, kEventFeatureChange);
    ASSERT_EQ(start(session), err::kSuccess);
    std::vector<char> raw = nextData(change);
    EXPECT_EQ(text(change, raw, kEventDataId), "TLParamsLocked");
    EXPECT_EQ(text(change, raw, kEventDataValue), "1");
    ASSERT_EQ(f.DSStopAcquisition(session.stream, 0), err::kSuccess);
    raw = nextData(change);
    EXPECT_EQ(text(change, raw, kEventDataValue), "0");

    const Handle invalid = registerEvent(session.device, kEventFeatureInvalidate);
    const auto place = session.camera.place("DeviceUserID");
    std::string name(place.length, 'x');
    name.back() = '\0';
    std::size_t size = name.size();
    ASSERT_EQ(f.GCWritePort(session.port, place.address, name.data(), &size), err::kSuccess);
    EXPECT_EQ(text(invalid, nextData(invalid), kEventDataId), "DeviceUserID");
    const Handle listChange = registerEvent(link, kEventFeatureInvalidate);
    EXPECT_EQ(f.IFUpdateDeviceList(link, nullptr, 0), err::kSuccess); // nothing changed
    EXPECT_EQ(fetch(listChange, 0), err::kTimeout);
}

TEST_F(ProducerEvent, AQueueThatNobodyReadsStaysBounded)
{
    const Session session = openCamera(net, kOneId);
    const Handle event = registerEvent(session.device, kEventRemoteDevice);
    const std::uint64_t test = session.camera.entry("EventSelector", "Test");
    EXPECT_EQ(session.camera.writeEntry("EventNotification", "On", test), err::kSuccess);
    for (int i = 0; i < 5000; ++i) {
        session.camera.write("TestEventGenerate", 1);
    }
    EXPECT_LT(queued(event), 5000U);
    EXPECT_EQ(
        askFor<std::uint64_t>(kTypeUint64, f.EventGetInfo, event, std::int32_t{kEventInfoNumFired}),
        5000U);
    EXPECT_EQ(f.EventFlush(event), err::kSuccess);
    EXPECT_EQ(fetch(event, 0), err::kTimeout);
}

} // namespace producer_test
