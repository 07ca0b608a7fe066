// Commands to a served camera: who may do what, which status, and that nothing breaks it.
#include "gige/wire/bootstrap.h"
#include "simulator/gige/control_channel.h"
#include "test_camera.h"

#include <gtest/gtest.h>

#include <random>
#include <thread>

namespace simulator::gige
{

namespace
{

namespace reg = wire::reg;
namespace status = wire::status;
using wire::AckPacket;
using wire::Command;
using wire::Datagram;
using Clock = ControlChannel::Clock;

const Endpoint kFirst{0x7F000001, 40000};
const Endpoint kSecond{0x7F000009, 40001};
constexpr std::uint32_t kSize = wire::streamRegister(0, wire::stream::kPacketSize);

CameraConfig servedCamera()
{
    CameraConfig config = test::smallCamera();
    config.hasNetwork = config.isServed = true;
    config.wire = WireFormat::GigEVision;
    config.macAddress = "02:5a:43:00:00:09";
    config.ip = {0x7F000002, 0xFF000000, 0};
    return config;
}

class Host : public ControlHost
{
public:
    void resend(const wire::ResendRequest& request, const Endpoint&) override
    {
        resends.push_back(request.blockId);
    }
    bool forceIp(const IpConfig& ip) override
    {
        forced = ip.address;
        return ip.address != 0x7F000099;
    }
    void sessionEnded() override { ++ended; }
    void switchedOver(const Endpoint& host) override { former = host; }

    std::vector<std::uint64_t> resends;
    std::uint32_t forced = 0;
    int ended = 0;
    Endpoint former;
};

class ControlTest : public ::testing::Test
{
protected:
    /// Status of the answer; 1 when there was none.
    std::uint16_t ask(const Datagram& command, const Endpoint& from = kFirst)
    {
        answer_ = channel.handle(command.bytes(), from, now);
        ack = {};
        return wire::parseAck(answer_.datagram.bytes(), &ack) ? ack.status : std::uint16_t{1};
    }
    std::uint16_t read(std::uint32_t address, const Endpoint& from = kFirst)
    {
        return ask(wire::makeReadRegisters(++id, &address, 1), from);
    }
    std::uint16_t write(std::uint32_t address, std::uint32_t value, const Endpoint& from = kFirst)
    {
        const wire::RegisterValue pair{address, value};
        return ask(wire::makeWriteRegisters(++id, &pair, 1), from);
    }
    std::uint16_t readMemory(std::uint32_t address, std::uint16_t count)
    {
        return ask(wire::makeReadMemory(++id, {address, count}));
    }

    test::TestCamera camera{servedCamera()};
    Host host;
    ControlChannel channel{camera.model, host};
    Clock::time_point now = Clock::now();
    std::uint16_t id = 0;
    AckPacket ack;
    ControlChannel::Answer answer_;
};

} // namespace

TEST_F(ControlTest, OneHostControlsAndOthersRead)
{
    EXPECT_EQ(write(kSize, 1400), status::kAccessDenied) << "nobody controls";
    EXPECT_EQ(write(reg::kControlPrivilege, 2), 0);
    EXPECT_EQ(write(reg::kControlPrivilege, 2, kSecond), status::kAccessDenied);
    EXPECT_EQ(write(kSize, 1400, kSecond), status::kAccessDenied);
    EXPECT_EQ(read(reg::kControlPrivilege, kSecond), 0);
    EXPECT_EQ(ack.payload.u32(0), 2U);
    EXPECT_EQ(write(reg::kControlPrivilege, 1), 0);
    EXPECT_EQ(read(reg::kVersion, kSecond), status::kAccessDenied) << "exclusive";
    EXPECT_EQ(ask(wire::makeCommand(Command::Discovery, 1, 5), kSecond), 0);
    EXPECT_EQ(write(reg::kControlPrivilege, 0), 0);
    EXPECT_EQ(host.ended, 1);
    EXPECT_EQ(write(reg::kControlPrivilege, 2, kSecond), 0);
}

TEST_F(ControlTest, AnotherHostFollowsWithTheKey)
{
    ASSERT_EQ(write(reg::kControlPrivilege, 6), 0);
    ASSERT_EQ(write(reg::kSwitchoverKey, 0xBEEF), 0);
    EXPECT_EQ(write(reg::kControlPrivilege, 0xBEEE0002, kSecond), status::kAccessDenied);
    EXPECT_EQ(write(reg::kControlPrivilege, 0xBEEF0002, kSecond), 0);
    EXPECT_EQ(host.former.port, kFirst.port);
    EXPECT_EQ(host.ended, 0) << "the session goes on";
    EXPECT_EQ(write(kSize, 1400), status::kAccessDenied);
    EXPECT_EQ(write(kSize, 1400, kSecond), 0);
}

TEST_F(ControlTest, SilenceOfItsHostEndsASession)
{
    ASSERT_EQ(write(reg::kControlPrivilege, 2), 0);
    ASSERT_EQ(write(reg::kHeartbeatTimeout, 10), 0);
    ASSERT_EQ(read(reg::kHeartbeatTimeout), 0);
    EXPECT_EQ(ack.payload.u32(0), 500U) << "the shortest";
    for (int i = 0; i < 4; ++i) { // what others say does not count
        now += std::chrono::milliseconds(400);
        EXPECT_EQ(read(reg::kControlPrivilege), 0);
        channel.expire(now);
        EXPECT_EQ(host.ended, 0);
    }
    now += std::chrono::milliseconds(400);
    EXPECT_EQ(read(reg::kControlPrivilege, kSecond), 0);
    now += std::chrono::milliseconds(101);
    channel.expire(now);
    EXPECT_EQ(host.ended, 1);
    EXPECT_EQ(write(reg::kControlPrivilege, 2, kSecond), 0);
    ASSERT_EQ(write(reg::kControlConfiguration, 1, kSecond), 0) << "without heartbeat";
    channel.expire(now + std::chrono::hours(1));
    EXPECT_EQ(host.ended, 1);
    EXPECT_FALSE(channel.nextDue().has_value());
}

TEST_F(ControlTest, AnswersHaveTheStatusOfTheStandard)
{
    ASSERT_EQ(write(reg::kControlPrivilege, 2), 0);
    EXPECT_EQ(read(2), status::kBadAlignment);
    EXPECT_EQ(read(0x0700), status::kInvalidAddress);
    EXPECT_EQ(readMemory(0, 0xF8), 0) << "gaps of the identity are zeros";
    EXPECT_EQ(readMemory(1, 4), status::kBadAlignment);
    EXPECT_EQ(readMemory(0, 6), status::kInvalidParameter);
    EXPECT_EQ(readMemory(reg::kFirstUrl, 540), status::kInvalidParameter);
    EXPECT_EQ(readMemory(reg::kFirstUrl + 500, 536), status::kInvalidAddress) << "over the end";
    EXPECT_EQ(write(reg::kVersion, 1), status::kWriteProtect);
    EXPECT_EQ(write(0x00400000, 1), status::kWriteProtect) << "the description";
    EXPECT_EQ(read(reg::kSwitchoverKey), status::kAccessDenied) << "is only written";
    EXPECT_EQ(write(reg::kTimestampControl, 1), status::kInvalidParameter);
    EXPECT_EQ(write(kSize, 20), 0);
    EXPECT_EQ(read(kSize), 0);
    EXPECT_EQ(ack.payload.u32(0), 576U);
    // The privilege is not reached by the way through its neighbours.
    const std::uint8_t bytes[8] = {0, 0, 0, 1};
    EXPECT_EQ(ask(wire::makeWriteMemory(++id, reg::kControlPrivilege, {bytes, 8})),
              status::kAccessDenied);
    EXPECT_EQ(ask(wire::makeWriteMemory(++id, 0x01000000, {bytes, 6})), status::kInvalidParameter);
    const auto feature = [this](const char* name) {
        return static_cast<std::uint32_t>(camera.find(name).address);
    };
    EXPECT_EQ(write(3, 1), status::kBadAlignment);
    EXPECT_EQ(write(0x0700, 1), status::kInvalidAddress);
    EXPECT_EQ(write(kSize, 1400, kSecond), status::kAccessDenied);
    EXPECT_EQ(ask(wire::makeWriteMemory(++id, feature("PayloadSizeReg"), {bytes, 8})),
              status::kWriteProtect)
        << "never to be written";
    EXPECT_EQ(write(0x02000000, 1), status::kWriteProtect) << "the factory's memory";
    EXPECT_EQ(write(0x03000000, 1), status::kAccessDenied) << "protected";
    EXPECT_EQ(readMemory(0x03000000, 4), status::kAccessDenied);
    EXPECT_EQ(readMemory(reg::kManufacturer, 4), status::kInvalidAddress);
    EXPECT_EQ(ask(wire::makeWriteMemory(++id, feature("WidthReg") + 4, {bytes, 4})),
              status::kInvalidAddress)
        << "half a register";
    EXPECT_EQ(ask(wire::makeWriteMemory(++id, feature("WidthReg"), {bytes, 8})),
              status::kInvalidParameter)
        << "a width of 1";
    EXPECT_EQ(ask(wire::makeCommand(Command::ReadRegister, 1, ++id)), status::kInvalidHeader);
    EXPECT_EQ(ask(wire::makeCommand(Command::WriteRegister, 1, ++id, {bytes, 4})),
              status::kInvalidHeader);
    EXPECT_EQ(ask(wire::makeCommand(Command::ReadMemory, 1, ++id, {bytes, 4})),
              status::kInvalidHeader);
    EXPECT_EQ(ask(wire::makeCommand(Command::WriteMemory, 1, ++id, {bytes, 4})),
              status::kInvalidHeader);
    // What was read before the wrong address, and the index of the refused write.
    const std::uint32_t addresses[3] = {reg::kVersion, reg::kStreamChannelCount, 0x0700};
    EXPECT_EQ(ask(wire::makeReadRegisters(++id, addresses, 3)), status::kInvalidAddress);
    EXPECT_EQ(ack.payload.size, 8U);
    const wire::RegisterValue pairs[2] = {{kSize, 1000}, {reg::kVersion, 1}};
    EXPECT_EQ(ask(wire::makeWriteRegisters(++id, pairs, 2)), status::kWriteProtect);
    EXPECT_EQ(ack.payload.u16(2), 1U);
    EXPECT_EQ(ask(wire::makeCommand(static_cast<Command>(0x0300), 1, ++id)),
              status::kNotImplemented);
    EXPECT_EQ(ack.code, 0x0301);
    EXPECT_EQ(ask(wire::makeCommand(Command::Discovery, 1, 0)), 1) << "no request has number 0";
}

TEST_F(ControlTest, ARepeatedWriteRunsOnce)
{
    ASSERT_EQ(write(reg::kControlPrivilege, 2), 0);
    ASSERT_EQ(camera.set("EventNotification", 1, 7), 0);
    std::uint8_t one[8] = {0, 0, 0, 0, 0, 0, 0, 1};
    const auto place = camera.find("TestEventGenerateReg");
    const Datagram command = wire::makeWriteMemory(++id, static_cast<std::uint32_t>(place.address),
                                                   {one + 8 - place.length, place.length});
    EXPECT_EQ(ask(command), 0);
    now += std::chrono::milliseconds(500);
    EXPECT_EQ(ask(command), 0) << "answered again";
    EXPECT_EQ(camera.listener.takeEvents().size(), 1U);
    now += std::chrono::seconds(2);
    EXPECT_EQ(ask(command), 0);
    EXPECT_EQ(camera.listener.takeEvents().size(), 1U) << "a new one with an old number";
}

TEST_F(ControlTest, LongWorkIsAnnounced)
{
    ASSERT_EQ(write(reg::kControlPrivilege, 2), 0);
    ASSERT_EQ(write(reg::kControlConfiguration, wire::configuration::kPendingAck), 0);
    ASSERT_EQ(camera.set("SimulatorAnswerDelay", 300), 0);
    EXPECT_EQ(write(kSize, 1200), 0);
    EXPECT_EQ(ack.code, wire::kPendingAckCode);
    EXPECT_GE(wire::readPendingAck(ack), 300);
    ControlChannel::Answer due;
    EXPECT_FALSE(channel.takeDue(now + std::chrono::milliseconds(299), &due));
    ASSERT_TRUE(channel.takeDue(now + std::chrono::milliseconds(301), &due));
    ASSERT_TRUE(wire::parseAck(due.datagram.bytes(), &ack));
    EXPECT_TRUE(ack.answers(Command::WriteRegister, id));
    for (int i = 0; i < 100; ++i) { // a host that does not wait does not grow the camera
        write(kSize, 1200);
    }
    EXPECT_EQ(ack.status, status::kBusy);
}

TEST_F(ControlTest, ForceIpIsForOneCameraAndForFreeOnes)
{
    wire::ForceIp force;
    force.mac = {2, 0x5A, 0x43, 0, 0, 8};
    force.address = 0x7F000005;
    EXPECT_EQ(ask(wire::makeForceIp(++id, force, 1)), 1) << "another's";
    force.mac[5] = 9;
    EXPECT_EQ(ask(wire::makeForceIp(++id, force, 1)), 0);
    EXPECT_EQ(host.forced, 0x7F000005U);
    force.address = 0x7F000099;
    EXPECT_EQ(ask(wire::makeForceIp(++id, force, 1)), status::kInvalidParameter);
    ASSERT_EQ(write(reg::kControlPrivilege, 2), 0);
    EXPECT_EQ(ask(wire::makeForceIp(++id, force, 1), kSecond), status::kAccessDenied);
}

TEST_F(ControlTest, OnlyTheControllersAddressAsksForPackets)
{
    const Datagram request = wire::makePacketResend(++id, {0, 7, 1, 5, false});
    ask(request);
    ASSERT_EQ(write(reg::kControlPrivilege, 2), 0);
    ask(request, kSecond);
    EXPECT_TRUE(host.resends.empty());
    EXPECT_EQ(ask(request, {kFirst.address, 5}), 1) << "another socket of it";
    EXPECT_EQ(host.resends, std::vector<std::uint64_t>{7});
}

TEST_F(ControlTest, ActionsNeedKeysAndAController)
{
    const auto act = [this](std::uint32_t deviceKey, std::uint32_t mask) {
        return ask(wire::makeAction(++id, {deviceKey, 7, mask, false, 0}, 1), kSecond);
    };
    ASSERT_EQ(write(reg::kControlPrivilege, 2), 0);
    ASSERT_EQ(write(reg::kActionDeviceKey, 0x1234), 0);
    ASSERT_EQ(write(reg::kActionGroups + reg::kActionGroupStep, 7), 0);
    ASSERT_EQ(write(reg::kActionGroups + reg::kActionGroupStep + 4, 6), 0);
    EXPECT_EQ(act(0x1235, 2), 1) << "silence: another's key";
    EXPECT_EQ(act(0x1234, 1), 1) << "no common bit";
    EXPECT_EQ(act(0x1234, 2), 0);
    ASSERT_EQ(write(reg::kControlConfiguration, wire::configuration::kUnconditionalAction), 0);
    ASSERT_EQ(write(reg::kControlPrivilege, 0), 0);
    EXPECT_EQ(act(0x1234, 2), 0) << "wanted without a controller";
}

TEST_F(ControlTest, ScheduledActionsNeedAMastersClock)
{
    const auto act = [this](std::uint64_t time) {
        return ask(wire::makeAction(++id, {0, 0, 1, true, time}, 1), kSecond);
    };
    const auto count = [this] { return camera.get("CounterValue"); };
    constexpr std::uint64_t kMs = 1000000;
    ASSERT_EQ(write(reg::kControlPrivilege, 2), 0);
    ASSERT_EQ(write(reg::kActionGroups + 4, 1), 0);
    ASSERT_EQ(camera.set("CounterEventSource", 15), 0) << "Action0";
    EXPECT_EQ(act(~0ULL), status::kError) << "codes of version 2 were not asked for";
    ASSERT_EQ(write(reg::kControlConfiguration, wire::configuration::kStatusCodes20), 0);
    EXPECT_EQ(act(~0ULL), status::kNoReferenceTime);

    // The clock's switch and state are registers, too.
    const auto state = [this] {
        EXPECT_EQ(read(reg::kPtpStatus), 0);
        return ack.payload.u32(0);
    };
    EXPECT_EQ(state(), 3U) << "disabled";
    const std::uint32_t switches = wire::configuration::kStatusCodes20 | wire::configuration::kPtp;
    ASSERT_EQ(write(reg::kControlConfiguration, switches), 0);
    EXPECT_EQ(camera.get("PtpEnable"), 1);
    EXPECT_EQ(read(reg::kControlConfiguration), 0);
    EXPECT_EQ(ack.payload.u32(0), switches);
    for (int i = 0; state() != 9 && i < 100; ++i) { // follows
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    ASSERT_EQ(state(), 9U);

    EXPECT_EQ(act(camera.model.timestamp() - kMs), status::kActionLate);
    EXPECT_EQ(count(), 1) << "at once";
    EXPECT_EQ(act(~0ULL), status::kInvalidParameter) << "in centuries";
    const std::uint64_t soon = camera.model.timestamp() + 150 * kMs;
    EXPECT_EQ(act(soon), 0);
    EXPECT_EQ(count(), 1) << "not yet";
    while (camera.model.timestamp() <= soon) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    EXPECT_EQ(count(), 2);
    EXPECT_EQ(read(reg::kScheduledActionQueue), 0);
    const std::uint32_t room = ack.payload.u32(0);
    for (std::uint32_t i = 0; i < room; ++i) {
        EXPECT_EQ(act(camera.model.timestamp() + 3600000 * kMs), 0);
    }
    EXPECT_EQ(act(camera.model.timestamp() + 3600000 * kMs), status::kOverflow);
    ASSERT_EQ(write(reg::kControlConfiguration, wire::configuration::kStatusCodes20), 0);
    EXPECT_EQ(state(), 3U);
    EXPECT_EQ(camera.get("PtpEnable"), 0);
}

TEST_F(ControlTest, SavingTakesItsTimeAndTheSessionWaits)
{
    ASSERT_EQ(write(reg::kControlPrivilege, 2), 0);
    ASSERT_EQ(write(reg::kHeartbeatTimeout, 500), 0);
    ASSERT_EQ(write(reg::kControlConfiguration, wire::configuration::kPendingAck), 0);
    ASSERT_EQ(camera.set("UserSetSelector", 1), 0);
    const auto place = camera.find("UserSetSaveReg");
    std::uint8_t one[8] = {0, 0, 0, 0, 0, 0, 0, 1};
    const Datagram command = wire::makeWriteMemory(++id, static_cast<std::uint32_t>(place.address),
                                                   {one + 8 - place.length, place.length});
    ASSERT_EQ(ask(command), 0);
    EXPECT_EQ(ack.code, wire::kPendingAckCode);
    const std::chrono::milliseconds most(wire::readPendingAck(ack));
    EXPECT_GE(most.count(), 100);
    EXPECT_EQ(ask(command), 1) << "asked again meanwhile: once is enough";
    ControlChannel::Answer due;
    EXPECT_FALSE(channel.takeDue(now + std::chrono::milliseconds(50), &due));
    channel.expire(now + std::chrono::milliseconds(600)); // the camera itself was busy
    EXPECT_EQ(host.ended, 0);
    ASSERT_TRUE(channel.takeDue(now + most, &due));
    ASSERT_TRUE(wire::parseAck(due.datagram.bytes(), &ack));
    EXPECT_TRUE(ack.answers(Command::WriteMemory, id));
    EXPECT_EQ(write(kSize, 1400), 0);
    EXPECT_EQ(ack.code, 0x83) << "a plain write is not announced";
}

TEST_F(ControlTest, RandomCommandsDoNoHarm)
{
    std::mt19937 dice(1);
    const std::uint32_t places[] = {0,          0x10,       0xE8,       0x200,      0x900,
                                    0x938,      0x954,      0xA00,      0xB00,      0xD00,
                                    0xD04,      0x9000,     0xA000,     0x10000,    0x10100,
                                    0x400000,   0x800000,   0x1000000,  0x2000000,  0x3000000,
                                    0xFFFFFFF0, 0x7FFFFFFC, 0x0001FFF8, 0x00012340, 0x00014000};
    const std::uint16_t codes[] = {2, 4, 0x40, 0x80, 0x82, 0x84, 0x86, 0x100, 0xC0, 0x1234};
    for (int i = 0; i < 100000; ++i) {
        std::uint8_t bytes[700];
        const std::size_t size = dice() % 8 == 0 ? dice() % sizeof bytes : 8 + dice() % 64;
        for (std::size_t k = 0; k < size; ++k) {
            bytes[k] = static_cast<std::uint8_t>(dice() % 3 == 0 ? dice() : 0);
        }
        if (size >= 16 && dice() % 16 != 0) {
            bytes[0] = 0x42;
            base::storeBig(bytes + 2, codes[dice() % std::size(codes)]);
            base::storeBig(bytes + 4, static_cast<std::uint16_t>(size - 8));
            base::storeBig(bytes + 8, places[dice() % std::size(places)] + dice() % 64 * 4);
        }
        now += std::chrono::milliseconds(dice() % 20);
        const auto answer = channel.handle({bytes, size}, dice() % 4 == 0 ? kSecond : kFirst, now);
        ASSERT_LE(answer.datagram.size, Datagram::kCapacity);
        channel.expire(now);
        ControlChannel::Answer due;
        channel.takeDue(now, &due);
    }
    channel.reset();
    camera.model.sessionClosed();
    EXPECT_EQ(ask(wire::makeCommand(Command::Discovery, 1, 1)), 0);
    EXPECT_EQ(ack.payload.size, 248U);
}

} // namespace simulator::gige
