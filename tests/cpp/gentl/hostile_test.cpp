// The GenTL consumer over a producer that lies: whatever it answers, we go on, and come to an end.
#include "gentl/info.h"
#include "hostile_producer.h"
#include "scripted_producer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace gentl_test
{
namespace
{

/// Returns how many frames came.
int useEverything(core::SystemImpl& system)
{
    ZelCam::InterfaceList* const interfaces = system.GetInterfaceList(255);
    // Whatever one producer answers, the list is there: it holds those of the others.
    EXPECT_NE(interfaces, nullptr);
    if (interfaces == nullptr) {
        return 0;
    }
    ZelCam::Interface* const interface = interfaces->GetFirst();
    interfaces->Release();
    if (interface == nullptr) {
        return 0;
    }
    bool changed = false;
    interface->ReEnumerateDevices(&changed, 100);
    interface->GetDescription();
    ZelCam::DeviceInfo* const info = interface->GetFirstDeviceInfo();
    if (info == nullptr) {
        return 0;
    }
    info->GetAccessStatus();
    info->GetIPAddress();
    int frames = 0;
    ZelCamErr code = ZelErr::kOk;
    ZelCam::Device* const device = system.openDevice(info, 2, &code);
    EXPECT_EQ(device == nullptr, code != ZelErr::kOk);
    EXPECT_LE(code, ZelErr::kOk);
    if (device == nullptr) {
        return 0;
    }
    device->RegisterEvent(
        1, [](const void*, std::uint64_t, void*) {}, nullptr);
    if (ZelGenParam::Array* const camera = device->GetCameraParameters(&code)) {
        camera->SetIntegerValue("Width", 64);
        camera->SetIntegerValue("Height", 32);
        camera->SetBooleanValue("ChunkModeActive", true);
        camera->ExecuteCommand("TestEventGenerate");
    }
    if (ZelCam::Stream* const stream = device->GetStreamByIndex(0)) {
        stream->AllocBufferQueue(nullptr, 3);
        stream->StartAcquisition(ZelCam::kInfinite, 0);
        for (int i = 0; i < 10; ++i) {
            ZelCam::Buffer* const buffer = stream->GetBuffer(20, &code);
            if (buffer == nullptr) {
                continue;
            }
            ++frames;
            // The bytes that are told lie in memory that is there.
            const auto* bytes = static_cast<const unsigned char*>(buffer->GetBufferPtr());
            std::string copy(reinterpret_cast<const char*>(bytes + buffer->GetImageOffset()),
                             buffer->GetBufferSize());
            buffer->GetImage();
            stream->QueueBuffer(buffer);
        }
        stream->FlushBuffers(4);
        stream->StopAcquisition(0);
        stream->ReleaseBufferQueue();
    }
    device->Release();
    return frames;
}

TEST(HostileTest, OnlyWhatCannotBeNamedIsMissingInAList)
{
    std::uint32_t asked = 0;
    std::uint32_t refused = 0;
    std::string ids;
    gentl::forEachId(
        0xFFFFFFFFU,
        [&](std::uint32_t index, char* text, std::size_t* size) {
            ++asked;
            if (index >= 10) {
                return gentl::err::kInvalidIndex;
            }
            // Memory that was missing once; and a name that never comes.
            if (index == 7 || (index == 4 && ++refused == 1)) {
                *size = 0;
                return gentl::err::kOutOfMemory;
            }
            *size = 2;
            if (text != nullptr) {
                text[0] = static_cast<char>('0' + index);
                text[1] = '\0';
            }
            return gentl::err::kSuccess;
        },
        [&ids](const std::string& id) { ids += id; });
    EXPECT_EQ(ids, "012345689");
    EXPECT_LT(asked, 200U) << "four billion were claimed";
}

TEST(HostileTest, NoAnswerCrashesUsAndAnHonestProducerWorksAfterwards)
{
    core::SystemImpl& system = systemOver(hostileTable(sharedTable()));
    constexpr std::uint64_t kRounds = 24;
    int frames = 0;
    const std::uint64_t before = spoiltCalls();
    for (std::uint64_t seed = 1; seed <= kRounds; ++seed) {
        setHostility(seed % 4 == 0 ? 200 : 10, seed);
        frames += useEverything(system);
    }
    EXPECT_GT(spoiltCalls() - before, 3 * kRounds) << "the producer has to lie";
    EXPECT_GT(frames, 24) << "most rounds have to get as far as frames";
    setHostility(0, 1);
    OpenDevice open(sharedTable());
    ASSERT_TRUE(open.hasStream());
    open.start();
    EXPECT_NE(open.next(), nullptr);
}

} // namespace
} // namespace gentl_test
