// Library, handles, lists, identities, ports: what holds without a frame.
#include "base/ipv4.h"
#include "producer_harness.h"

#include <sys/wait.h>
#include <unistd.h>

#include <set>
#include <thread>

namespace producer_test
{

class ProducerModule : public ProducerTest
{
protected:
    Error lastError(std::string* text = nullptr) const
    {
        Error code = 0;
        char buffer[200] = {};
        std::size_t size = sizeof buffer;
        EXPECT_EQ(f.GCGetLastError(&code, buffer, &size), err::kSuccess);
        if (text != nullptr) {
            *text = buffer;
        }
        return code;
    }
};

TEST_F(ProducerModule, NothingWorksUninitialised)
{
    EXPECT_EQ(f.GCInitLib(), err::kResourceInUse);
    ASSERT_EQ(f.GCCloseLib(), err::kSuccess);
    EXPECT_EQ(f.GCCloseLib(), err::kNotInitialized);
    Error code = 0;
    std::size_t size = 0;
    Handle handle = nullptr;
    Bool8 changed = 0;
    EXPECT_EQ(f.GCGetLastError(&code, nullptr, &size), err::kNotInitialized);
    EXPECT_EQ(f.GCGetInfo(kTlInfoId, nullptr, nullptr, &size), err::kNotInitialized);
    EXPECT_EQ(f.TLOpen(&handle), err::kNotInitialized);
    EXPECT_EQ(f.TLUpdateInterfaceList(system, &changed, 0), err::kNotInitialized);
    EXPECT_EQ(f.EventKill(system), err::kNotInitialized);
    EXPECT_EQ(f.DSQueueBuffer(system, system), err::kNotInitialized);
    // Closing and initialising again is allowed; the old handles stay dead.
    ASSERT_EQ(f.GCInitLib(), err::kSuccess);
    EXPECT_EQ(f.TLClose(system), err::kInvalidHandle);
    EXPECT_EQ(f.TLOpen(&handle), err::kSuccess);
    EXPECT_NE(handle, system);
}

TEST_F(ProducerModule, DeadForeignAndNullHandlesAreRefused)
{
    const Session session = openStream("One", 1);
    const Session other = openStream("Two", 1);
    int stranger = 0;
    std::size_t size = 8;
    std::uint64_t value = 0;
    Handle handle = nullptr;
    for (const Handle bad : {Handle{nullptr}, Handle{&stranger}, reinterpret_cast<Handle>(1),
                             reinterpret_cast<Handle>(~std::uintptr_t{0})}) {
        EXPECT_EQ(f.TLClose(bad), err::kInvalidHandle);
        EXPECT_EQ(f.IFUpdateDeviceList(bad, nullptr, 0), err::kInvalidHandle);
        EXPECT_EQ(f.DevGetPort(bad, &handle), err::kInvalidHandle);
        EXPECT_EQ(f.GCReadPort(bad, 0, &value, &size), err::kInvalidHandle);
        EXPECT_EQ(f.GCRegisterEvent(bad, kEventNewBuffer, &handle), err::kInvalidHandle);
        EXPECT_EQ(f.EventGetData(bad, &value, &size, 0), err::kInvalidHandle);
        EXPECT_EQ(f.DSStopAcquisition(bad, 0), err::kInvalidHandle);
        EXPECT_EQ(f.DSQueueBuffer(session.stream, bad), err::kInvalidHandle);
    }
    // Handles of another kind, and buffers of another stream.
    EXPECT_EQ(f.DSFlushQueue(session.device, 0), err::kInvalidHandle);
    EXPECT_EQ(f.DevClose(session.stream), err::kInvalidHandle);
    EXPECT_EQ(f.EventKill(session.buffers[0]), err::kInvalidHandle);
    EXPECT_EQ(f.DSRevokeBuffer(session.stream, other.buffers[0], nullptr, nullptr),
              err::kInvalidHandle);
    EXPECT_EQ(f.DSQueueBuffer(session.stream, other.buffers[0]), err::kInvalidHandle);
    // Buffers are neither ports nor sources of events.
    EXPECT_EQ(f.GCReadPort(session.buffers[0], 0, &value, &size), err::kNotImplemented);
    EXPECT_EQ(f.GCRegisterEvent(session.buffers[0], kEventNewBuffer, &handle),
              err::kNotImplemented);
}

TEST_F(ProducerModule, OneHandlePerModuleAndParentsCloseChildren)
{
    Handle handle = nullptr;
    const Session session = openStream("One", 2);
    EXPECT_EQ(f.TLOpen(&handle), err::kResourceInUse);
    EXPECT_EQ(f.TLOpenInterface(system, "net", &handle), err::kResourceInUse);
    EXPECT_EQ(f.IFOpenDevice(net, kOneId, kDeviceAccessReadOnly, &handle), err::kResourceInUse);
    EXPECT_EQ(f.DevOpenDataStream(session.device, "Stream0", &handle), err::kResourceInUse);

    EXPECT_EQ(f.IFGetParentTL(net, &handle), err::kSuccess);
    EXPECT_EQ(handle, system);
    EXPECT_EQ(f.DevGetParentIF(session.device, &handle), err::kSuccess);
    EXPECT_EQ(handle, net);
    EXPECT_EQ(f.DSGetParentDev(session.stream, &handle), err::kSuccess);
    EXPECT_EQ(handle, session.device);

    EXPECT_EQ(start(session), err::kSuccess);
    EXPECT_EQ(f.IFClose(net), err::kSuccess);
    std::size_t size = 0;
    EXPECT_EQ(f.DevGetInfo(session.device, kDeviceInfoId, nullptr, nullptr, &size),
              err::kInvalidHandle);
    EXPECT_EQ(f.DSGetInfo(session.stream, kStreamInfoId, nullptr, nullptr, &size),
              err::kInvalidHandle);
    EXPECT_EQ(f.GCGetPortInfo(session.port, kPortInfoId, nullptr, nullptr, &size),
              err::kInvalidHandle);
    EXPECT_EQ(f.EventGetData(session.event, nullptr, &size, 0), err::kInvalidHandle);
    EXPECT_EQ(f.DSQueueBuffer(session.stream, session.buffers[0]), err::kInvalidHandle);
    // Everything can be opened again, and the camera is not acquiring any more.
    net = openInterface("net");
    const Session again = openStream("One", 1);
    EXPECT_EQ(f.DSStartAcquisition(again.stream, 0, kInfinite), err::kSuccess);
    Handle buffer = nullptr;
    EXPECT_EQ(tryBuffer(again, 100, &buffer), err::kTimeout);
}

TEST_F(ProducerModule, ListsChangeOnUpdateOnly)
{
    ASSERT_EQ(f.TLClose(system), err::kSuccess);
    ASSERT_EQ(f.TLOpen(&system), err::kSuccess);
    std::uint32_t count = 99;
    Bool8 changed = 99;
    std::size_t size = 0;
    EXPECT_EQ(f.TLGetNumInterfaces(system, &count), err::kSuccess);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(f.TLGetInterfaceID(system, 0, nullptr, &size), err::kInvalidIndex);
    EXPECT_EQ(f.TLUpdateInterfaceList(system, &changed, kInfinite), err::kSuccess);
    EXPECT_EQ(changed, 1);
    EXPECT_EQ(f.TLUpdateInterfaceList(system, &changed, 0), err::kSuccess);
    EXPECT_EQ(changed, 0);
    EXPECT_EQ(f.TLGetNumInterfaces(system, &count), err::kSuccess);
    EXPECT_EQ(count, 2U);

    // An interface and a device can be opened by their ids without a list.
    ASSERT_EQ(f.TLOpenInterface(system, "net", &net), err::kSuccess);
    EXPECT_EQ(f.IFGetNumDevices(net, &count), err::kSuccess);
    EXPECT_EQ(count, 0U);
    Handle device = nullptr;
    EXPECT_EQ(f.IFOpenDevice(net, kOneId, kDeviceAccessControl, &device), err::kSuccess);
    EXPECT_EQ(f.IFUpdateDeviceList(net, &changed, 0), err::kSuccess);
    EXPECT_EQ(changed, 1);
    EXPECT_EQ(f.IFGetNumDevices(net, &count), err::kSuccess);
    EXPECT_EQ(count, 2U);
    char id[64] = {};
    size = sizeof id;
    EXPECT_EQ(f.IFGetDeviceID(net, 1, id, &size), err::kSuccess);
    EXPECT_STREQ(id, kTwoId);
    EXPECT_EQ(size, std::strlen(kTwoId) + 1);
    EXPECT_EQ(f.IFGetDeviceID(net, 2, id, &size), err::kInvalidIndex);
    EXPECT_EQ(f.DevGetDataStreamID(device, 1, id, &size), err::kInvalidIndex);

    EXPECT_EQ(f.TLOpenInterface(system, "nowhere", &device), err::kInvalidId);
    EXPECT_EQ(f.IFOpenDevice(net, "nobody", kDeviceAccessControl, &device), err::kInvalidId);
    EXPECT_EQ(f.IFOpenDevice(net, kThreeId, kDeviceAccessControl, &device), err::kInvalidId);
    EXPECT_EQ(f.IFGetDeviceInfo(net, "nobody", kDeviceInfoModel, nullptr, nullptr, &size),
              err::kInvalidId);
    EXPECT_EQ(f.IFOpenDevice(net, kTwoId, kDeviceAccessNone, &device), err::kInvalidParameter);
    EXPECT_EQ(f.IFOpenDevice(net, nullptr, kDeviceAccessControl, &device), err::kInvalidParameter);
}

TEST_F(ProducerModule, SizesAreNegotiated)
{
    char text[8] = "unhurt";
    std::int32_t type = 0;
    std::size_t size = 0;
    ASSERT_EQ(f.IFGetDeviceInfo(net, kOneId, kDeviceInfoId, &type, nullptr, &size), err::kSuccess);
    EXPECT_EQ(size, std::strlen(kOneId) + 1);
    size = 7;
    EXPECT_EQ(f.IFGetDeviceInfo(net, kOneId, kDeviceInfoId, &type, text, &size),
              err::kBufferTooSmall);
    EXPECT_STREQ(text, "unhurt");
    EXPECT_EQ(f.IFGetDeviceInfo(net, kOneId, kDeviceInfoId, &type, text, nullptr),
              err::kInvalidParameter);
    EXPECT_EQ(f.IFGetDeviceInfo(net, kOneId, 999, &type, nullptr, &size), err::kInvalidParameter);
    size = 3;
    EXPECT_EQ(f.TLGetInterfaceID(system, 0, text, &size), err::kBufferTooSmall);
    size = 2;
    EXPECT_EQ(f.DevGetDataStreamID(openCamera(net, kOneId).device, 0, text, &size),
              err::kBufferTooSmall);
}

TEST_F(ProducerModule, IdentitiesAreTypedAndRight)
{
    EXPECT_EQ(askText(f.GCGetInfo, std::int32_t{kTlInfoTlType}), "Mixed");
    EXPECT_EQ(askFor<std::int32_t>(kTypeInt32, f.GCGetInfo, std::int32_t{kTlInfoCharEncoding}), 1);
    EXPECT_EQ(askFor<std::uint32_t>(kTypeUint32, f.TLGetInfo, system,
                                    std::int32_t{kTlInfoGenTLVersionMinor}),
              6U);
    EXPECT_EQ(askText(f.TLGetInterfaceInfo, system, "net", std::int32_t{kInterfaceInfoDisplayName}),
              "Test network");
    EXPECT_EQ(askText(f.IFGetInfo, link, std::int32_t{kInterfaceInfoTlType}), "CL");
    EXPECT_EQ(askText(f.IFGetDeviceInfo, net, kOneId, std::int32_t{kDeviceInfoModel}), "One");
    EXPECT_EQ(askText(f.IFGetDeviceInfo, net, kOneId, std::int32_t{kDeviceInfoUserDefinedName}),
              "left");
    EXPECT_EQ(askText(f.IFGetDeviceInfo, net, kTwoId, std::int32_t{kDeviceInfoSerialNumber}),
              "90000002");
    const Session session = openCamera(net, kOneId);
    EXPECT_EQ(askFor<std::uint64_t>(kTypeUint64, f.DevGetInfo, session.device,
                                    std::int32_t{kDeviceInfoTimestampFrequency}),
              1000000000U);
    // A new name is told at once.
    const auto place = session.camera.place("DeviceUserID");
    std::string name(place.length, '\0');
    name.replace(0, 5, "right");
    std::size_t size = name.size();
    ASSERT_EQ(f.GCWritePort(session.port, place.address, name.data(), &size), err::kSuccess);
    EXPECT_EQ(askText(f.DevGetInfo, session.device, std::int32_t{kDeviceInfoUserDefinedName}),
              "right");
}

TEST_F(ProducerModule, AccessRightsAndStatus)
{
    const auto status = [this] {
        return askFor<std::int32_t>(kTypeInt32, f.IFGetDeviceInfo, net, kOneId,
                                    std::int32_t{kDeviceInfoAccessStatus});
    };
    const Registers interface(f, net);
    Handle device = nullptr;
    EXPECT_EQ(status(), kStatusReadWrite);

    // Another host on the network controls the camera: here it can only be read.
    ASSERT_EQ(interface.writeEntry("SimulatorOtherHost", "Control"), err::kSuccess);
    EXPECT_EQ(status(), kStatusReadOnly);
    EXPECT_EQ(f.IFOpenDevice(net, kOneId, kDeviceAccessControl, &device), err::kAccessDenied);
    ASSERT_EQ(f.IFOpenDevice(net, kOneId, kDeviceAccessReadOnly, &device), err::kSuccess);
    EXPECT_EQ(status(), kStatusOpenReadOnly);
    Handle port = nullptr;
    Handle stream = nullptr;
    ASSERT_EQ(f.DevGetPort(device, &port), err::kSuccess);
    const Registers camera(f, port);
    EXPECT_EQ(camera.read("Width"), 64U);
    EXPECT_EQ(camera.write("Width", 32), err::kAccessDenied);
    EXPECT_EQ(f.DevOpenDataStream(device, "Stream0", &stream), err::kAccessDenied);
    EXPECT_EQ(askFor<Bool8>(kTypeBool8, f.GCGetPortInfo, port, std::int32_t{kPortInfoAccessWrite}),
              0);
    ASSERT_EQ(f.DevClose(device), err::kSuccess);

    ASSERT_EQ(interface.writeEntry("SimulatorOtherHost", "Exclusive"), err::kSuccess);
    EXPECT_EQ(status(), kStatusBusy);
    EXPECT_EQ(f.IFOpenDevice(net, kOneId, kDeviceAccessReadOnly, &device), err::kAccessDenied);
    ASSERT_EQ(interface.writeEntry("SimulatorOtherHost", "None"), err::kSuccess);
    ASSERT_EQ(f.IFOpenDevice(net, kOneId, kDeviceAccessControl, &device), err::kSuccess);
    EXPECT_EQ(status(), kStatusOpenReadWrite);
    EXPECT_EQ(interface.read("DeviceAccessStatus", 0), std::uint64_t{kStatusOpenReadWrite});
    EXPECT_EQ(interface.read("DeviceAccessStatus", 1), std::uint64_t{kStatusReadWrite});
}

TEST_F(ProducerModule, LastErrorIsKeptPerThread)
{
    Handle handle = nullptr;
    std::string text;
    EXPECT_EQ(f.TLOpenInterface(system, "nowhere", &handle), err::kInvalidId);
    std::uint32_t count = 0;
    EXPECT_EQ(f.TLGetNumInterfaces(system, &count), err::kSuccess);
    EXPECT_EQ(lastError(&text), err::kInvalidId); // a success does not wash it away
    EXPECT_NE(text.find("nowhere"), std::string::npos);
    Error elsewhere = -1;
    std::thread([&] {
        elsewhere = lastError();
        f.TLClose(nullptr);
    }).join();
    EXPECT_EQ(elsewhere, err::kSuccess);
    EXPECT_EQ(lastError(), err::kInvalidId);
}

TEST_F(ProducerModule, EveryPortHasItsDescription)
{
    const Session session = openCamera(net, kOneId);
    const std::vector<std::pair<Handle, std::string>> ports = {{system, "TLSystem"},
                                                               {net, "TLInterface"},
                                                               {session.device, "TLDevice"},
                                                               {session.stream, "TLDataStream"},
                                                               {session.port, "Device"}};
    std::set<std::vector<std::uint8_t>> hashes;
    for (const auto& [port, module] : ports) {
        EXPECT_EQ(askText(f.GCGetPortInfo, port, std::int32_t{kPortInfoModule}), module);
        const std::string xml = readDescription(f, port);
        EXPECT_EQ(xml.substr(0, 5), "<?xml") << module;
        EXPECT_NE(xml.find("</RegisterDescription>"), std::string::npos) << module;
        std::uint32_t count = 0;
        EXPECT_EQ(f.GCGetNumPortURLs(port, &count), err::kSuccess);
        EXPECT_EQ(count, 1U);
        EXPECT_EQ(askFor<std::uint64_t>(kTypeUint64, f.GCGetPortURLInfo, port, 0U,
                                        std::int32_t{kUrlInfoFileSize}),
                  xml.size());
        EXPECT_EQ(askFor<std::int32_t>(kTypeInt32, f.GCGetPortURLInfo, port, 0U,
                                       std::int32_t{kUrlInfoSchemaVersionMajor}),
                  1);
        // The old way to the URL: a list, closed by an empty text.
        char url[200];
        std::size_t size = sizeof url;
        EXPECT_EQ(f.GCGetPortURL(port, url, &size), err::kSuccess);
        EXPECT_EQ(std::string(url, 6), "local:");
        EXPECT_EQ(url[size - 1], '\0');
        EXPECT_EQ(url[size - 2], '\0');
        std::vector<std::uint8_t> hash(20);
        size = hash.size();
        EXPECT_EQ(f.GCGetPortURLInfo(port, 0, kUrlInfoFileSha1Hash, nullptr, hash.data(), &size),
                  err::kSuccess);
        EXPECT_EQ(size, hash.size());
        hashes.insert(hash);
        // The description cannot be written, and nothing lies behind it.
        const auto address = askFor<std::uint64_t>(kTypeUint64, f.GCGetPortURLInfo, port, 0U,
                                                   std::int32_t{kUrlInfoFileRegisterAddress});
        char byte = 0;
        size = 1;
        EXPECT_EQ(f.GCReadPort(port, address + xml.size() - 1, &byte, &size), err::kSuccess);
        EXPECT_EQ(f.GCWritePort(port, address, &byte, &size), err::kAccessDenied);
        EXPECT_EQ(f.GCReadPort(port, ~std::uint64_t{0}, &byte, &size), err::kInvalidAddress);
        EXPECT_EQ(f.GCReadPort(port, address, nullptr, &size), err::kInvalidParameter);
    }
    EXPECT_EQ(hashes.size(), ports.size());
}

TEST_F(ProducerModule, ModuleFeaturesTellTheTruth)
{
    const Registers tl(f, system);
    EXPECT_EQ(tl.readText("InterfaceID", 0), "net");
    EXPECT_EQ(tl.readText("InterfaceID", 1), "link");
    EXPECT_NE(tl.write("InterfaceSelector", 2), err::kSuccess);
    const Registers interface(f, net);
    EXPECT_EQ(interface.readText("DeviceID", 1), kTwoId);
    EXPECT_EQ(interface.readText("DeviceUserID", 0), "left");
    EXPECT_EQ(interface.read("GevDeviceIPAddress", 0), 0xC0A80705U);
    EXPECT_EQ(interface.read("GevDeviceMACAddress", 0), 0x025A4301002AU);
    const Session session = openStream("One", 3);
    const Registers device(f, session.device);
    EXPECT_EQ(device.readText("DeviceModelName"), "One");
    EXPECT_EQ(device.readText("StreamID"), "Stream0");
    const Registers stream(f, session.stream);
    EXPECT_EQ(stream.read("StreamAnnouncedBufferCount"), 3U);
    EXPECT_EQ(stream.read("StreamInputBufferCount"), 3U);
    EXPECT_NE(stream.write("StreamInputBufferCount", 1), err::kSuccess);
    // A frame grabber has no network.
    EXPECT_EQ(Registers(f, link).xml().find("GevDevice"), std::string::npos);
}

TEST_F(ProducerModule, ForceIpChangesClosedCamerasOnly)
{
    const Registers interface(f, net);
    const auto force = [&](std::size_t index) {
        EXPECT_EQ(interface.write("GevDeviceForceIPAddress", 0x0A000007, index), err::kSuccess);
        EXPECT_EQ(interface.write("GevDeviceForceSubnetMask", 0xFF000000, index), err::kSuccess);
        EXPECT_EQ(interface.write("GevDeviceForceGateway", 0x0A000001, index), err::kSuccess);
        return interface.write("GevDeviceForceIP", 1, index);
    };
    const Session open = openCamera(net, kTwoId);
    EXPECT_EQ(force(1), err::kResourceInUse);
    EXPECT_EQ(interface.read("GevDeviceIPAddress", 1) >> 24, 0xC0U);
    EXPECT_EQ(force(0), err::kSuccess);
    EXPECT_EQ(interface.read("GevDeviceIPAddress", 0), 0x0A000007U);
    EXPECT_EQ(interface.read("GevDeviceSubnetMask", 0), 0xFF000000U);
    EXPECT_EQ(interface.read("GevDeviceGateway", 0), 0x0A000001U);
    EXPECT_EQ(openCamera(net, kOneId).camera.read("GevCurrentIPAddress"), 0x0A000007U);
}

TEST_F(ProducerModule, ForceIpRefusesWhatNoHostCanHave)
{
    const Registers interface(f, net);
    const std::uint64_t before = interface.read("GevDeviceIPAddress", 0);
    const struct {
        std::uint32_t address, mask, gateway;
    } wrong[] = {{0xFFFFFFFF, 0xFFFFFF00, 0},
                 {0xE0000001, 0xF0000000, 0},
                 {0x7F000001, 0xFF000000, 0},
                 {0x0A000007, 0xFF00FF00, 0},
                 {0x0A000007, 0, 0},
                 {0x0A000007, 0xFFFFFFFF, 0},
                 {0x0A0000FF, 0xFFFFFF00, 0},
                 {0x0A000000, 0xFFFFFF00, 0},
                 {0x0A000007, 0xFFFFFF00, 0x0A000101},
                 {0x0A000007, 0xFFFFFF00, 0x0A0000FF}};
    for (const auto& one : wrong) {
        EXPECT_EQ(interface.write("GevDeviceForceIPAddress", one.address), err::kSuccess);
        EXPECT_EQ(interface.write("GevDeviceForceSubnetMask", one.mask), err::kSuccess);
        EXPECT_EQ(interface.write("GevDeviceForceGateway", one.gateway), err::kSuccess);
        EXPECT_EQ(interface.write("GevDeviceForceIP", 1), err::kInvalidValue) << one.address;
    }
    EXPECT_EQ(interface.read("GevDeviceIPAddress", 0), before);
    std::uint32_t address = 5;
    EXPECT_FALSE(base::parseIpv4("010.1.2.3", &address)) << "eight or ten?";
    EXPECT_TRUE(base::parseIpv4("10.0.2.3", &address));
    EXPECT_EQ(address, 0x0A000203U);
}

/// Ten thousand cameras and as many interfaces as somebody likes: all of them are there.
TEST_F(ProducerModule, ThousandsOfCamerasAndInterfaces)
{
    std::string json = "{\"interfaces\": [{\"cameras\": [{\"model\": \"Many\", \"count\": 5000, "
                       "\"userDefinedName\": \"M\"}]}";
    for (int i = 0; i < 400; ++i) {
        json += ", {\"type\": \"CL\", \"cameras\": [{}]}";
    }
    configure(json + "]}");
    EXPECT_EQ(f.TLClose(system), err::kSuccess);
    openSystem();
    std::uint32_t count = 0;
    EXPECT_EQ(f.TLGetNumInterfaces(system, &count), err::kSuccess);
    EXPECT_EQ(count, 401U);
    const Handle many = openInterface("ZelSim0");
    EXPECT_EQ(f.IFGetNumDevices(many, &count), err::kSuccess);
    ASSERT_EQ(count, 5000U);
    const Registers interface(f, many);
    std::set<std::uint64_t> addresses;
    std::set<std::uint64_t> macs;
    for (std::uint32_t i = 0; i < count; i += 7) {
        addresses.insert(interface.read("GevDeviceIPAddress", i));
        macs.insert(interface.read("GevDeviceMACAddress", i));
    }
    EXPECT_EQ(addresses.size(), (count + 6) / 7);
    EXPECT_EQ(macs.size(), (count + 6) / 7);
    EXPECT_EQ(interface.readText("DeviceUserID", 4999), "M");
    EXPECT_NE(openCamera(many, "ZelSim0/Many/90000001-5000").device, nullptr);
}

TEST_F(ProducerModule, StackedAccessStopsAtTheFirstMistake)
{
    const Session session = openCamera(net, kOneId);
    const auto width = session.camera.place("Width");
    const auto height = session.camera.place("Height");
    unsigned char values[3][8] = {};
    RegisterStackEntry entries[3] = {{width.address, values[0], width.length},
                                     {~std::uint64_t{7}, values[1], 8},
                                     {height.address, values[2], height.length}};
    std::size_t count = 3;
    EXPECT_EQ(f.GCReadPortStacked(session.port, entries, &count), err::kInvalidAddress);
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(values[0][7], 64);
    entries[1] = entries[2];
    count = 2;
    EXPECT_EQ(f.GCReadPortStacked(session.port, entries, &count), err::kSuccess);
    EXPECT_EQ(count, 2U);
    EXPECT_EQ(values[2][7], 48);
    values[0][7] = values[2][7] = 32;
    EXPECT_EQ(f.GCWritePortStacked(session.port, entries, &count), err::kSuccess);
    EXPECT_EQ(session.camera.read("PayloadSize"), 32U * 32U);
}

TEST_F(ProducerModule, EnvironmentDecidesOnTheInterfaces)
{
    const auto interfaces = [this] {
        EXPECT_EQ(f.TLClose(system), err::kSuccess);
        openSystem();
        std::uint32_t count = 99;
        EXPECT_EQ(f.TLGetNumInterfaces(system, &count), err::kSuccess);
        return count;
    };
    setenv("ZELCAM_SIMULATOR", "off", 1);
    EXPECT_EQ(interfaces(), 0U);
    unsetenv("ZELCAM_SIMULATOR");
    EXPECT_EQ(interfaces(), 5U);
    configure("{\"interfaces\": [{\"type\": \"PCX\"}]}");
    testing::internal::CaptureStderr();
    EXPECT_EQ(interfaces(), 0U);
    const std::string report = testing::internal::GetCapturedStderr();
    EXPECT_NE(report.find("interfaces[0].type"), std::string::npos) << report;
}

TEST_F(ProducerModule, AForkedChildStartsAnew)
{
    const Session session = openStream("One", 3);
    ASSERT_EQ(start(session), err::kSuccess);
    nextBuffer(session);
    const pid_t child = fork();
    if (child == 0) {
        alarm(20); // a child that hangs is a child that dies
        std::size_t size = 0;
        Handle own = nullptr;
        bool good = f.DSStopAcquisition(session.stream, 0) == err::kNotInitialized;
        good = good && f.GCInitLib() == err::kSuccess;
        good =
            good && f.EventGetData(session.event, nullptr, &size, kInfinite) == err::kInvalidHandle;
        good = good && f.TLOpen(&own) == err::kSuccess && f.TLClose(system) == err::kInvalidHandle;
        good = good && f.GCCloseLib() == err::kSuccess;
        _exit(good ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    nextBuffer(session); // the parent goes on
}

} // namespace producer_test
