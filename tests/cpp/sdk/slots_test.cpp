// The vtable slots of the SDK classes: the binary contract with every implementation.
#include "zel_camera_api.h"
#include "zel_gen_param_api.h"
#include "zel_image_api.h"

#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>

namespace
{

/// Slot of a virtual member function, read from the member pointer as the C++ ABI lays it out: the
/// offset into the vtable and a mark in the lowest bit, of the offset on x86, of the adjustment on
/// ARM.
template <class Member> long slotOf(Member member)
{
    struct {
        std::intptr_t target;
        std::intptr_t adjustment;
    } raw{};
    static_assert(sizeof raw == sizeof member);
    std::memcpy(&raw, &member, sizeof raw);
    constexpr auto kSlotSize = static_cast<std::intptr_t>(sizeof(void*));
    if ((raw.target & 1) != 0) {
        return raw.adjustment == 0 ? (raw.target - 1) / kSlotSize : -1;
    }
    return raw.adjustment == 1 ? raw.target / kSlotSize : -1;
}

/// Without a virtual destructor, or it would take slots; without fields, which an implementation in
/// another library might lay out differently.
template <class Class> constexpr bool isPureInterface()
{
    return std::is_abstract_v<Class> && !std::has_virtual_destructor_v<Class> &&
           sizeof(Class) == sizeof(void*);
}

TEST(SdkSlots, System)
{
    using Class = ZelCam::System;
    static_assert(isPureInterface<Class>());
    EXPECT_EQ(slotOf(&Class::GetInterfaceList), 1);
    EXPECT_EQ(slotOf(&Class::GetDisplayName), 3);
    EXPECT_EQ(slotOf(&Class::GetVersion), 4);
    EXPECT_EQ(slotOf(&Class::CreateDeviceFromConfig), 5);
    EXPECT_EQ(slotOf(&Class::RegisterGenTLProvider), 6);
}

template <class List> class SdkListSlots : public testing::Test
{
};
using Lists = testing::Types<ZelCam::InterfaceList, ZelCam::DeviceInfoList>;
TYPED_TEST_SUITE(SdkListSlots, Lists, );

TYPED_TEST(SdkListSlots, List)
{
    static_assert(isPureInterface<TypeParam>());
    EXPECT_EQ(slotOf(&TypeParam::Release), 0);
    EXPECT_EQ(slotOf(&TypeParam::GetFirst), 2);
    EXPECT_EQ(slotOf(&TypeParam::GetNext), 3);
}

TEST(SdkSlots, Interface)
{
    using Class = ZelCam::Interface;
    static_assert(isPureInterface<Class>());
    EXPECT_EQ(slotOf(&Class::GetDeviceInfoList), 0);
    EXPECT_EQ(slotOf(&Class::GetFirstDeviceInfo), 1);
    EXPECT_EQ(slotOf(&Class::ReEnumerateDevices), 3);
    EXPECT_EQ(slotOf(&Class::GetDescription), 4);
    EXPECT_EQ(slotOf(&Class::GetType), 5);
    EXPECT_EQ(slotOf(&Class::GetParameters), 12);
}

TEST(SdkSlots, DeviceInfo)
{
    using Class = ZelCam::DeviceInfo;
    static_assert(isPureInterface<Class>());
    EXPECT_EQ(slotOf(&Class::GetInterface), 0);
    EXPECT_EQ(slotOf(&Class::GetVendor), 2);
    EXPECT_EQ(slotOf(&Class::GetModel), 3);
    EXPECT_EQ(slotOf(&Class::GetDisplayName), 4);
    EXPECT_EQ(slotOf(&Class::GetUserDefinedName), 5);
    EXPECT_EQ(slotOf(&Class::GetSerialNumber), 6);
    EXPECT_EQ(slotOf(&Class::GetVersion), 7);
    EXPECT_EQ(slotOf(&Class::GetAccessStatus), 8);
    EXPECT_EQ(slotOf(&Class::GetIPAddress), 10);
    EXPECT_EQ(slotOf(&Class::GetIPMask), 11);
    EXPECT_EQ(slotOf(&Class::GetIPGateway), 12);
    EXPECT_EQ(slotOf(&Class::GetIP), 13);
    EXPECT_EQ(slotOf(&Class::ForceIP), 14);
}

TEST(SdkSlots, Device)
{
    using Class = ZelCam::Device;
    static_assert(isPureInterface<Class>());
    EXPECT_EQ(slotOf(&Class::Release), 0);
    EXPECT_EQ(slotOf(&Class::GetNumStreams), 1);
    EXPECT_EQ(slotOf(&Class::GetStreamByIndex), 2);
    EXPECT_EQ(slotOf(&Class::GetStreamById), 3);
    EXPECT_EQ(slotOf(&Class::GetInfo), 4);
    EXPECT_EQ(slotOf(&Class::ReadMem), 5);
    EXPECT_EQ(slotOf(&Class::WriteMem), 6);
    EXPECT_EQ(slotOf(&Class::RegisterEvent), 8);
    EXPECT_EQ(slotOf(&Class::UnRegisterEvent), 10);
    EXPECT_EQ(slotOf(&Class::GetTransportParameters), 11);
    EXPECT_EQ(slotOf(&Class::GetCameraParameters), 12);
    EXPECT_EQ(slotOf(&Class::SaveConfiguration), 13);
    EXPECT_EQ(slotOf(&Class::LoadConfiguration), 14);
}

TEST(SdkSlots, Stream)
{
    using Class = ZelCam::Stream;
    static_assert(isPureInterface<Class>());
    EXPECT_EQ(slotOf(&Class::Release), 0);
    EXPECT_EQ(slotOf(&Class::CreateBuffer), 1);
    EXPECT_EQ(slotOf(&Class::RevokeBuffer), 3);
    EXPECT_EQ(slotOf(&Class::QueueBuffer), 4);
    EXPECT_EQ(slotOf(&Class::GetBuffer), 5);
    EXPECT_EQ(slotOf(&Class::CancelBuffer), 6);
    EXPECT_EQ(slotOf(&Class::FlushBuffers), 7);
    EXPECT_EQ(slotOf(&Class::StartAcquisition), 8);
    EXPECT_EQ(slotOf(&Class::StopAcquisition), 9);
    EXPECT_EQ(slotOf(&Class::AllocBufferQueue), 10);
    EXPECT_EQ(slotOf(&Class::ReleaseBufferQueue), 11);
    EXPECT_EQ(slotOf(&Class::GetBufferQueueSize), 12);
    EXPECT_EQ(slotOf(&Class::GetBufferSize), 23);
    EXPECT_EQ(slotOf(&Class::GetMinNumBuffers), 25);
    EXPECT_EQ(slotOf(&Class::GetBufferAlignment), 26);
}

TEST(SdkSlots, Buffer)
{
    using Class = ZelCam::Buffer;
    static_assert(isPureInterface<Class>());
    EXPECT_EQ(slotOf(&Class::GetImage), 0);
    EXPECT_EQ(slotOf(&Class::GetImageOffset), 1);
    EXPECT_EQ(slotOf(&Class::GetBufferPtr), 2);
    EXPECT_EQ(slotOf(&Class::GetBufferSize), 3);
    EXPECT_EQ(slotOf(&Class::GetPixelFormat), 4);
    EXPECT_EQ(slotOf(&Class::GetTimestamp), 6);
    EXPECT_EQ(slotOf(&Class::GetFrameID), 7);
    EXPECT_EQ(slotOf(&Class::IsIncomplete), 8);
    EXPECT_EQ(slotOf(&Class::GetWidth), 9);
    EXPECT_EQ(slotOf(&Class::GetHeight), 10);
    EXPECT_EQ(slotOf(&Class::GetXOffset), 11);
    EXPECT_EQ(slotOf(&Class::GetYOffset), 12);
    EXPECT_EQ(slotOf(&Class::GetXPadding), 13);
    EXPECT_EQ(slotOf(&Class::GetYPadding), 14);
}

TEST(SdkSlots, ParameterArray)
{
    using Class = ZelGenParam::Array;
    static_assert(isPureInterface<Class>());
    EXPECT_EQ(slotOf(&Class::GetParam), 0);
    EXPECT_EQ(slotOf(&Class::GetBoolean), 1);
    EXPECT_EQ(slotOf(&Class::GetCommand), 2);
    EXPECT_EQ(slotOf(&Class::GetEnum), 3);
    EXPECT_EQ(slotOf(&Class::GetFloat), 4);
    EXPECT_EQ(slotOf(&Class::GetInt), 5);
    EXPECT_EQ(slotOf(&Class::GetString), 6);
    EXPECT_EQ(slotOf(&Class::GetRootCategory), 7);
    EXPECT_EQ(slotOf(&Class::GetNodeMap), 8);
    EXPECT_EQ(slotOf(&Class::GetCount), 9);
    EXPECT_EQ(slotOf(&Class::GetParamByIndex), 10);
    EXPECT_EQ(slotOf(&Class::SetBooleanValue), 11);
    EXPECT_EQ(slotOf(&Class::GetBooleanValue), 12);
    EXPECT_EQ(slotOf(&Class::SetEnumValueStr), 13);
    EXPECT_EQ(slotOf(&Class::SetEnumValue), 14);
    EXPECT_EQ(slotOf(&Class::GetEnumValueStr), 15);
    EXPECT_EQ(slotOf(&Class::GetEnumValue), 16);
    EXPECT_EQ(slotOf(&Class::SetFloatValue), 17);
    EXPECT_EQ(slotOf(&Class::GetFloatValue), 18);
    EXPECT_EQ(slotOf(&Class::SetIntegerValue), 19);
    EXPECT_EQ(slotOf(&Class::GetIntegerValue), 20);
    EXPECT_EQ(slotOf(&Class::SetStringValue), 21);
    EXPECT_EQ(slotOf(&Class::GetStringValue), 22);
    EXPECT_EQ(slotOf(&Class::ExecuteCommand), 23);
    EXPECT_EQ(slotOf(&Class::IsCommandDone), 24);
}

TEST(SdkSlots, Parameter)
{
    using Class = ZelGenParam::Param;
    static_assert(isPureInterface<Class>());
    EXPECT_EQ(slotOf(&Class::GetType), 0);
    EXPECT_EQ(slotOf(&Class::GetName), 1);
    EXPECT_EQ(slotOf(&Class::GetToolTip), 2);
    EXPECT_EQ(slotOf(&Class::GetDescription), 3);
    EXPECT_EQ(slotOf(&Class::GetDisplayName), 4);
    EXPECT_EQ(slotOf(&Class::GetVisibility), 5);
    EXPECT_EQ(slotOf(&Class::IsValueCached), 6);
    EXPECT_EQ(slotOf(&Class::IsAvailable), 7);
    EXPECT_EQ(slotOf(&Class::IsWritable), 8);
    EXPECT_EQ(slotOf(&Class::IsReadable), 9);
    EXPECT_EQ(slotOf(&Class::IsStreamable), 10);
    EXPECT_EQ(slotOf(&Class::IsVisible), 11);
    EXPECT_EQ(slotOf(&Class::GetNode), 14);
    EXPECT_EQ(slotOf(&ZelGenParam::Node::IsFeature), 31);
}

TEST(SdkSlots, TypedParameters)
{
    using namespace ZelGenParam;
    static_assert(isPureInterface<Int>() && isPureInterface<Float>() &&
                  isPureInterface<Boolean>() && isPureInterface<String>() &&
                  isPureInterface<Command>() && isPureInterface<Category>() &&
                  isPureInterface<Enum>() && isPureInterface<EnumEntry>());
    EXPECT_EQ(slotOf(&Int::SetValue), 23);
    EXPECT_EQ(slotOf(&Int::GetValue), 24);
    EXPECT_EQ(slotOf(&Int::GetMin), 25);
    EXPECT_EQ(slotOf(&Int::GetMax), 26);
    EXPECT_EQ(slotOf(&Int::GetIncrement), 27);
    EXPECT_EQ(slotOf(&Float::SetValue), 23);
    EXPECT_EQ(slotOf(&Float::GetValue), 24);
    EXPECT_EQ(slotOf(&Float::GetMin), 25);
    EXPECT_EQ(slotOf(&Float::GetMax), 26);
    EXPECT_EQ(slotOf(&Float::GetUnit), 27);
    EXPECT_EQ(slotOf(&Boolean::SetValue), 23);
    EXPECT_EQ(slotOf(&Boolean::GetValue), 24);
    EXPECT_EQ(slotOf(&String::GetMaxLength), 23);
    EXPECT_EQ(slotOf(&String::GetValue), 24);
    EXPECT_EQ(slotOf(&String::SetValue), 25);
    EXPECT_EQ(slotOf(&Command::Execute), 23);
    EXPECT_EQ(slotOf(&Command::IsDone), 24);
    EXPECT_EQ(slotOf(&Category::GetCount), 23);
    EXPECT_EQ(slotOf(&Category::GetParamByIndex), 24);
    EXPECT_EQ(slotOf(&EnumEntry::GetValue), 23);
    EXPECT_EQ(slotOf(&EnumEntry::GetValueStr), 24);
    EXPECT_EQ(slotOf(&Enum::GetCount), 23);
    EXPECT_EQ(slotOf(&Enum::GetEnumEntryByIndex), 24);
    EXPECT_EQ(slotOf(&Enum::GetValue), 27);
    EXPECT_EQ(slotOf(&Enum::GetValueStr), 28);
    EXPECT_EQ(slotOf(&Enum::SetValue), 29);
    EXPECT_EQ(slotOf(&Enum::SetValueStr), 30);
}

TEST(SdkSlots, ComponentParameters)
{
    using Class = ZelComponentParams;
    static_assert(isPureInterface<Class>());
    EXPECT_EQ(slotOf(&Class::SetInteger), 0);
    EXPECT_EQ(slotOf(&Class::SetString), 1);
    EXPECT_EQ(slotOf(&Class::GetString), 2);
}

} // namespace
