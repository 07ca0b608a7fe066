// The control channel and the description over cameras that lie, stall and are impersonated.
#include "gige/camera_source.h"
#include "gige/control_channel.h"
#include "gige/wire/bootstrap.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <map>
#include <thread>

namespace
{

using namespace gige;
using namespace std::chrono_literals;

constexpr std::uint32_t kCamera = 0x7F000A01;   // 127.0.10.1
constexpr std::uint32_t kStranger = 0x7F000A02; // 127.0.10.2

/// Answers commands as a script says, from its port of the protocol.
class ScriptedCamera
{
public:
    using Script = std::function<void(const wire::CommandPacket&, const Sender&, UdpSocket&)>;

    explicit ScriptedCamera(Script script)
        : socket_(kCamera, wire::kControlPort), script_(std::move(script)),
          thread_([this] { run(); })
    {
    }
    ~ScriptedCamera()
    {
        ending_ = true;
        thread_.join();
    }
    bool isReady() const { return socket_.isOpen(); }

private:
    void run()
    {
        std::array<std::uint8_t, kLongestControlPacket> buffer;
        while (!ending_) {
            Sender sender;
            wire::CommandPacket packet;
            const wire::Bytes got = socket_.receive(Clock::now() + 20ms, buffer.data(), &sender);
            if (!got.empty() && wire::parseCommand(got, &packet)) {
                script_(packet, sender, socket_);
            }
        }
    }
    UdpSocket socket_;
    const Script script_;
    std::atomic<bool> ending_{false};
    std::thread thread_;
};

wire::Datagram value(std::uint16_t id, std::uint32_t number)
{
    return wire::makeReadRegistersAck(id, 0, &number, 1);
}

TEST(Control, OnlyTheCamerasAnswerToThisCommandCounts)
{
    UdpSocket stranger(kStranger, wire::kControlPort);
    int asked = 0;
    const ScriptedCamera camera(
        [&](const wire::CommandPacket& packet, const Sender& to, UdpSocket& socket) {
            stranger.sendTo(value(packet.id, 666).bytes(), to.address, to.port);
            socket.sendTo(value(static_cast<std::uint16_t>(packet.id + 1), 667).bytes(), to.address,
                          to.port);
            socket.sendTo(
                wire::makeAck(wire::ackCode(wire::Command::WriteRegister), packet.id, 0).bytes(),
                to.address, to.port);
            if (++asked > 1) { // the first command got lost
                socket.sendTo(value(packet.id, 7).bytes(), to.address, to.port);
            }
        });
    ASSERT_TRUE(camera.isReady());
    ControlChannel control;
    ASSERT_EQ(control.connect(kCamera), 0);
    std::uint32_t number = 0;
    ASSERT_EQ(control.readRegister(0, &number), 0);
    EXPECT_EQ(number, 7U);
    EXPECT_EQ(asked, 2) << "sent again";
}

TEST(Control, PatienceHasALimitAndSilenceMeansLoss)
{
    std::atomic<bool> silent{false};
    const ScriptedCamera camera(
        [&](const wire::CommandPacket& packet, const Sender& to, UdpSocket& socket) {
            if (!silent) {
                socket.sendTo(wire::makePendingAck(packet.id, 60000).bytes(), to.address, to.port);
            }
        });
    ControlChannel control;
    ASSERT_EQ(control.connect(kCamera), 0);
    std::uint32_t number = 0;
    auto start = Clock::now();
    EXPECT_EQ(control.readRegister(0, &number), ZelErr::kGenTLTimeout);
    EXPECT_LT(Clock::now() - start, 6s);
    EXPECT_FALSE(control.isLost()) << "it is there";
    silent = true;
    start = Clock::now();
    EXPECT_EQ(control.readRegister(0, &number), ZelErr::kGenTLIo);
    EXPECT_LT(Clock::now() - start, 2s);
    EXPECT_TRUE(control.isLost());
    start = Clock::now();
    EXPECT_EQ(control.writeRegister(0, 0), ZelErr::kGenTLIo);
    EXPECT_LT(Clock::now() - start, 100ms) << "at once from now on";
}

TEST(Control, ALossEndsTheWaitsOfOthers)
{
    const ScriptedCamera camera(
        [](const wire::CommandPacket& packet, const Sender& to, UdpSocket& socket) {
            socket.sendTo(wire::makePendingAck(packet.id, 60000).bytes(), to.address, to.port);
        });
    ControlChannel control;
    ASSERT_EQ(control.connect(kCamera), 0);
    const auto start = Clock::now();
    std::thread other([&control] {
        std::this_thread::sleep_for(200ms);
        control.setLost();
    });
    std::uint32_t number = 0;
    EXPECT_EQ(control.readRegister(0, &number), ZelErr::kGenTLIo);
    EXPECT_LT(Clock::now() - start, 2s);
    other.join();
}

TEST(Description, ComesFromTheCamerasMemoryAlone)
{
    std::map<std::uint32_t, std::string> memory;
    const ScriptedCamera camera([&](const wire::CommandPacket& packet, const Sender& to,
                                    UdpSocket& socket) {
        wire::MemoryRange range;
        if (!packet.is(wire::Command::ReadMemory) ||
            !wire::readMemoryRange(packet.payload, &range)) {
            socket.sendTo(wire::makeAck(static_cast<std::uint16_t>(packet.code + 1U), packet.id,
                                        wire::status::kInvalidAddress)
                              .bytes(),
                          to.address, to.port);
            return;
        }
        std::string data(range.count, '\0');
        for (const auto& [address, text] : memory) {
            for (std::size_t i = 0; i < data.size(); ++i) {
                const std::size_t at = range.address + i - address;
                data[i] = at < text.size() ? text[at] : data[i];
            }
        }
        socket.sendTo(
            wire::makeReadMemoryAck(packet.id, range.address, {data.data(), data.size()}).bytes(),
            to.address, to.port);
    });
    ControlChannel control;
    ASSERT_EQ(control.connect(kCamera), 0);
    CameraSource source(control, 1500);
    std::string document;
    for (const char* url : {"File:///etc/passwd", "http://127.0.10.1/a.xml", "",
                            "Local:a.xml;10000;ffffffff", "Local:a.xml;10000"}) {
        memory[wire::reg::kFirstUrl] = url;
        EXPECT_EQ(source.description(&document), ZelErr::kGenTLNoData) << url;
    }
    const std::string xml = "<RegisterDescription SchemaMajorVersion=\"1\" "
                            "SchemaMinorVersion=\"0\"><IntReg Name=\"a\"><Length>4</Length>"
                            "<Endianess>LittleEndian</Endianess></IntReg></RegisterDescription>";
    char url[64];
    std::snprintf(url, sizeof url, "local:///a.xml; 0x10002 ;%zX?SchemaVersion=1.0.0", xml.size());
    memory[wire::reg::kSecondUrl] = url;
    memory[0x10002] = xml;
    ASSERT_EQ(source.description(&document), 0);
    EXPECT_EQ(document, xml) << "whatever byte order it claims";
    EXPECT_TRUE(source.hasNetworkByteOrder());
    std::uint32_t word = 0; // at an odd address
    ASSERT_EQ(source.read(0x10003, &word, 4), 0);
    EXPECT_EQ(std::memcmp(&word, "Regi", 4), 0);
    EXPECT_EQ(source.read(0xFFFFFFFE, &word, 4), ZelErr::kGenTLInvalidAddress);
}

} // namespace
