// Memory that runs out at any single place: every operation answers -1021, and nothing is lost.
#include "base/operation_guard.h"
#include "memory_source.h"
#include "params/param_array.h"

#include <gtest/gtest.h>
#include <pugixml.hpp>

#include <array>
#include <cstdlib>
#include <new>
#include <string>

namespace
{

/// Allocations that still succeed; negative: all.
long left = -1;

void* allocate(std::size_t size)
{
    if (left == 0)
        return nullptr;
    left -= left > 0 ? 1 : 0;
    return std::malloc(size);
}

} // namespace

void* operator new(std::size_t size)
{
    if (void* const memory = allocate(size))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace
{

const std::string kNodes =
    "<Integer Name=\"Width\"><ToolTip>Columns of the picture, counted</ToolTip>"
    "<pValue>WidthReg</pValue></Integer>" +
    intReg("WidthReg", "0") +
    "<Float Name=\"Gain\"><Value>2.5</Value><Unit>decibel per something</Unit></Float>"
    "<Enumeration Name=\"Mode\"><EnumEntry Name=\"TheFirstOfBothEntries\"><Value>0</Value>"
    "</EnumEntry><EnumEntry Name=\"TheSecondOfBothEntries\"><Value>1</Value></EnumEntry>"
    "<pValue>ModeReg</pValue></Enumeration>" +
    intReg("ModeReg", "4") +
    "<StringReg Name=\"Label\"><Address>64</Address><Length>64</Length>"
    "<AccessMode>RW</AccessMode><pPort>Device</pPort></StringReg>"
    "<Category Name=\"Picture\"><pFeature>Mode</pFeature><pFeature>Label</pFeature></Category>";

const std::string kDocument = describe(kNodes, {"Width", "Gain", "Picture"});

using Codes = std::array<ZelCamErr, 20>;
const Codes kAllWell = {};

/// Every kind of operation once; their codes.
Codes useAll(params::ParamArray& array)
{
    Codes codes = {};
    ZelCamErr* code = codes.data();
    ZelGenParam::Category* const root = array.GetRootCategory(code++);
    if (root != nullptr && root->GetCount() > 2)
        root->GetParamByIndex(2, code++);
    array.GetNodeMap(code++);
    for (std::int32_t i = 0; i < array.GetCount(); ++i) {
        if (ZelGenParam::Param* const param = array.GetParamByIndex(i, code))
            static_cast<void>(param->IsWritable() && param->GetDisplayName()[0] != '\0');
    }
    ++code;
    array.GetParam("Width", code++);
    array.GetIntegerValue("Width", code++);
    *code++ = array.SetIntegerValue("Width", 7);
    if (ZelGenParam::Float* const gain = array.GetFloat("Gain", code++))
        gain->GetUnit(code++);
    if (ZelGenParam::Enum* const mode = array.GetEnum("Mode", code++)) {
        mode->GetCount(code++);
        if (ZelGenParam::EnumEntry* const entry = mode->GetEnumEntryByIndex(1))
            entry->GetValueStr(code++);
    }
    *code++ = array.SetEnumValueStr("Mode", "TheSecondOfBothEntries");
    *code++ = array.SetStringValue("Label", "a text that is longer than any short string");
    array.GetStringValue("Label", code++);
    return codes;
}

} // namespace

TEST(Memory, RunsOutAtAnyAllocationAndEveryOperationSaysSo)
{
    pugi::set_memory_management_functions(allocate, std::free);
    int refused = 0;
    for (ZelCamErr attached = -1021; attached != 0; ++refused) {
        MemorySource source(kDocument);
        params::ParamArray array;
        left = refused;
        attached = base::guarded([&] { return array.attach({&source}); });
        left = -1;
        ASSERT_TRUE(attached == 0 || attached == -1021) << attached;
        ASSERT_EQ(array.attach({&source}), 0) << refused;
        ASSERT_EQ(useAll(array), kAllWell) << refused;
    }
    EXPECT_GT(refused, 50);

    refused = 0;
    for (Codes codes = {-1021}; codes != kAllWell; ++refused) {
        MemorySource source(kDocument);
        params::ParamArray array;
        ASSERT_EQ(array.attach({&source}), 0);
        left = refused;
        codes = useAll(array);
        left = -1;
        for (const ZelCamErr code : codes)
            ASSERT_TRUE(code == 0 || code == -1021) << code << " at " << refused;
        ASSERT_EQ(useAll(array), kAllWell) << refused;
    }
    EXPECT_GT(refused, 20);
}

TEST(Memory, DocumentThatTheParserHasNoRoomForIsNotCalledBroken)
{
    pugi::set_memory_management_functions([](std::size_t) -> void* { return nullptr; }, std::free);
    MemorySource source(kDocument);
    params::ParamArray array;
    testing::internal::CaptureStderr();
    EXPECT_EQ(array.attach({&source}), -1021);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Parameter description refused: -1021 there is no memory for the description\n");
}
