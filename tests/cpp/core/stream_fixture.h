// A device with one stream over a transport in memory.
#pragma once

#include "fake_transport.h"
#include "zel_gen_param_api.h"

#include <gtest/gtest.h>

namespace core_test
{

/// Opens the device and its stream; the far side is what the tests drive.
class StreamTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        device = world.open();
        ASSERT_NE(device, nullptr);
        stream = device->GetStreamByIndex(0);
        ASSERT_NE(stream, nullptr);
    }
    void TearDown() override { device->Release(); }

    void startWith(std::uint64_t buffers)
    {
        ASSERT_EQ(stream->AllocBufferQueue(nullptr, buffers), ZelErr::kOk);
        ASSERT_EQ(stream->StartAcquisition(ZelCam::kInfinite, 0), ZelErr::kOk);
    }

    ZelCamErr fetchCode(std::uint64_t timeoutMs)
    {
        ZelCamErr code = ZelErr::kUnknown;
        ZelCam::Buffer* const buffer = stream->GetBuffer(timeoutMs, &code);
        EXPECT_EQ(buffer != nullptr, code == ZelErr::kOk);
        return code;
    }

    std::int64_t counter(const char* name)
    {
        ZelCamErr code = ZelErr::kUnknown;
        const std::int64_t value =
            device->GetTransportParameters(nullptr)->GetIntegerValue(name, &code);
        EXPECT_EQ(code, ZelErr::kOk) << name;
        return value;
    }

    static core::FrameInfo frame(std::uint64_t id)
    {
        core::FrameInfo info;
        info.frameId = id;
        return info;
    }

    FakeWorld& world = FakeWorld::create();
    FakeDevice& far = world.add("if0").plug("cam0");
    ZelCam::Device* device = nullptr;
    ZelCam::Stream* stream = nullptr;
};

} // namespace core_test
