// The whole road to a GigE Vision camera on loopback.
#include "camera_process.h"
#include "gige/gige_provider.h"
#include "gige/udp_socket.h"
#include "module_features.h"
#include "recorder.h"
#include "zel_camera_api.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <thread>
#include <vector>

namespace
{

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr const char* kAddress = "127.0.0.1";

class Road : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { ::setenv("ZELCAM_VISION", "lo", 1); }

    core::TransportInterface* loopback()
    {
        for (core::TransportInterface* interface : provider_.updateInterfaces()) {
            return interface;
        }
        return nullptr;
    }
    std::vector<core::DeviceDescription> discover()
    {
        std::vector<core::DeviceDescription> devices;
        EXPECT_EQ(loopback()->updateDevices(150, &devices), 0);
        return devices;
    }
    /// The one camera; on a busy machine it answers late.
    std::vector<core::DeviceDescription> discoverOne()
    {
        std::vector<core::DeviceDescription> devices;
        for (int i = 0; i < 20 && devices.empty(); ++i) {
            devices = discover();
        }
        EXPECT_EQ(devices.size(), 1U);
        return devices;
    }
    /// Opens the first camera that is found.
    std::unique_ptr<core::TransportDevice> open(ZelCamErr expected = 0)
    {
        std::unique_ptr<core::TransportDevice> device;
        const auto devices = discoverOne();
        if (!devices.empty()) {
            EXPECT_EQ(loopback()->openDevice(devices.front().id, &device), expected);
        }
        return device;
    }

    gige::GigeProvider provider_;
};

/// Registers of the test camera.
constexpr std::uint64_t kAcquisition = 0x124;
constexpr std::uint64_t kPixelFormat = 0x128;

void writeRegister(core::TransportDevice& device, std::uint64_t address, std::uint32_t value)
{
    const std::uint8_t bytes[4] = {
        static_cast<std::uint8_t>(value >> 24U), static_cast<std::uint8_t>(value >> 16U),
        static_cast<std::uint8_t>(value >> 8U), static_cast<std::uint8_t>(value)};
    ASSERT_EQ(device.camera()->write(address, bytes, sizeof(bytes)), 0);
}

constexpr std::size_t kFrame = 512 * 512;

TEST_F(Road, FindsDescribesAndOpensOnce)
{
    EXPECT_TRUE(discover().empty());
    const CameraProcess camera(kAddress, "ROAD1");
    ASSERT_TRUE(camera.isRunning());
    const auto devices = discoverOne();
    ASSERT_EQ(devices.size(), 1U);
    EXPECT_EQ(devices[0].serialNumber, "ROAD1");
    EXPECT_EQ(devices[0].vendor, "Aravis");
    core::TransportInterface* interface = loopback();
    EXPECT_EQ(interface->type(), ZelCam::kGigEVision);
    core::IpSettings ip;
    ASSERT_EQ(interface->ipSettings(devices[0].id, &ip), 0);
    EXPECT_EQ(ip.address, 0x7F000001U);
    EXPECT_EQ(interface->accessStatus(devices[0].id), 1);

    std::unique_ptr<core::TransportDevice> device;
    ASSERT_EQ(interface->openDevice(devices[0].id, &device), 0);
    EXPECT_EQ(interface->accessStatus(devices[0].id), 4);
    std::unique_ptr<core::TransportDevice> second;
    EXPECT_EQ(interface->openDevice(devices[0].id, &second), ZelErr::kGenTLAccessDenied);
    std::string xml;
    ASSERT_EQ(device->camera()->description(&xml), 0);
    EXPECT_NE(xml.find("RegisterDescription"), std::string::npos);
    device.reset();
    EXPECT_EQ(interface->accessStatus(devices[0].id), 1);
    EXPECT_EQ(interface->openDevice("nobody", &device), ZelErr::kGenTLInvalidId);
}

TEST_F(Road, DeliversWholeFramesInOrder)
{
    const CameraProcess camera(kAddress, "ROAD2");
    auto device = open();
    ASSERT_NE(device, nullptr);
    Recorder recorder;
    std::unique_ptr<core::TransportStream> stream;
    ASSERT_EQ(device->openStream(0, &recorder, &stream), 0);
    std::vector<std::vector<std::uint8_t>> memory(4, std::vector<std::uint8_t>(kFrame));
    for (std::size_t i = 0; i < memory.size(); ++i) {
        ASSERT_EQ(stream->announce(i + 1, memory[i].data(), kFrame), 0);
        ASSERT_EQ(stream->queue(i + 1), 0);
    }
    for (int round = 0; round < 2; ++round) { // the same stream starts again
        ASSERT_EQ(stream->start(~std::uint64_t{0}), 0);
        writeRegister(*device, kAcquisition, 1);
        std::uint64_t last = 0;
        for (int i = 0; i < 10; ++i) {
            std::pair<core::BufferToken, core::FrameInfo> frame;
            ASSERT_TRUE(recorder.next(&frame, 3s));
            const core::FrameInfo& info = frame.second;
            EXPECT_FALSE(info.incomplete);
            EXPECT_EQ(info.width, 512U);
            EXPECT_EQ(info.height, 512U);
            EXPECT_EQ(info.pixelFormat, 0x01080001U);
            EXPECT_EQ(info.deliveredSize, kFrame);
            EXPECT_GT(info.frameId, last);
            last = info.frameId;
            const auto& pixels = memory[frame.first - 1];
            EXPECT_NE(std::count(pixels.begin(), pixels.end(), pixels[0]),
                      static_cast<std::ptrdiff_t>(pixels.size()));
            ASSERT_EQ(stream->queue(frame.first), 0);
        }
        writeRegister(*device, kAcquisition, 0);
        ASSERT_EQ(stream->stop(false), 0);
        EXPECT_EQ(stream->counters().lost, 0U);
        std::pair<core::BufferToken, core::FrameInfo> rest;
        while (recorder.next(&rest, 50ms)) {
            ASSERT_EQ(stream->queue(rest.first), 0);
        }
    }
    // After a discard nothing comes although the camera sends.
    ASSERT_EQ(stream->start(~std::uint64_t{0}), 0);
    ASSERT_EQ(stream->discardAll(), 0);
    writeRegister(*device, kAcquisition, 1);
    std::pair<core::BufferToken, core::FrameInfo> frame;
    while (recorder.next(&frame, 0ms)) {
    }
    EXPECT_FALSE(recorder.next(&frame, 200ms));
    ASSERT_EQ(stream->queue(2), 0);
    ASSERT_TRUE(recorder.next(&frame, 3s));
    EXPECT_EQ(frame.first, 2U);
    EXPECT_GT(stream->counters().underruns, 0U);
    ASSERT_EQ(stream->revoke(1), 0);
    EXPECT_EQ(stream->queue(1), ZelErr::kGenTLInvalidHandle);
}

TEST_F(Road, StrangersChangeNothingAndAreCounted)
{
    const CameraProcess camera(kAddress, "ROAD5", 0, "bytes");
    auto device = open();
    ASSERT_NE(device, nullptr);
    Recorder recorder;
    std::unique_ptr<core::TransportStream> stream;
    ASSERT_EQ(device->openStream(0, &recorder, &stream), 0);
    std::vector<std::vector<std::uint8_t>> memory(4, std::vector<std::uint8_t>(kFrame));
    for (std::size_t i = 0; i < memory.size(); ++i) {
        ASSERT_EQ(stream->announce(i + 1, memory[i].data(), kFrame), 0);
        ASSERT_EQ(stream->queue(i + 1), 0);
    }
    ASSERT_EQ(stream->start(~std::uint64_t{0}), 0);
    std::array<std::uint8_t, 4> port{};
    ASSERT_EQ(device->camera()->read(0xD00, port.data(), port.size()), 0);
    std::atomic<bool> ending{false};
    std::atomic<std::uint32_t> block{1};
    int came = 0;
    const auto disturb = [&] {
        // From another address, and from the camera's address at another port.
        const gige::UdpSocket sockets[2] = {gige::UdpSocket(0x7F000002),
                                            gige::UdpSocket(0x7F000001)};
        std::array<std::uint8_t, 1372> packet{};
        for (std::uint32_t i = 0; !ending; ++i) {
            packet.fill(0x77);
            base::storeBig<std::uint32_t>(packet.data(), block + i % 2); // status 0 and block id
            base::storeBig<std::uint32_t>(&packet[4], (1U + i % 3U) << 24U | i % 190U);
            sockets[i % 2].sendTo({packet.data(), packet.size()}, 0x7F000001,
                                  base::loadBig<std::uint16_t>(&port[2]));
            if (i % 16 == 0) {
                std::this_thread::sleep_for(200us);
            }
        }
    };
    std::thread stranger;
    writeRegister(*device, kAcquisition, 1);
    std::pair<core::BufferToken, core::FrameInfo> frame;
    for (int i = 0; i < 30 && recorder.next(&frame, 3s); ++i) {
        if (i == 0) { // This camera's port is known from its first leader on.
            stranger = std::thread(disturb);
        }
        const std::uint64_t number = frame.second.frameId;
        block = static_cast<std::uint32_t>(number + 1);
        const auto& pixels = memory[frame.first - 1];
        std::size_t wrong = frame.second.incomplete ? 1 : 0;
        for (std::size_t at = 0; at < kFrame; ++at) {
            wrong += pixels[at] != static_cast<std::uint8_t>(at + (at >> 8U) * 3 + number * 37);
        }
        EXPECT_EQ(wrong, 0U) << number;
        EXPECT_EQ(stream->queue(frame.first), 0);
        came += 1;
    }
    ending = true;
    stranger.join();
    EXPECT_EQ(came, 30);
    EXPECT_GT(readFeature(*stream->features().at(0), "StreamForeignPacketCount"), 100U);
    EXPECT_EQ(readFeature(*stream->features().at(0), "StreamMalformedPacketCount"), 0U);
}

TEST_F(Road, FramesThatDoNotFitAreMarked)
{
    const CameraProcess camera(kAddress, "ROAD3");
    auto device = open();
    ASSERT_NE(device, nullptr);
    Recorder recorder;
    std::unique_ptr<core::TransportStream> stream;
    ASSERT_EQ(device->openStream(0, &recorder, &stream), 0);
    writeRegister(*device, kPixelFormat, 0x01100007); // Mono16: twice the memory
    std::vector<std::uint8_t> memory(kFrame + 64, 0xEE);
    ASSERT_EQ(stream->announce(1, memory.data(), kFrame), 0);
    ASSERT_EQ(stream->queue(1), 0);
    ASSERT_EQ(stream->start(~std::uint64_t{0}), 0);
    writeRegister(*device, kAcquisition, 1);
    std::pair<core::BufferToken, core::FrameInfo> frame;
    ASSERT_TRUE(recorder.next(&frame, 3s));
    EXPECT_TRUE(frame.second.incomplete);
    EXPECT_TRUE(std::all_of(memory.begin() + kFrame, memory.end(),
                            [](std::uint8_t byte) { return byte == 0xEE; }));
}

TEST_F(Road, LossOfTheCameraIsNoticedAndItCanBeOpenedAgain)
{
    auto camera = std::make_unique<CameraProcess>(kAddress, "ROAD4");
    auto device = open();
    ASSERT_NE(device, nullptr);
    Recorder recorder;
    std::unique_ptr<core::TransportStream> stream;
    ASSERT_EQ(device->openStream(0, &recorder, &stream), 0);
    device->startEvents(&recorder);
    camera->kill();
    EXPECT_TRUE(recorder.waitLost(5s));
    std::uint32_t value = 0;
    auto start = Clock::now();
    EXPECT_EQ(device->camera()->read(0, &value, sizeof(value)), ZelErr::kGenTLIo);
    EXPECT_LT(Clock::now() - start, 100ms) << "a lost camera answers at once";
    EXPECT_TRUE(discover().empty());
    start = Clock::now();
    stream.reset();
    device->stopEvents();
    device.reset();
    camera = std::make_unique<CameraProcess>(kAddress, "ROAD4");
    ASSERT_TRUE(camera->isRunning());
    device = open();
    EXPECT_NE(device, nullptr);
}

} // namespace
