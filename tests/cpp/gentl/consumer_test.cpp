// The GenTL consumer over producers that behave, and over those that answer less or otherwise.
#include "gentl/port_url.h"
#include "scripted_producer.h"
#include "simulator/producer_table.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <fstream>
#include <iterator>
#include <thread>

namespace gentl_test
{
namespace
{

using gentl::Error;
using gentl::Handle;
namespace err = gentl::err;

const gentl::FunctionTable& real() { return simulator::producerTable(); }

template <class Value>
Error answer(Value value, std::int32_t type, std::int32_t* infoType, void* data, std::size_t* size)
{
    *infoType = type;
    if (data != nullptr) {
        std::memcpy(data, &value, sizeof value);
    }
    *size = sizeof value;
    return err::kSuccess;
}

TEST(ConsumerTest, FramesAndTheirCounters)
{
    OpenDevice open(sharedTable());
    ASSERT_TRUE(open.hasStream());
    EXPECT_EQ(open.stream().GetBufferSize(), 64U * 32U);
    open.set("SimulatorDropFrames", 3);
    open.start();
    std::uint64_t last = 0;
    for (int i = 0; i < 10; ++i) {
        ZelCam::Buffer* const buffer = open.next();
        ASSERT_NE(buffer, nullptr);
        EXPECT_TRUE(i == 0 || buffer->GetFrameID() > last);
        last = buffer->GetFrameID();
        EXPECT_EQ(buffer->GetWidth(), 64U);
        EXPECT_EQ(buffer->GetHeight(), 32U);
        EXPECT_EQ(buffer->GetBufferSize(), 64U * 32U);
        EXPECT_EQ(buffer->GetPixelFormat(), 0x01080001U);
        EXPECT_FALSE(buffer->IsIncomplete());
        EXPECT_EQ(open.stream().QueueBuffer(buffer), ZelErr::kOk);
        if (i == 3) {
            open.set("SimulatorDropFrames", 2);
        }
    }
    EXPECT_GE(open.counter("StreamLostFrameCount"), 2);
    EXPECT_GE(open.counter("StreamDeliveredFrameCount"), 10);
    open.set("SimulatorIncompleteLines", 8);
    open.set("SimulatorIncompleteFrames", 1);
    ZelCam::Buffer* incomplete = nullptr;
    for (int i = 0; i < 50 && (incomplete == nullptr || !incomplete->IsIncomplete()); ++i) {
        incomplete = open.next();
        ASSERT_NE(incomplete, nullptr);
        EXPECT_EQ(open.stream().QueueBuffer(incomplete), ZelErr::kOk);
    }
    ASSERT_TRUE(incomplete->IsIncomplete());
    EXPECT_EQ(incomplete->GetHeight(), 8U);
    EXPECT_LT(incomplete->GetBufferSize(), 64U * 32U);
    EXPECT_EQ(open.stream().StopAcquisition(0), ZelErr::kOk);
}

TEST(ConsumerTest, FramesWithoutABufferAreUnderruns)
{
    OpenDevice open(sharedTable());
    open.start(1);
    ASSERT_NE(open.next(), nullptr); // and kept
    for (int i = 0; i < 1000 && open.counter("StreamUnderrunFrameCount") == 0; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    EXPECT_GT(open.counter("StreamUnderrunFrameCount"), 0);
}

TEST(ConsumerTest, NoFrameComesAfterStopAndFlush)
{
    gentl::FunctionTable table = sharedTable();
    // A thread that loses the processor while it has a frame in its hand.
    table.EventGetData = [](Handle event, void* data, std::size_t* size, std::uint64_t timeoutMs) {
        const Error code = real().EventGetData(event, data, size, timeoutMs);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        return code;
    };
    OpenDevice open(table);
    open.start();
    ASSERT_NE(open.next(), nullptr);
    EXPECT_EQ(open.stream().StopAcquisition(0), ZelErr::kOk);
    EXPECT_EQ(open.stream().FlushBuffers(ZelCam::kFlushAllToInput), ZelErr::kOk);
    ZelCamErr code = ZelErr::kUnknown;
    EXPECT_EQ(open.stream().GetBuffer(100, &code), nullptr);
    EXPECT_EQ(code, ZelErr::kGenTLTimeout);
}

TEST(ConsumerTest, ChunksBelongToTheFrameThatWasFetched)
{
    OpenDevice open(sharedTable());
    EXPECT_EQ(open.camera().SetBooleanValue("ChunkModeActive", true), ZelErr::kOk);
    open.choose("ChunkSelector", "FrameID");
    EXPECT_EQ(open.camera().SetBooleanValue("ChunkEnable", true), ZelErr::kOk);
    open.start();
    for (int i = 0; i < 4; ++i) {
        ZelCam::Buffer* const buffer = open.next();
        ASSERT_NE(buffer, nullptr);
        ZelCamErr code = ZelErr::kUnknown;
        EXPECT_EQ(open.camera().GetIntegerValue("ChunkFrameID", &code),
                  static_cast<std::int64_t>(buffer->GetFrameID()));
        EXPECT_EQ(code, ZelErr::kOk);
        EXPECT_EQ(buffer->GetBufferSize(), 64U * 32U) << "chunks are no pixels";
        open.stream().QueueBuffer(buffer);
    }
}

TEST(ConsumerTest, EventsReachTheirCallbacks)
{
    OpenDevice open(sharedTable());
    Inbox inbox;
    ZelCamErr code = ZelErr::kUnknown;
    const long id = static_cast<long>(open.camera().GetIntegerValue("EventTest", &code));
    ASSERT_EQ(code, ZelErr::kOk);
    open.choose("EventSelector", "Test");
    open.choose("EventNotification", "On");
    ASSERT_EQ(open.device().RegisterEvent(id, &Inbox::receive, &inbox), ZelErr::kOk);
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(open.camera().ExecuteCommand("TestEventGenerate"), ZelErr::kOk);
    }
    EXPECT_TRUE(inbox.waitFor(5));
    EXPECT_GT(open.camera().GetIntegerValue("EventTestTimestamp", &code), 0);
    EXPECT_EQ(code, ZelErr::kOk);
}

TEST(ConsumerTest, AnUnpluggedCameraEndsTheWaitAndComesBack)
{
    OpenDevice open(sharedTable());
    Inbox inbox;
    open.device().RegisterEvent(ZelCam::kEventDeviceLost, &Inbox::receive, &inbox);
    open.start();
    ASSERT_NE(open.next(), nullptr);
    open.set("SimulatorUnplugReturnTime", 100);
    static_cast<void>(open.camera().ExecuteCommand("SimulatorUnplug"));
    ZelCamErr code = ZelErr::kOk;
    while (open.stream().GetBuffer(10'000, &code) != nullptr) {
    }
    EXPECT_EQ(code, ZelErr::kGenTLIo);
    EXPECT_TRUE(inbox.waitFor(1));
    EXPECT_EQ(open.camera().GetIntegerValue("Width", &code), 0);
    EXPECT_EQ(code, ZelErr::kGenTLIo);
    EXPECT_EQ(open.stream().StopAcquisition(0), ZelErr::kGenTLIo);
    open.close();
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    OpenDevice again(sharedTable());
    again.start();
    EXPECT_NE(again.next(), nullptr);
}

TEST(ConsumerTest, AProducerThatTellsNothingOptionalStillWorks)
{
    gentl::FunctionTable table = sharedTable();
    static std::atomic<int> questions{0};
    questions = 0;
    table.DSGetBufferInfo = [](Handle, Handle, std::int32_t, std::int32_t*, void*, std::size_t*) {
        ++questions;
        return err::kNotImplemented;
    };
    table.DSGetBufferInfoStacked = nullptr;
    table.DSGetInfo = [](Handle, std::int32_t, std::int32_t*, void*, std::size_t*) {
        return err::kInvalidParameter;
    };
    table.IFGetDeviceInfo = [](Handle interface, const char* id, std::int32_t command,
                               std::int32_t* type, void* data, std::size_t* size) {
        switch (command) {
        case gentl::kDeviceInfoVendor:
        case gentl::kDeviceInfoModel:
            return real().IFGetDeviceInfo(interface, id, command, type, data, size);
        default:
            return err::kNotAvailable;
        }
    };
    table.DSGetBufferChunkData = nullptr;
    table.DSGetNumBufferParts = nullptr;
    table.GCRegisterEvent = [](Handle source, std::int32_t type, Handle* event) {
        return type == gentl::kEventNewBuffer ? real().GCRegisterEvent(source, type, event)
                                              : err::kNotImplemented;
    };
    table.EventGetInfo = nullptr;
    OpenDevice open(table);
    const std::string name = open.device().GetInfo()->GetDisplayName();
    EXPECT_EQ(name.find("Zelcam Simulation ZG-1936M ("), 0U) << name;
    EXPECT_STREQ(open.device().GetInfo()->GetSerialNumber(), "");
    EXPECT_EQ(open.stream().GetMinNumBuffers(), 1U);
    EXPECT_EQ(open.stream().GetBufferSize(), 64U * 32U) << "the camera's PayloadSize";
    open.start();
    ZelCam::Buffer* const buffer = open.next();
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(buffer->GetWidth(), 64U);
    EXPECT_EQ(buffer->GetHeight(), 32U);
    EXPECT_EQ(buffer->GetPixelFormat(), 0x01080001U);
    EXPECT_EQ(buffer->GetBufferSize(), 64U * 32U);
    EXPECT_NE(buffer->GetImage(), nullptr);
    EXPECT_EQ(open.stream().QueueBuffer(buffer), ZelErr::kOk);
    for (int i = 0; i < 5; ++i) {
        ZelCam::Buffer* const next = open.next();
        ASSERT_NE(next, nullptr);
        EXPECT_EQ(open.stream().QueueBuffer(next), ZelErr::kOk);
    }
    EXPECT_LE(questions, 21) << "what is not implemented is asked once";
}

TEST(ConsumerTest, OneCallTellsAllOfAFrameAndTheSameAsManyCalls)
{
    static std::atomic<int> calls{0};
    static std::atomic<int> singles{0};
    gentl::FunctionTable table = sharedTable();
    table.DSGetBufferInfoStacked = [](Handle stream, Handle buffer,
                                      gentl::BufferInfoStacked* entries, std::size_t count) {
        ++calls;
        return real().DSGetBufferInfoStacked(stream, buffer, entries, count);
    };
    table.DSGetBufferInfo = [](Handle stream, Handle buffer, std::int32_t command,
                               std::int32_t* type, void* data, std::size_t* size) {
        ++singles;
        return real().DSGetBufferInfo(stream, buffer, command, type, data, size);
    };
    const auto facts = [](const gentl::FunctionTable& functions) {
        OpenDevice open(functions);
        open.set("OffsetX", 16);
        open.set("SimulatorIncompleteLines", 8);
        open.set("SimulatorIncompleteFrames", 1);
        open.start();
        std::vector<std::uint64_t> result;
        for (int i = 0; i < 3; ++i) {
            ZelCam::Buffer* const buffer = open.next();
            EXPECT_NE(buffer, nullptr);
            const std::vector<std::uint64_t> more = {
                buffer->GetFrameID(),
                buffer->GetWidth(),
                buffer->GetHeight(),
                static_cast<std::uint64_t>(buffer->GetXOffset()),
                buffer->GetBufferSize(),
                buffer->GetPixelFormat(),
                std::uint64_t{buffer->IsIncomplete()},
                std::uint64_t{buffer->GetTimestamp() > 0}};
            result.insert(result.end(), more.begin(), more.end());
        }
        return result;
    };
    const std::vector<std::uint64_t> atOnce = facts(table);
    EXPECT_GE(calls, 3);
    EXPECT_EQ(singles, 0);
    table.DSGetBufferInfoStacked = nullptr;
    EXPECT_EQ(facts(table), atOnce);
    EXPECT_GT(singles, 3);
}

TEST(ConsumerTest, AControlOnlyProducerServesParameters)
{
    gentl::FunctionTable table = sharedTable();
    table.GCRegisterEvent = nullptr;
    table.EventGetData = nullptr;
    table.EventKill = nullptr;
    table.DevGetNumDataStreams = nullptr;
    table.DevOpenDataStream = nullptr;
    table.DSGetInfo = nullptr;
    OpenDevice open(table);
    EXPECT_FALSE(open.hasStream());
    EXPECT_EQ(open.device().GetNumStreams(), 0U);
    ZelCamErr code = ZelErr::kUnknown;
    EXPECT_EQ(open.camera().GetIntegerValue("Width", &code), 64);
    EXPECT_EQ(code, ZelErr::kOk);
}

std::string realUrl(Handle port)
{
    char text[512] = {};
    std::size_t size = sizeof text;
    std::int32_t type = 0;
    real().GCGetPortURLInfo(port, 0, gentl::kUrlInfoUrl, &type, text, &size);
    return text;
}

Error giveText(const std::string& text, std::int32_t* type, void* data, std::size_t* size)
{
    *type = gentl::kTypeString;
    if (data != nullptr) {
        std::memcpy(data, text.c_str(), text.size() + 1);
    }
    *size = text.size() + 1;
    return err::kSuccess;
}

TEST(ConsumerTest, DescriptionsAreFoundThroughEveryKindOfUrl)
{
    static std::string fileUrl;
    std::vector<gentl::FunctionTable> tables(3, sharedTable());
    // Only the old list; a scheme that we do not serve comes first.
    tables[0].GCGetNumPortURLs = nullptr;
    tables[0].GCGetPortURL = [](Handle port, char* text, std::size_t* size) {
        std::string list = "http://example.invalid/camera.xml";
        list += '\0';
        list += realUrl(port);
        list += '\0';
        list += '\0';
        list.copy(text, list.size());
        *size = list.size();
        return err::kSuccess;
    };
    // Capital letters and slashes; the size cannot be asked for.
    tables[1].GCGetPortURLInfo = [](Handle port, std::uint32_t, std::int32_t, std::int32_t* type,
                                    void* data, std::size_t* size) {
        return data == nullptr ? err::kInvalidParameter
                               : giveText("Local:///" + realUrl(port).substr(6), type, data, size);
    };
    // A file.
    tables[2].GCGetPortURLInfo = [](Handle port, std::uint32_t, std::int32_t, std::int32_t* type,
                                    void* data, std::size_t* size) {
        if (fileUrl.empty()) {
            const auto url = gentl::parsePortUrl(realUrl(port));
            std::string xml(url->length, '\0');
            std::size_t length = xml.size();
            real().GCReadPort(port, url->address, xml.data(), &length);
            const std::string path = ::testing::TempDir() + "camera " + std::to_string(getpid());
            std::ofstream(path) << xml;
            fileUrl = "file://" + ::testing::TempDir() + "camera%20" + std::to_string(getpid());
        }
        return giveText(fileUrl, type, data, size);
    };
    for (const gentl::FunctionTable& table : tables) {
        fileUrl.clear();
        OpenDevice open(table);
        ZelCamErr code = ZelErr::kUnknown;
        EXPECT_EQ(open.camera().GetIntegerValue("Width", &code), 64);
    }
}

TEST(ConsumerTest, AFileOpensTheDeviceThatItNamesOrNone)
{
    core::SystemImpl& system = systemOver(sharedTable());
    const std::string path = ::testing::TempDir() + "settings" + std::to_string(getpid());
    ZelCamErr code = ZelErr::kUnknown;
    ZelCam::Device* device = system.openDevice(nullptr, 2, &code);
    ASSERT_NE(device, nullptr);
    ZelCam::DeviceInfo* const info = device->GetInfo();
    EXPECT_EQ(device->SaveConfiguration(path.c_str()), ZelErr::kOk);
    std::ifstream file(path);
    const std::string text(std::istreambuf_iterator<char>(file), {});
    device->Release();

    const auto open = [&](const std::string& content) {
        std::ofstream(path) << content;
        device = system.CreateDeviceFromConfig(path.c_str(), &code);
        return code;
    };
    EXPECT_EQ(open(text), ZelErr::kOk);
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(device->GetInfo(), info);
    EXPECT_EQ(open(text), ZelErr::kGenTLResourceInUse);
    EXPECT_EQ(device, nullptr);
    EXPECT_EQ(info->GetAccessStatus(), 5);
    static_cast<core::DeviceInfoImpl*>(info)->device().Release();

    EXPECT_EQ(open(text + "NoSuchFeature\t1\n"), ZelErr::kWrongConfiguration);
    EXPECT_EQ(info->GetAccessStatus(), 1) << "a device whose file is refused is closed again";
    std::string other = text;
    const std::string serial = info->GetSerialNumber();
    for (std::size_t at = other.find(serial); at != std::string::npos; at = other.find(serial)) {
        other.replace(at, serial.size(), "elsewhere");
    }
    EXPECT_EQ(open(other), ZelErr::kNoDevice);
}

TEST(PortUrlTest, FormsAndNonsense)
{
    const auto local = gentl::parsePortUrl("LOCAL:name.zip;1F0;0xaB?SchemaVersion=1.1.0");
    ASSERT_TRUE(local);
    EXPECT_EQ(local->address, 0x1F0U);
    EXPECT_EQ(local->length, 0xABU);
    EXPECT_EQ(gentl::parsePortUrl("file:///a%20b/c.xml?schemaVersion=1.0")->path, "/a b/c.xml");
    EXPECT_EQ(gentl::parsePortUrl("file:name.xml")->path, "name.xml");
    for (const char* wrong : {"", "local", "local:", "local:a;1", "local:a;x;1", "local:a;1;",
                              "local:a;11111111111111111;1", "http://a/b", "file:", "ftp:a;1;1"}) {
        EXPECT_FALSE(gentl::parsePortUrl(wrong)) << wrong;
    }
}

TEST(ConsumerTest, TimestampsInTicksAndPartsOfABuffer)
{
    gentl::FunctionTable table = sharedTable();
    table.DevGetInfo = [](Handle device, std::int32_t command, std::int32_t* type, void* data,
                          std::size_t* size) {
        return command == gentl::kDeviceInfoTimestampFrequency
                   ? answer(std::uint64_t{125'000'000}, gentl::kTypeUint64, type, data, size)
                   : real().DevGetInfo(device, command, type, data, size);
    };
    table.DSGetBufferInfo = [](Handle stream, Handle buffer, std::int32_t command,
                               std::int32_t* type, void* data, std::size_t* size) {
        switch (command) {
        case gentl::kBufferInfoTimestampNs:
            return err::kNotImplemented;
        case gentl::kBufferInfoTimestamp: // A product with 10^9 would not fit.
            return answer(std::uint64_t{125'000'000'000'000'001}, gentl::kTypeUint64, type, data,
                          size);
        case gentl::kBufferInfoPayloadType:
            return answer(std::size_t{gentl::kPayloadMultiPart}, gentl::kTypeSizeT, type, data,
                          size);
        case gentl::kBufferInfoWidth:
        case gentl::kBufferInfoHeight:
        case gentl::kBufferInfoPixelFormat:
            return err::kNoData;
        default:
            return real().DSGetBufferInfo(stream, buffer, command, type, data, size);
        }
    };
    table.DSGetBufferInfoStacked = nullptr;
    table.DSGetNumBufferParts = [](Handle, Handle, std::uint32_t* parts) {
        *parts = 2;
        return err::kSuccess;
    };
    table.DSGetBufferPartInfo = [](Handle stream, Handle buffer, std::uint32_t part,
                                   std::int32_t command, std::int32_t* type, void* data,
                                   std::size_t* size) {
        const auto give = [&](std::size_t value) {
            return answer(value, gentl::kTypeSizeT, type, data, size);
        };
        switch (command) {
        case gentl::kPartInfoDataType: // First a confidence map, then a picture.
            return give(part == 0 ? gentl::kPartConfidenceMap : gentl::kPart2DImage);
        case gentl::kPartInfoBase: {
            void* base = nullptr;
            std::size_t baseSize = sizeof base;
            real().DSGetBufferInfo(stream, buffer, gentl::kBufferInfoBase, type, &base, &baseSize);
            return give(reinterpret_cast<std::size_t>(base) + 256);
        }
        case gentl::kPartInfoDataSize:
            return give(100);
        case gentl::kPartInfoWidth:
        case gentl::kPartInfoHeight:
            return give(10);
        case gentl::kPartInfoDataFormat:
            return give(0x01080001);
        default:
            return err::kNotImplemented;
        }
    };
    OpenDevice open(table);
    open.start();
    ZelCam::Buffer* const buffer = open.next();
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(buffer->GetTimestamp(), 1'000'000'000'000'000'008U);
    EXPECT_EQ(buffer->GetImageOffset(), 256);
    EXPECT_EQ(buffer->GetBufferSize(), 100U);
    EXPECT_EQ(buffer->GetWidth(), 10U);
    EXPECT_EQ(buffer->GetPixelFormat(), 0x01080001U);
}

TEST(ConsumerTest, JunkAmongTheEventsAndAKillThatDoesNothing)
{
    gentl::FunctionTable table = sharedTable();
    table.EventGetData = [](Handle event, void* data, std::size_t* size, std::uint64_t timeoutMs) {
        static std::atomic<unsigned> count{0};
        switch (++count % 4) {
        case 0: // Nobody's buffer.
            std::memset(data, static_cast<int>(count % 8 == 0 ? 0x5A : 0), 16);
            *size = 16;
            return err::kSuccess;
        case 1: // More than there is room for.
            *size = ~std::size_t{0};
            return err::kBufferTooSmall;
        case 2:
            *size = 0;
            return err::kSuccess;
        default:
            return real().EventGetData(event, data, size, timeoutMs);
        }
    };
    table.EventKill = [](Handle) { return err::kNotImplemented; };
    OpenDevice open(table);
    open.start();
    for (int i = 0; i < 5; ++i) {
        ZelCam::Buffer* const buffer = open.next();
        ASSERT_NE(buffer, nullptr);
        EXPECT_EQ(open.stream().QueueBuffer(buffer), ZelErr::kOk);
    }
    EXPECT_EQ(open.stream().StopAcquisition(0), ZelErr::kOk);
    EXPECT_EQ(open.stream().FlushBuffers(4), ZelErr::kOk);
    EXPECT_EQ(open.counter("StreamInputBufferCount"), 0);
}

std::atomic<bool> stuck{false};

TEST(ConsumerTest, AThreadThatIsNotGivenBackIsLeftBehind)
{
    gentl::FunctionTable table = sharedTable();
    stuck = true;
    table.EventGetData = [](Handle, void*, std::size_t*, std::uint64_t) {
        while (stuck) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return err::kAbort;
    };
    table.GCRegisterEvent = [](Handle source, std::int32_t type, Handle* event) {
        return type == gentl::kEventNewBuffer ? real().GCRegisterEvent(source, type, event)
                                              : err::kNotImplemented;
    };
    {
        OpenDevice open(table);
        ASSERT_TRUE(open.hasStream());
        open.start();
        open.close(); // Returns.
    }
    stuck = false;
    OpenDevice again(sharedTable());
    again.start();
    EXPECT_NE(again.next(), nullptr);
}

TEST(ConsumerTest, IpSettingsThroughTheInterface)
{
    core::SystemImpl& system = systemOver(sharedTable());
    ZelCam::InterfaceList* const list = system.GetInterfaceList(2);
    ZelCam::Interface* const interface = list->GetFirst();
    list->Release();
    ASSERT_NE(interface, nullptr);
    ZelGenParam::Array* const parameters = interface->GetParameters(nullptr);
    ZelCam::DeviceInfoList* const devices = interface->GetDeviceInfoList();
    devices->GetFirst();
    ZelCam::DeviceInfo* const second = devices->GetNext();
    devices->Release();
    ASSERT_NE(second, nullptr);
    std::uint32_t ip[3] = {};
    ASSERT_EQ(second->GetIP(&ip[0], &ip[1], &ip[2]), ZelErr::kOk);
    const std::string before[3] = {second->GetIPAddress(), second->GetIPMask(),
                                   second->GetIPGateway()};
    EXPECT_EQ(second->ForceIP("10.1.2.3", "255.255.0.0", "10.1.0.1"), ZelErr::kOk);
    EXPECT_STREQ(second->GetIPAddress(), "10.1.2.3");
    EXPECT_STREQ(second->GetIPMask(), "255.255.0.0");
    EXPECT_EQ(parameters->GetIntegerValue("DeviceSelector", nullptr), 0) << "left as it was";
    EXPECT_EQ(second->ForceIP(before[0].c_str(), before[1].c_str(), before[2].c_str()),
              ZelErr::kOk);
    EXPECT_EQ(second->GetAccessStatus(), 1);
}

} // namespace
} // namespace gentl_test
