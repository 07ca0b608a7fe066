// Registers of simulated cameras: what a camera enforces, whatever the host checks.
#include "gentl_abi/gentl_abi.h"
#include "test_camera.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

namespace simulator::test
{

namespace
{

namespace err = gentl::err;

constexpr std::uint64_t kUserMemory = 0x01000000;
constexpr std::uint64_t kFactoryMemory = 0x02000000;
constexpr std::uint64_t kProtectedMemory = 0x03000000;

} // namespace

TEST(Registers, RefuseWrongValuesAccessesAndAddresses)
{
    TestCamera camera;
    EXPECT_EQ(camera.set("Width", 32), err::kSuccess);
    EXPECT_EQ(camera.set("Width", 33), err::kInvalidValue) << "increment 8";
    EXPECT_EQ(camera.set("Width", 72), err::kInvalidValue) << "wider than the sensor";
    EXPECT_EQ(camera.set("Width", 0), err::kInvalidValue);
    EXPECT_EQ(camera.get("Width"), 32);
    EXPECT_EQ(camera.set("PixelFormat", 0x01080009), err::kInvalidValue) << "a Bayer format";
    EXPECT_EQ(camera.set("ReverseX", 2), err::kInvalidValue);
    EXPECT_EQ(camera.setReal("Gain", 24.1), err::kInvalidValue);
    EXPECT_EQ(camera.setReal("Gain", std::nan("")), err::kInvalidValue);
    EXPECT_EQ(camera.setReal("ExposureTime", std::numeric_limits<double>::infinity()),
              err::kInvalidValue);
    EXPECT_EQ(camera.set("SensorWidth", 10), err::kAccessDenied);
    EXPECT_EQ(camera.set("TimestampLatchHigh", 10), err::kAccessDenied);

    const auto width = camera.find("WidthReg");
    std::uint8_t bytes[16] = {};
    EXPECT_EQ(camera.model.write(width.address + 1, bytes, 8), err::kInvalidAddress);
    EXPECT_EQ(camera.model.write(width.address, bytes, 4), err::kInvalidAddress);
    EXPECT_EQ(camera.model.read(0, bytes, 4), err::kInvalidAddress);
    EXPECT_EQ(camera.model.read(~std::uint64_t{0} - 2, bytes, 8), err::kInvalidAddress);
    EXPECT_EQ(camera.model.read(width.address, bytes, std::numeric_limits<std::size_t>::max()),
              err::kInvalidAddress);
    // Reads may start and end anywhere.
    ASSERT_EQ(camera.model.read(width.address + 6, bytes, 3), err::kSuccess);
    EXPECT_EQ(bytes[1], 32);
}

TEST(Registers, RangesFollowEachOther)
{
    TestCamera camera;
    ASSERT_EQ(camera.set("Width", 16), 0);
    EXPECT_EQ(camera.raw("OffsetXRegMax"), 48);
    ASSERT_EQ(camera.set("OffsetX", 40), 0);
    EXPECT_EQ(camera.raw("WidthRegMax"), 24);
    EXPECT_EQ(camera.set("Width", 32), err::kInvalidValue);
    // Binning makes the picture smaller; the window moves into it.
    ASSERT_EQ(camera.set("BinningHorizontal", 2), 0);
    EXPECT_EQ(camera.get("WidthMax"), 32);
    EXPECT_EQ(camera.get("Width"), 16);
    EXPECT_EQ(camera.get("OffsetX"), 16);
    EXPECT_EQ(camera.get("PayloadSize"), 16 * 48);
    ASSERT_EQ(camera.set("PixelFormat", 0x010C0006), 0);
    EXPECT_EQ(camera.get("PayloadSize"), 16 * 48 * 12 / 8);
    EXPECT_EQ(camera.get("PixelDynamicRangeMax"), 4095);
    EXPECT_EQ(camera.get("PixelSize"), 12);
}

TEST(Registers, FormatsComeAndGo)
{
    TestCamera camera;
    EXPECT_EQ(camera.set("PixelFormat", 0x01100007), 0) << "Mono16";
    ASSERT_EQ(camera.set("DeviceLinkThroughputLimit", 1000000), 0);
    ASSERT_EQ(camera.set("DeviceLinkThroughputLimitMode", 1), 0);
    EXPECT_EQ(camera.set("PixelFormat", 0x01100025), err::kInvalidValue) << "Mono14";
    EXPECT_EQ(camera.set("PixelFormat", 0x01100005), 0) << "Mono12";
    // The limit also slows the camera down: 64 * 48 * 2 bytes at 1 MB/s.
    EXPECT_NEAR(camera.getReal("AcquisitionResultingFrameRate"), 50.0, 1e-6);
    ASSERT_EQ(camera.set("AcquisitionFrameRateEnable", 0), 0);
    EXPECT_NEAR(camera.getReal("AcquisitionResultingFrameRate"), 100.0, 1e-6) << "exposure 10 ms";
    ASSERT_EQ(camera.setReal("ExposureTime", 1000), 0);
    EXPECT_NEAR(camera.getReal("AcquisitionResultingFrameRate"), 1e6 / 6144, 0.01);
}

TEST(Registers, LockWhileStreaming)
{
    TestCamera camera;
    ASSERT_EQ(camera.set("TLParamsLocked", 1), 0);
    EXPECT_EQ(camera.raw("WidthRegLocked"), 1);
    EXPECT_EQ(camera.set("Width", 16), err::kAccessDenied);
    EXPECT_EQ(camera.setReal("ExposureTime", 500), 0) << "may change while streaming";
    camera.model.setTransportLocked(false);
    EXPECT_EQ(camera.get("TLParamsLocked"), 0);
    EXPECT_EQ(camera.set("Width", 16), 0);
    ASSERT_EQ(camera.run("AcquisitionStart"), 0);
    EXPECT_EQ(camera.set("PixelFormat", 0x01080001), err::kAccessDenied);
    ASSERT_EQ(camera.run("AcquisitionStop"), 0);
    EXPECT_EQ(camera.set("PixelFormat", 0x01080001), 0);
}

TEST(Registers, SelectorsSelect)
{
    TestCamera camera;
    ASSERT_EQ(camera.setReal("Gain", 6.0, 1), 0);
    EXPECT_EQ(camera.getReal("Gain", 0), 0.0);
    EXPECT_EQ(camera.getReal("Gain", 1), 6.0);
    ASSERT_EQ(camera.set("EventNotification", 1, 7), 0);
    EXPECT_EQ(camera.get("EventNotification", 6), 0);
    EXPECT_EQ(camera.get("EventNotification", 7), 1);
}

TEST(Registers, TextAndTemperature)
{
    TestCamera camera;
    camera.listener.takeNotes();
    ASSERT_EQ(camera.setText("DeviceUserID", "Kamera \xC3\xA4"), 0);
    EXPECT_EQ(camera.getText("DeviceUserID"), "Kamera \xC3\xA4");
    EXPECT_EQ(camera.model.userDefinedName(), "Kamera \xC3\xA4");
    EXPECT_EQ(camera.listener.takeNotes(), std::vector<std::string>{"identity"});
    const std::string full(64, 'x');
    const auto place = camera.find("DeviceUserID");
    ASSERT_EQ(place.length, full.size()) << "what hosts take for the longest text";
    EXPECT_EQ(camera.model.write(place.address, full.data(), full.size()), 0);
    EXPECT_EQ(camera.model.userDefinedName(), full);
    EXPECT_EQ(camera.setText("DeviceUserID", full + 'x'), err::kInvalidAddress);
    EXPECT_EQ(camera.setText("DeviceModelName", "Other"), err::kAccessDenied);
    EXPECT_EQ(camera.getText("DeviceModelName"), "Small");
    EXPECT_NEAR(static_cast<double>(camera.get("DeviceTemperature")) / 100.0, 25.0, 1.0);
}

TEST(Registers, CommandsStayBusyAndLatchTime)
{
    TestCamera camera;
    EXPECT_EQ(camera.get("DeviceSelfTest"), 0);
    ASSERT_EQ(camera.run("DeviceSelfTest"), 0);
    EXPECT_EQ(camera.get("DeviceSelfTest"), 1) << "takes half a second";
    const std::uint64_t before = camera.model.now();
    ASSERT_EQ(camera.run("TimestampLatch"), 0);
    const auto latched = static_cast<std::uint64_t>(camera.get("TimestampLatchHigh") << 32 |
                                                    camera.get("TimestampLatchLow"));
    EXPECT_GE(latched, before);
    EXPECT_LE(latched, camera.model.now());
}

TEST(Registers, UserSetsKeepSettings)
{
    TestCamera camera;
    ASSERT_EQ(camera.set("Width", 16), 0);
    ASSERT_EQ(camera.setReal("Gain", 3.0, 1), 0);
    EXPECT_EQ(camera.run("UserSetSave"), err::kAccessDenied) << "Default cannot be changed";
    ASSERT_EQ(camera.set("UserSetSelector", 1), 0);
    ASSERT_EQ(camera.run("UserSetSave"), 0);
    ASSERT_EQ(camera.set("UserSetSelector", 0), 0);
    ASSERT_EQ(camera.run("UserSetLoad"), 0);
    EXPECT_EQ(camera.get("Width"), 64);
    EXPECT_EQ(camera.getReal("Gain", 1), 0.0);
    // A restart loads the default set and keeps the user's name and memory.
    ASSERT_EQ(camera.set("UserSetDefault", 1), 0);
    ASSERT_EQ(camera.setText("DeviceUserID", "kept"), 0);
    ASSERT_EQ(camera.model.write(kUserMemory, "kept", 4), 0);
    camera.listener.takeNotes();
    ASSERT_EQ(camera.run("DeviceReset"), 0);
    EXPECT_EQ(camera.listener.takeNotes(), std::vector<std::string>{"unplugged 1000"});
    EXPECT_EQ(camera.get("Width"), 16);
    EXPECT_EQ(camera.getReal("Gain", 1), 3.0);
    EXPECT_EQ(camera.getText("DeviceUserID"), "kept");
    char text[5] = {};
    ASSERT_EQ(camera.model.read(kUserMemory, text, 4), 0);
    EXPECT_STREQ(text, "kept");
}

TEST(Registers, PersistentAddressesCountAfterARestart)
{
    CameraConfig config = smallCamera();
    config.hasNetwork = true;
    config.ip = {0xC0A80001, 0xFFFFFF00, 0};
    config.macAddress = "02:5a:43:00:00:01";
    TestCamera camera(config);
    EXPECT_EQ(camera.get("GevMACAddress"), 0x025A43000001);
    camera.model.forceIp({0x0A000002, 0xFF000000, 0x0A000001});
    EXPECT_EQ(camera.get("GevCurrentIPAddress"), 0x0A000002);
    EXPECT_EQ(camera.set("GevCurrentIPAddress", 1), err::kAccessDenied);
    ASSERT_EQ(camera.set("GevPersistentIPAddress", 0xC0A80007), 0);
    EXPECT_EQ(camera.get("GevCurrentIPAddress"), 0x0A000002);
    ASSERT_EQ(camera.run("DeviceReset"), 0);
    EXPECT_EQ(camera.model.ip().address, 0xC0A80007);
    EXPECT_EQ(camera.model.ip().gateway, 0u);
}

TEST(Memory, AllowsAndForbids)
{
    TestCamera camera;
    std::vector<std::uint8_t> data(1024 * 1024);
    for (std::size_t i = 0; i < data.size(); ++i) {
        data[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
    }
    ASSERT_EQ(camera.model.write(kUserMemory, data.data(), data.size()), 0);
    std::vector<std::uint8_t> back(data.size());
    ASSERT_EQ(camera.model.read(kUserMemory, back.data(), back.size()), 0);
    EXPECT_EQ(back, data);
    EXPECT_EQ(camera.model.read(kUserMemory + 1, back.data(), back.size()), err::kInvalidAddress);
    EXPECT_EQ(camera.model.write(kFactoryMemory, data.data(), 4), err::kAccessDenied);
    ASSERT_EQ(camera.model.read(kFactoryMemory + 250, back.data(), 2), 0);
    EXPECT_EQ(back[0], 250);
    EXPECT_EQ(back[1], 0);
    EXPECT_EQ(camera.model.read(kProtectedMemory, back.data(), 4), err::kAccessDenied);
    EXPECT_EQ(camera.model.write(kProtectedMemory, data.data(), 4), err::kAccessDenied);
    EXPECT_EQ(camera.model.write(camera.model.xmlAddress(), data.data(), 4), err::kAccessDenied);
    std::string xml(camera.model.xml().size(), ' ');
    ASSERT_EQ(camera.model.read(camera.model.xmlAddress(), xml.data(), xml.size()), 0);
    EXPECT_EQ(xml, camera.model.xml());
    // It was let go then and is made again, in pieces and from the middle, too.
    std::string pieces(xml.size(), ' ');
    for (std::size_t at = 0; at < xml.size(); at += 1000) {
        const std::size_t size = std::min<std::size_t>(1000, xml.size() - at);
        const std::size_t place = (at + xml.size() / 2000 * 1000) % (xml.size() / 1000 * 1000);
        ASSERT_EQ(camera.model.read(camera.model.xmlAddress() + at, &pieces[at], size), 0);
        std::string part(500, ' ');
        ASSERT_EQ(camera.model.read(camera.model.xmlAddress() + place, &part[0], 500), 0);
        ASSERT_EQ(part, xml.substr(place, 500));
    }
    EXPECT_EQ(pieces, xml);
}

TEST(Faults, RefuseTheNextAccesses)
{
    TestCamera camera;
    ASSERT_EQ(camera.set("SimulatorRefuseCode", err::kTimeout), 0);
    ASSERT_EQ(camera.set("SimulatorRefuseAccesses", 2), 0);
    EXPECT_EQ(camera.set("Width", 16), err::kTimeout);
    EXPECT_EQ(camera.set("Width", 16), err::kTimeout);
    EXPECT_EQ(camera.set("Width", 16), 0);
}

/// Whatever is written, the camera stays consistent enough to take the next picture.
TEST(Registers, SurviveRandomWrites)
{
    CameraConfig config = smallCamera();
    config.sensor = SensorKind::BayerRG;
    config.pixelFormats = defaultPixelFormats(config.sensor);
    config.hasNetwork = true;
    TestCamera camera(config);
    std::vector<TestCamera::Register> registers;
    const std::string& xml = camera.model.xml();
    for (std::size_t at = xml.find("<Address>"); at != std::string::npos;
         at = xml.find("<Address>", at + 1)) {
        registers.push_back({std::strtoull(xml.c_str() + at + 9, nullptr, 16), 8});
    }
    ASSERT_GT(registers.size(), 150u);
    std::mt19937_64 random(20);
    std::size_t frames = 0;
    for (int i = 0; i < 20000; ++i) {
        const auto& reg = registers[random() % registers.size()];
        std::uint8_t bytes[72];
        for (auto& byte : bytes) {
            byte = random() % 4 == 0 ? static_cast<std::uint8_t>(random()) : 0;
        }
        bytes[3] = bytes[7] = static_cast<std::uint8_t>(random() % 70);
        const std::size_t size = random() % 3 == 0 ? random() % sizeof bytes : random() % 2 * 4 + 4;
        camera.model.write(reg.address + random() % 3 * 8, bytes, size);
        camera.model.read(reg.address + random() % 16, bytes, random() % sizeof bytes);
        if (i % 20 == 0) {
            camera.model.write(camera.find("AcquisitionStartReg").address, "\0\0\0\1", 4);
            const FramePlan plan = camera.model.nextFrame();
            if (plan.expose) {
                std::vector<std::uint8_t> memory(camera.model.payloadSize());
                FrameLayout layout;
                EXPECT_EQ(camera.model.render(plan, memory.data(), memory.size(), &layout), 0);
                EXPECT_EQ(layout.size, memory.size());
                camera.model.frameDone(plan);
                ++frames;
            }
            camera.model.sessionClosed();
        }
    }
    EXPECT_GT(frames, 50u);
}

} // namespace simulator::test
