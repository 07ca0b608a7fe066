// The array as a whole: order, several modules, objects that outlive maps, events, threads.
#include "memory_source.h"
#include "params/param_array.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <thread>

namespace
{

using ZelGenParam::Category;
using ZelGenParam::Param;

std::string integer(const std::string& name, const std::string& more = "")
{
    return "<Integer Name=\"" + name + "\">" + more + "<Value>1</Value></Integer>";
}

std::string category(const std::string& name, const std::vector<std::string>& children)
{
    std::string text = "<Category Name=\"" + name + "\">";
    for (const std::string& child : children)
        text += "<pFeature>" + child + "</pFeature>";
    return text + "</Category>";
}

std::string namesOf(params::ParamArray& array)
{
    std::string names;
    ZelCamErr err = -1;
    for (std::int32_t i = 0; i < array.GetCount(); ++i)
        names += std::string(array.GetParamByIndex(i, &err)->GetName()) + " ";
    return names;
}

std::string childrenOf(Category& parent)
{
    std::string names;
    ZelCamErr err = -1;
    for (std::int32_t i = 0; i < parent.GetCount(); ++i)
        names += std::string(parent.GetParamByIndex(i, &err)->GetName()) + " ";
    return names;
}

TEST(ParamArray, ListsTheTreeInOrderOnce)
{
    MemorySource source(describe(
        category("Outer", {"B", "Inner", "A"}) + category("Inner", {"C", "B"}) + integer("A") +
            integer("B") + integer("C") + integer("Hidden") +
            "<Register Name=\"Raw\"><Address>0</Address><Length>4</Length><pPort>Device</pPort>"
            "</Register>",
        {"Outer", "Raw", "C"}));
    params::ParamArray array;
    ASSERT_EQ(array.attach({&source}), 0);
    EXPECT_EQ(namesOf(array), "Outer B Inner C A Raw ");
    ZelCamErr err = -1;
    Category* const root = array.GetRootCategory(&err);
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(childrenOf(*root), "Outer Raw C ");
    auto* const outer = dynamic_cast<Category*>(root->GetParamByIndex(0, &err));
    ASSERT_NE(outer, nullptr);
    EXPECT_EQ(outer->GetType(), ZelGenParam::kTypeCategory);
    EXPECT_EQ(childrenOf(*outer), "B Inner A ");
    EXPECT_EQ(outer->GetParamByIndex(3, &err), nullptr);
    EXPECT_EQ(err, -40005);
    EXPECT_EQ(array.GetParamByIndex(-1, &err), nullptr);
    EXPECT_EQ(array.GetParamByIndex(6, &err), nullptr);
    EXPECT_EQ(err, -40005);
    EXPECT_EQ(array.GetParam("Raw", &err)->GetType(), ZelGenParam::kTypeUnknown);
    EXPECT_FALSE(array.GetParam("Hidden", &err)->GetNode()->IsFeature());
    EXPECT_EQ(array.GetParam("B", &err), outer->GetParamByIndex(0, &err));
    EXPECT_NE(array.GetNodeMap(&err), nullptr);
}

TEST(ParamArray, TellsWhatPeopleReadAboutAFeature)
{
    MemorySource source(
        describe(integer("A", "<ToolTip>short &lt;b&gt;</ToolTip><Description>long</Description>"
                              "<DisplayName>The A</DisplayName><Visibility>Guru</Visibility>"
                              "<Streamable>Yes</Streamable>") +
                     integer("B") + intReg("Kept", "0") +
                     intReg("Fleeting", "4", "<Cachable>NoCache</Cachable>") +
                     "<Integer Name=\"OnFleeting\"><pValue>Fleeting</pValue></Integer>",
                 {"A", "B", "Kept", "OnFleeting"}));
    params::ParamArray array;
    ASSERT_EQ(array.attach({&source}), 0);
    Param* const a = array.GetParam("A", nullptr);
    EXPECT_STREQ(a->GetToolTip(), "short <b>");
    EXPECT_STREQ(a->GetDescription(), "long");
    EXPECT_STREQ(a->GetDisplayName(), "The A");
    EXPECT_EQ(a->GetVisibility(), ZelGenParam::kVisGuru);
    EXPECT_TRUE(a->IsStreamable());
    EXPECT_FALSE(a->IsVisible(ZelGenParam::kVisExpert));
    EXPECT_TRUE(a->IsVisible(ZelGenParam::kVisGuru));
    EXPECT_TRUE(a->IsVisible(ZelGenParam::kVisInvisible));
    Param* const b = array.GetParam("B", nullptr);
    EXPECT_STREQ(b->GetDisplayName(), "B");
    EXPECT_EQ(b->GetVisibility(), ZelGenParam::kVisBeginner);
    EXPECT_FALSE(b->IsStreamable());
    EXPECT_TRUE(array.GetParam("Kept", nullptr)->IsValueCached());
    EXPECT_FALSE(array.GetParam("OnFleeting", nullptr)->IsValueCached());
}

TEST(ParamArray, MergesModulesAndTheEarlierOneWins)
{
    MemorySource first(describe(category("Common", {"A", "Shared"}) + category("X", {"Y"}) +
                                    category("Y", {}) + integer("A") + intReg("Shared", "0"),
                                {"Common", "X"}));
    MemorySource second(describe(category("Common", {"Shared", "B"}) + category("Y", {"X"}) +
                                     category("X", {}) + integer("B") + intReg("Shared", "0"),
                                 {"Y", "Common"}));
    MemorySource broken("<RegisterDescription");
    first.setWord(0, 1);
    second.setWord(0, 2);
    params::ParamArray array;
    testing::internal::CaptureStderr();
    ASSERT_EQ(array.attach({&first, &broken, &second}), 0);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("-40201"), std::string::npos);
    EXPECT_EQ(namesOf(array), "Common A Shared B X Y ");
    ZelCamErr err = -1;
    EXPECT_EQ(array.GetIntegerValue("Shared", &err), 1);
    MemorySource none;
    EXPECT_EQ(array.attach({&none, &first}), -1008);
    EXPECT_EQ(array.GetCount(), 0);
    EXPECT_EQ(array.GetRootCategory(&err), nullptr);
    EXPECT_NE(err, 0);
    EXPECT_EQ(array.GetParam("A", &err), nullptr);
    EXPECT_EQ(err, -40205);
}

TEST(ParamArray, ObjectsOutliveTheirMapsAndComeBack)
{
    MemorySource source(describe(
        category("C", {"A", "E", "S"}) +
            intReg("A", "0",
                   "<ToolTip>tip</ToolTip><AccessMode>RW"
                   "</AccessMode>") +
            "<Enumeration Name=\"E\"><EnumEntry Name=\"One\"><Value>1</Value></EnumEntry>"
            "<Value>1</Value></Enumeration><String Name=\"S\"><Value>text</Value></String>",
        {"C"}));
    params::ParamArray array;
    ZelCamErr err = 0;
    EXPECT_EQ(array.GetIntegerValue("A", &err), 0);
    EXPECT_EQ(err, -40051) << "never attached";
    ASSERT_EQ(array.attach({&source}), 0);
    auto* const a = array.GetInt("A", &err);
    auto* const e = array.GetEnum("E", &err);
    auto* const s = array.GetString("S", &err);
    Category* const root = array.GetRootCategory(&err);
    ZelGenParam::EnumEntry* const one = e->GetEnumEntryByIndex(0);
    const char* const kept = s->GetValue(&err);

    array.detach(-1006);
    EXPECT_STREQ(a->GetName(), "A");
    EXPECT_STREQ(a->GetToolTip(), "tip");
    EXPECT_STREQ(kept, "text");
    EXPECT_EQ(a->GetType(), ZelGenParam::kTypeInt);
    EXPECT_EQ(a->GetValue(&err), 0);
    EXPECT_EQ(err, -1006);
    EXPECT_EQ(a->SetValue(1), -1006);
    EXPECT_FALSE(a->IsAvailable() || a->IsReadable() || a->IsWritable() || a->IsVisible(4) ||
                 one->IsAvailable() || a->GetNode()->IsFeature());
    EXPECT_EQ(e->GetCount(&err), 0);
    EXPECT_EQ(e->GetEnumEntryByIndex(0), nullptr);
    EXPECT_STREQ(one->GetValueStr(&err), "");
    EXPECT_EQ(err, -1006);
    EXPECT_EQ(root->GetCount(), 0);
    EXPECT_EQ(root->GetParamByIndex(0, &err), nullptr);
    EXPECT_EQ(err, -1006);
    EXPECT_EQ(array.GetCount(), 0);
    EXPECT_EQ(array.GetParam("A", &err), nullptr);
    EXPECT_EQ(err, -1006);
    EXPECT_EQ(array.GetNodeMap(&err), nullptr);

    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(array.attach({&source}), 0);
        EXPECT_EQ(array.GetInt("A", &err), a);
        EXPECT_EQ(array.GetEnum("E", &err)->GetEnumEntryByIndex(0), one);
        EXPECT_EQ(array.GetRootCategory(&err), root);
        EXPECT_EQ(a->SetValue(i), 0);
        EXPECT_EQ(one->GetValue(&err), 1);
        array.detach(-40006);
    }
    MemorySource other(describe(integer("B"), {"B"}));
    ASSERT_EQ(array.attach({&other}), 0);
    EXPECT_EQ(a->SetValue(1), -40205) << "attached to what has no such feature";
}

TEST(ParamArray, ShowsEventsAndChunks)
{
    const std::string reg = "<pPort>EventPort</pPort><Endianess>LittleEndian</Endianess></IntReg>";
    MemorySource source(describe(
        "<Port Name=\"EventPort\"><EventID>9001</EventID></Port>"
        "<Port Name=\"ChunkPort\"><ChunkID>c0ffee</ChunkID></Port>"
        "<IntReg Name=\"FrameReg\"><Address>8</Address><Length>8</Length>"
        "<AccessMode>RW</AccessMode>" +
            reg +
            "<Integer Name=\"EventFrame\"><pValue>FrameReg</pValue></Integer>"
            "<IntReg Name=\"Gain\"><Address>0</Address><Length>2</Length><pPort>ChunkPort</pPort>"
            "<Endianess>BigEndian</Endianess></IntReg>" +
            intReg("Plain", "8"),
        {"EventFrame", "Gain", "Plain"}));
    source.setWord(8, 77);
    params::ParamArray array;
    ASSERT_EQ(array.attach({&source}), 0);
    ZelCamErr err = 0;
    EXPECT_FALSE(array.GetParam("EventFrame", nullptr)->IsAvailable());
    array.GetIntegerValue("EventFrame", &err);
    EXPECT_EQ(err, -1014) << "no event yet";
    const std::uint64_t event[] = {1, 0x123456789, 2};
    array.setEventData(0x9002, event, sizeof event);
    array.setChunks({{0x9001, std::vector<unsigned char>(sizeof event, 1)}});
    array.GetIntegerValue("EventFrame", &err);
    EXPECT_EQ(err, -1014) << "another event, and a chunk of the same number";
    array.setEventData(0x9001, event, sizeof event);
    EXPECT_EQ(array.GetIntegerValue("EventFrame", &err), 0x123456789);
    EXPECT_EQ(err, 0);
    EXPECT_NE(array.SetIntegerValue("EventFrame", 5), 0) << "what happened cannot be changed";
    array.setEventData(0x9001, event, 8);
    EXPECT_EQ(array.GetIntegerValue("EventFrame", &err), 0);
    EXPECT_EQ(err, -1015) << "an event too short for the feature";
    array.setChunks({{0xC0FFEE, {0x12, 0x34}}});
    EXPECT_EQ(array.GetIntegerValue("Gain", &err), 0x1234);
    array.setChunks({{0xBEEF, {0x12, 0x34}}});
    EXPECT_EQ(array.GetIntegerValue("Gain", &err), 0);
    EXPECT_EQ(err, -1014) << "the next frame came without it";
    EXPECT_EQ(array.GetIntegerValue("Plain", &err), 77) << "the device's own registers";
    array.attach({&source});
    array.GetIntegerValue("EventFrame", &err);
    EXPECT_EQ(err, -1014) << "events of a former connection are gone";
}

TEST(ParamArray, MayBeDetachedFromInsideAnAccess)
{
    MemorySource source(describe(intReg("Reg", "0") +
                                     "<Integer Name=\"A\"><pIsAvailable>Reg"
                                     "</pIsAvailable><pValue>Reg</pValue></Integer>",
                                 {"A"}));
    source.setWord(0, 1);
    params::ParamArray array;
    ASSERT_EQ(array.attach({&source}), 0);
    auto* const a = array.GetInt("A", nullptr);
    source.onAccess = [&] { array.detach(-40006); };
    ZelCamErr err = 0;
    a->GetValue(&err);
    EXPECT_EQ(a->SetValue(2), -40006);
    source.onAccess = [&] { array.attach({&source}); };
    ASSERT_EQ(array.attach({&source}), 0);
    EXPECT_EQ(array.SetIntegerValue("A", 3), 0) << "and attached again";
}

TEST(ParamArray, ManyThreadsReadWriteAttachAndDetach)
{
    MemorySource source(
        describe(intReg("A", "0") +
                     "<StringReg Name=\"S\"><Address>16</Address>"
                     "<Length>16</Length><AccessMode>RW</AccessMode>"
                     "<pPort>Device</pPort></StringReg>" +
                     "<Port Name=\"P\"><EventID>1</EventID></Port><IntReg Name=\"E\">"
                     "<Address>0</Address><Length>8</Length><pPort>P</pPort></IntReg>",
                 {"A", "S", "E"}));
    std::atomic<int> inside{0};
    std::atomic<int> mixed{0};
    source.onAccess = [&] {
        if (inside.fetch_add(1) != 0)
            ++mixed;
        inside.fetch_sub(1);
    };
    params::ParamArray array;
    params::ParamArray other;
    ASSERT_EQ(array.attach({&source}), 0);
    auto* const a = array.GetInt("A", nullptr);
    auto* const s = array.GetString("S", nullptr);
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            for (int i = 0; i < 400; ++i) {
                ZelCamErr err = 0;
                a->SetValue(thread);
                const std::int64_t value = a->GetValue(&err);
                if (err != 0 && err != -1006)
                    ++wrong;
                s->SetValue(thread % 2 != 0 ? "odd" : "even");
                const std::string text = s->GetValue(&err);
                if (value < 0 || value > 3 ||
                    (err == 0 && text != "odd" && text != "even" && !text.empty()))
                    ++wrong;
                array.setEventData(1, &i, sizeof i);
                array.GetIntegerValue("E", &err);
                array.GetParamByIndex(i % 4, &err);
            }
        });
    }
    threads.emplace_back([&] {
        for (int i = 0; i < 100; ++i) {
            array.detach(-1006);
            array.attach({&source});
        }
    });
    MemorySource second(describe(integer("B"), {"B"}));
    threads.emplace_back([&] {
        for (int i = 0; i < 100; ++i)
            other.attach({&second});
    });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(mixed, 0) << "one access of a source at a time";
    EXPECT_EQ(a->SetValue(1), 0);
}

} // namespace
