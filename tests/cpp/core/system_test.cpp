// The system over transports in memory: listing, enumerating, choosing and describing devices.
#include "fake_transport.h"
#include "zel_gen_param_api.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace core_test
{
namespace
{

std::vector<std::string> descriptions(FakeWorld& world, std::uint32_t mask)
{
    std::vector<std::string> result;
    ZelCam::InterfaceList* const list = world.system().GetInterfaceList(mask);
    for (auto* entry = list->GetFirst(); entry != nullptr; entry = list->GetNext()) {
        result.emplace_back(entry->GetDescription());
    }
    EXPECT_EQ(list->GetNext(), nullptr);
    list->Release();
    return result;
}

ZelCam::Interface* firstInterface(FakeWorld& world)
{
    ZelCam::InterfaceList* const list = world.system().GetInterfaceList(255);
    ZelCam::Interface* const first = list->GetFirst();
    list->Release();
    return first;
}

TEST(SystemTest, InterfacesAreListedByMaskRealOnesFirst)
{
    FakeWorld& world = FakeWorld::create();
    world.add("simulated", ZelCam::kGigEVision, true);
    world.add("usb", ZelCam::kUsb3Vision);
    world.add("gige", ZelCam::kGigEVision);
    world.add("sdi", ZelCam::kHdSdi);
    using Names = std::vector<std::string>;
    EXPECT_EQ(descriptions(world, 255),
              (Names{"Interface usb", "Interface gige", "Interface sdi", "Interface simulated"}));
    EXPECT_EQ(descriptions(world, 0b00010), (Names{"Interface gige", "Interface simulated"}));
    EXPECT_EQ(descriptions(world, 0b10001), (Names{"Interface usb", "Interface sdi"}));
    EXPECT_EQ(descriptions(world, 0), Names{});
    ZelCamErr code = ZelErr::kUnknown;
    ZelGenParam::Array* const parameters = firstInterface(world)->GetParameters(&code);
    ASSERT_NE(parameters, nullptr) << "a module without a description has no features";
    EXPECT_EQ(code, ZelErr::kOk);
    EXPECT_EQ(parameters->GetCount(), 0);
}

TEST(SystemTest, ChangedIsTrueExactlyWhenTheSetOfDevicesChanged)
{
    FakeWorld& world = FakeWorld::create();
    FakeInterface& fake = world.add("if0");
    fake.plug("a");
    ZelCam::Interface* const interface = firstInterface(world);
    const auto changed = [&] {
        bool result = false;
        EXPECT_EQ(interface->ReEnumerateDevices(&result, ZelCam::kInfinite), ZelErr::kOk);
        return result;
    };
    ZelCam::DeviceInfo* const a = interface->GetFirstDeviceInfo();
    ASSERT_NE(a, nullptr) << "nobody had enumerated before";
    EXPECT_FALSE(changed());
    fake.plug("b");
    EXPECT_TRUE(changed());
    EXPECT_FALSE(changed());
    fake.plug("a", "renamed");
    EXPECT_FALSE(changed()) << "the same devices";
    EXPECT_STREQ(a->GetUserDefinedName(), "renamed");
    fake.unplug("a");
    fake.plug("c"); // As many as before, but others.
    EXPECT_TRUE(changed());
    EXPECT_STREQ(a->GetModel(), "Model") << "texts outlive the device";
    fake.plug("a");
    EXPECT_TRUE(changed());
    EXPECT_EQ(interface->GetFirstDeviceInfo(), a) << "it is the same object again";

    bool untouched = true;
    fake.updateCode = ZelErr::kGenTLIo;
    EXPECT_EQ(interface->ReEnumerateDevices(&untouched, 0), ZelErr::kGenTLIo);
    EXPECT_TRUE(untouched);
    EXPECT_EQ(interface->ReEnumerateDevices(nullptr, 0), ZelErr::kGenTLIo);
}

TEST(SystemTest, TheDefaultDeviceIsARealOneWhenThereIsOne)
{
    FakeWorld& world = FakeWorld::create();
    FakeInterface& simulated = world.add("simulated", ZelCam::kGigEVision, true);
    FakeInterface& real = world.add("real", ZelCam::kUsb3Vision);
    ZelCamErr code = ZelErr::kOk;
    EXPECT_EQ(world.system().openDevice(nullptr, 2, &code), nullptr);
    EXPECT_EQ(code, ZelErr::kNoDevice);

    simulated.plug("s");
    ZelCam::InterfaceList* const list = world.system().GetInterfaceList(255);
    for (auto* entry = list->GetFirst(); entry != nullptr; entry = list->GetNext()) {
        entry->ReEnumerateDevices(nullptr, ZelCam::kInfinite);
    }
    ZelCam::Interface* const realInterface = list->GetFirst();
    list->Release();
    ZelCam::Device* device = world.open();
    EXPECT_STREQ(device->GetInfo()->GetSerialNumber(), "SN-s");
    real.plug("r");
    realInterface->ReEnumerateDevices(nullptr, ZelCam::kInfinite);
    ZelCam::Device* const other = world.open();
    EXPECT_STREQ(other->GetInfo()->GetSerialNumber(), "SN-r");
    EXPECT_EQ(other->GetInfo()->GetInterface(), realInterface);

    auto* const stranger = reinterpret_cast<ZelCam::DeviceInfo*>(&code);
    EXPECT_EQ(world.system().openDevice(stranger, 2, &code), nullptr);
    EXPECT_EQ(code, ZelErr::kInvalidArgument);
    EXPECT_EQ(world.system().openDevice(nullptr, 1, &code), nullptr);
    EXPECT_EQ(code, ZelErr::kInvalidArgument);
    ZelCam::DeviceInfo* const gone = device->GetInfo();
    device->Release();
    other->Release();
    simulated.unplug("s");
    EXPECT_EQ(world.system().openDevice(gone, 2, &code), nullptr);
    EXPECT_EQ(code, ZelErr::kGenTLInvalidId);
}

TEST(SystemTest, IpSettingsAndForcing)
{
    FakeWorld& world = FakeWorld::create();
    FakeInterface& fake = world.add("gige");
    fake.plug("a");
    FakeInterface& usb = world.add("usb", ZelCam::kUsb3Vision);
    usb.plug("u");
    ZelCam::DeviceInfo* const info = firstInterface(world)->GetFirstDeviceInfo();
    std::uint32_t address = 1;
    std::uint32_t mask = 2;
    std::uint32_t gateway = 3;
    EXPECT_EQ(info->GetIP(&address, &mask, &gateway), ZelErr::kOk);
    EXPECT_EQ(address, 0xC0A80001U);
    EXPECT_STREQ(info->GetIPAddress(), "192.168.0.1");
    EXPECT_STREQ(info->GetIPMask(), "255.255.255.0");
    EXPECT_STREQ(info->GetIPGateway(), "192.168.0.254");

    for (const char* wrong : {"", "1.2.3", "1.2.3.4.5", "1.2.3.256", "1.2.3.-4", " 1.2.3.4",
                              "1.2.3.4 ", "1.2..4", "0x1.2.3.4", "1.2.3.0004", "a.b.c.d"}) {
        EXPECT_EQ(info->ForceIP(wrong, "255.0.0.0", "0.0.0.0"), ZelErr::kInvalidArgument) << wrong;
        EXPECT_EQ(info->ForceIP("1.2.3.4", "255.0.0.0", wrong), ZelErr::kInvalidArgument) << wrong;
    }
    EXPECT_EQ(info->ForceIP(nullptr, nullptr, nullptr), ZelErr::kInvalidArgument);
    EXPECT_EQ(fake.forcedIps, 0);
    EXPECT_EQ(info->ForceIP("10.0.0.1", "255.0.0.0", "0.0.0.0"), ZelErr::kOk);
    ZelCam::Device* const device = world.open(info);
    EXPECT_EQ(info->ForceIP("10.0.0.1", "255.0.0.0", "0.0.0.0"), ZelErr::kGenTLResourceInUse);
    EXPECT_EQ(fake.forcedIps, 1);
    device->Release();

    fake.unplug("a");
    EXPECT_EQ(info->GetIP(&address, &mask, &gateway), ZelErr::kGenTLInvalidId);
    EXPECT_STREQ(info->GetIPAddress(), "192.168.0.1");

    ZelCam::InterfaceList* const list = world.system().GetInterfaceList(1);
    ZelCam::DeviceInfo* const other = list->GetFirst()->GetFirstDeviceInfo();
    list->Release();
    EXPECT_EQ(other->GetIP(&address, &mask, &gateway), ZelErr::kGenTLNotImplemented);
    EXPECT_STREQ(other->GetIPAddress(), "");
    EXPECT_EQ(other->ForceIP("10.0.0.1", "255.0.0.0", "0.0.0.0"), ZelErr::kGenTLNotImplemented);
}

TEST(SystemTest, TextsStayGoodWhileOthersEnumerate)
{
    FakeWorld& world = FakeWorld::create();
    FakeInterface& fake = world.add("if0");
    fake.plug("a", "name \xFF\xC3"); // Not UTF-8.
    ZelCam::Interface* const interface = firstInterface(world);
    ZelCam::DeviceInfo* const info = interface->GetFirstDeviceInfo();
    EXPECT_STREQ(info->GetUserDefinedName(), "name \xC3\xBF\xC3\x83");
    std::atomic<bool> stop{false};
    std::thread enumerator([&] {
        for (int i = 0; !stop; ++i) {
            fake.plug("a", std::string(40, static_cast<char>('a' + i % 5)));
            interface->ReEnumerateDevices(nullptr, 0);
        }
    });
    for (int i = 0; i < 20'000; ++i) {
        const char* const name = info->GetUserDefinedName();
        ASSERT_GE(std::string(name).size(), 7U);
    }
    stop = true;
    enumerator.join();
}

} // namespace
} // namespace core_test
