// Values, access and ranges of single features, against registers in memory.
#include "attached_module.h"
#include "params/param_array.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>
#include <thread>

namespace
{

using ZelGenParam::Command;
using ZelGenParam::Enum;
using ZelGenParam::Float;
using ZelGenParam::Int;

const std::string kWidth = intReg("WidthReg", "0x100") +
                           "<Integer Name=\"Width\"><pValue>WidthReg</pValue><Min>7</Min>"
                           "<pMax>Limit</pMax><Inc>4</Inc></Integer>"
                           "<Integer Name=\"Limit\"><Value>107</Value></Integer>";

TEST(Feature, IntegerKeepsToRangeAndIncrementFromTheMinimum)
{
    Module module(kWidth, {"Width", "Limit"});
    Int* const width = module.array.GetInt("Width", nullptr);
    ZelCamErr err = -1;
    EXPECT_EQ(width->GetMin(&err), 7);
    EXPECT_EQ(width->GetMax(&err), 107);
    EXPECT_EQ(width->GetIncrement(&err), 4);
    for (const std::int64_t value : {7, 11, 107})
        EXPECT_EQ(width->SetValue(value), 0) << value;
    module.source.writes = 0;
    for (const std::int64_t value : {8, 6, 3, 111, -1})
        EXPECT_EQ(module.array.SetIntegerValue("Width", value), -40204) << value;
    EXPECT_EQ(module.source.writes, 0) << "refused values must not reach the device";
    EXPECT_EQ(module.array.SetIntegerValue("Limit", 11), 0);
    EXPECT_EQ(width->GetMax(&err), 11) << "a maximum that is a feature moves";
    EXPECT_EQ(width->SetValue(15), -40204);
}

TEST(Feature, StepsOfFloatsAndListsOfValidValues)
{
    Module module(
        "<FloatReg Name=\"Reg\"><Address>0</Address><Length>8</Length>"
        "<AccessMode>RW</AccessMode><pPort>Device</pPort><Endianess>LittleEndian"
        "</Endianess></FloatReg><Float Name=\"Stepped\"><pValue>Reg</pValue><Min>0.1</Min>"
        "<Max>9</Max><Inc>0.1</Inc></Float><Float Name=\"Listed\"><pValue>Reg</pValue>"
        "<ValidValueSet>0.5; 1.5 ;3</ValidValueSet></Float>" +
            intReg("Raw", "8") +
            "<Integer Name=\"Powers\"><pValue>Raw</pValue><Min>1</Min><Max>16</Max>"
            "<ValidValueSet>1;2;4;0x8;16</ValidValueSet></Integer>",
        {"Stepped", "Listed", "Powers"});
    for (int step = 1; step <= 90; ++step)
        EXPECT_EQ(module.array.SetFloatValue("Stepped", step * 0.1), 0) << step;
    for (const double value : {0.15, 0.1001, 8.99, 9.1})
        EXPECT_EQ(module.array.SetFloatValue("Stepped", value), -40204) << value;
    EXPECT_EQ(module.array.SetFloatValue("Listed", 1.5), 0);
    EXPECT_EQ(module.array.SetFloatValue("Listed", 2.0), -40204);
    for (const std::int64_t value : {1, 2, 4, 8, 16})
        EXPECT_EQ(module.array.SetIntegerValue("Powers", value), 0) << value;
    for (const std::int64_t value : {3, 5, 15, 32})
        EXPECT_EQ(module.array.SetIntegerValue("Powers", value), -40204) << value;
}

TEST(Feature, RangesWithoutLimitsAreThoseOfTheRegister)
{
    const std::string reg8 =
        "<IntReg Name=\"R8\"><Address>8</Address><Length>8</Length><AccessMode>RW</AccessMode>"
        "<pPort>Device</pPort><Sign>Signed</Sign></IntReg>";
    const std::string masked =
        "<MaskedIntReg Name=\"M\"><Address>4</Address><Length>4</Length><AccessMode>RW</AccessMode>"
        "<pPort>Device</pPort><LSB>4</LSB><MSB>7</MSB><Sign>Signed</Sign>"
        "<Endianess>LittleEndian</Endianess></MaskedIntReg>";
    Module module(reg8 + masked + intReg("R4", "0") +
                      "<Integer Name=\"I\"><pValue>M</pValue><Min>-100</Min><Max>5</Max></Integer>"
                      "<Integer Name=\"Free\"><Value>1</Value></Integer>"
                      "<IntSwissKnife Name=\"K\"><Formula>1</Formula></IntSwissKnife>",
                  {"R8", "M", "R4", "I", "Free", "K"});
    constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
    constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
    const struct {
        const char* name;
        std::int64_t min;
        std::int64_t max;
    } cases[] = {{"R8", kMin, kMax}, {"M", -8, 7},         {"R4", 0, 4294967295},
                 {"I", -100, 5},     {"Free", kMin, kMax}, {"K", kMin, kMax}};
    for (const auto& test : cases) {
        Int* const param = module.array.GetInt(test.name, nullptr);
        ZelCamErr err = -1;
        EXPECT_EQ(param->GetMin(&err), test.min) << test.name;
        EXPECT_EQ(param->GetMax(&err), test.max) << test.name;
        EXPECT_EQ(err, 0) << test.name;
        EXPECT_EQ(param->GetIncrement(&err), 1) << test.name;
    }
    module.source.setWord(4, 0xABCDEF12);
    EXPECT_EQ(module.array.SetIntegerValue("M", -3), 0);
    EXPECT_EQ(module.source.word(4), 0xABCDEFD2U) << "neighbouring bits stay";
    EXPECT_EQ(module.array.SetIntegerValue("I", -50), -40204) << "the register below has its say";
    for (const std::int64_t value : {kMin, kMax, std::int64_t{-1}}) {
        EXPECT_EQ(module.array.SetIntegerValue("R8", value), 0);
        EXPECT_EQ(module.integer("R8"), value);
    }
    EXPECT_EQ(module.array.SetIntegerValue("K", 1), -40202) << "a formula cannot be written";
}

TEST(Feature, AccessCombinesTheWholeChain)
{
    const std::string conditions =
        "<Integer Name=\"Impl\"><Value>1</Value></Integer><Integer Name=\"Avail\"><Value>1</Value>"
        "</Integer><Boolean Name=\"Lock\"><Value>false</Value></Boolean>";
    Module module(
        conditions +
            intReg("Reg", "0",
                   "<pIsAvailable>Avail</pIsAvailable><pIsLocked>Lock</pIsLocked>"
                   "<AccessMode>RW</AccessMode>") +
            intReg("ReadOnly", "4", "<AccessMode>RO</AccessMode>") +
            intReg("WriteOnly", "8", "<AccessMode>WO</AccessMode>") +
            "<Integer "
            "Name=\"F\"><pIsImplemented>Impl</pIsImplemented><pValue>Reg</pValue></Integer>"
            "<Integer Name=\"Imposed\"><ImposedAccessMode>RO</ImposedAccessMode>"
            "<pValue>Reg</pValue></Integer>"
            "<Integer Name=\"OnReadOnly\"><pValue>ReadOnly</pValue></Integer>"
            "<Integer Name=\"OnWriteOnly\"><pValue>WriteOnly</pValue></Integer>"
            "<StructReg Comment=\"s\"><Address>12</Address><Length>4</Length><pPort>Device</pPort>"
            "<StructEntry Name=\"OpenBit\"><AccessMode>RW</AccessMode><Bit>0</Bit></StructEntry>"
            "<StructEntry Name=\"Bit\"><Bit>1</Bit></StructEntry></StructReg>"
            "<IntSwissKnife Name=\"Formula\"><pVariable Name=\"V\">F</pVariable>"
            "<Formula>V+1</Formula></IntSwissKnife>",
        {"F", "Imposed", "OnReadOnly", "OnWriteOnly", "Formula", "Lock"});
    const auto access = [&](const char* name) {
        ZelGenParam::Param* const param = module.array.GetParam(name, nullptr);
        return std::string(param->IsAvailable() ? "A" : "-") + (param->IsReadable() ? "R" : "-") +
               (param->IsWritable() ? "W" : "-");
    };
    EXPECT_EQ(access("F"), "ARW");
    EXPECT_EQ(access("Imposed"), "AR-");
    EXPECT_EQ(access("OnReadOnly"), "AR-");
    EXPECT_EQ(access("OnWriteOnly"), "A-W");
    EXPECT_EQ(access("Formula"), "AR-");
    EXPECT_EQ(access("OpenBit"), "ARW");
    EXPECT_EQ(access("Bit"), "AR-");
    EXPECT_EQ(module.readError("OnWriteOnly"), -40202);
    EXPECT_EQ(module.array.SetIntegerValue("OnReadOnly", 1), -40202);
    EXPECT_EQ(module.array.SetIntegerValue("Imposed", 1), -40202);

    EXPECT_EQ(module.array.SetBooleanValue("Lock", true), 0);
    EXPECT_EQ(access("F"), "AR-");
    EXPECT_EQ(module.array.SetIntegerValue("F", 1), -40202);
    EXPECT_EQ(module.array.SetBooleanValue("Lock", false), 0);
    EXPECT_EQ(module.array.SetIntegerValue("Avail", 0), 0);
    EXPECT_EQ(access("F"), "---");
    EXPECT_EQ(access("Formula"), "---") << "what is computed from it is gone with it";
    EXPECT_EQ(module.readError("F"), -40202);
    EXPECT_EQ(module.array.SetIntegerValue("F", 1), -40202);
    EXPECT_EQ(module.array.SetIntegerValue("Avail", 1), 0);
    EXPECT_EQ(module.array.SetIntegerValue("Impl", 0), 0);
    EXPECT_EQ(access("F"), "---");
    EXPECT_EQ(module.source.word(0), 0U) << "no refused write reached the register";
}

TEST(Feature, NamesAndTypesAreChecked)
{
    Module module(kWidth + "<Float Name=\"Gain\"><Value>1.5</Value></Float>", {"Width", "Gain"});
    ZelCamErr err = 0;
    EXPECT_EQ(module.readError("Gain"), -40203);
    EXPECT_EQ(module.array.SetIntegerValue("Gain", 1), -40203);
    EXPECT_EQ(module.array.SetFloatValue("Width", 11.0), -40203);
    EXPECT_EQ(module.array.GetFloat("Width", &err), nullptr);
    EXPECT_EQ(err, -40203);
    EXPECT_EQ(module.array.SetEnumValue("Width", 11), -40203);
    EXPECT_EQ(module.array.ExecuteCommand("Width"), -40203);
    EXPECT_EQ(module.readError("Root"), -40203);
    EXPECT_EQ(module.readError("Height"), -40205);
    EXPECT_EQ(module.array.GetParam("Height", &err), nullptr);
    EXPECT_EQ(err, -40205);
    EXPECT_EQ(module.readError(nullptr), -40007);
    EXPECT_EQ(module.array.SetStringValue("Width", nullptr), -40007);
    EXPECT_STREQ(module.array.GetStringValue("Width", &err), "");
    EXPECT_EQ(err, -40203);
    module.array.GetIntegerValue("Width", nullptr); // a caller who does not want the code
    EXPECT_FALSE(module.array.GetInt("WidthReg", nullptr)->GetNode()->IsFeature());
    EXPECT_TRUE(module.array.GetInt("Width", nullptr)->GetNode()->IsFeature());
}

TEST(Feature, FloatsGoThroughConvertersAndWholeRegisters)
{
    Module module(intReg("Raw", "0") + intReg("Raw2", "4") +
                      "<Converter Name=\"Conv\"><FormulaTo>FROM*100</FormulaTo>"
                      "<FormulaFrom>TO/100</FormulaFrom><pValue>Raw</pValue></Converter>"
                      "<Float Name=\"Exposure\"><pValue>Conv</pValue><Min>0.1</Min><Max>50</Max>"
                      "<Unit>us</Unit></Float>"
                      "<Float Name=\"Rate\"><pValue>Raw2</pValue></Float>"
                      "<Float Name=\"Free\"><Value>2.5</Value></Float>"
                      "<SwissKnife Name=\"Half\"><pVariable Name=\"V\">Raw2</pVariable>"
                      "<Formula>V/2.0</Formula></SwissKnife>",
                  {"Exposure", "Rate", "Free", "Half", "Conv"});
    ZelCamErr err = -1;
    Float* const exposure = module.array.GetFloat("Exposure", &err);
    EXPECT_EQ(exposure->SetValue(0.29), 0);
    EXPECT_EQ(module.source.word(0), 29U) << "the nearest whole number, not the one below";
    EXPECT_DOUBLE_EQ(exposure->GetValue(&err), 0.29);
    EXPECT_DOUBLE_EQ(exposure->GetMax(&err), 50.0);
    EXPECT_STREQ(exposure->GetUnit(&err), "us");
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinite = std::numeric_limits<double>::infinity();
    for (const double value : {0.05, 50.5, nan, infinite, -infinite}) {
        EXPECT_EQ(exposure->SetValue(value), -40204) << value;
        EXPECT_EQ(module.array.SetFloatValue("Exposure", value), -40204) << value;
    }
    EXPECT_EQ(module.source.word(0), 29U);
    EXPECT_EQ(module.array.SetFloatValue("Rate", 7.8), 0);
    EXPECT_EQ(module.source.word(4), 8U);
    EXPECT_DOUBLE_EQ(module.array.GetFloatValue("Half", &err), 4.0);
    EXPECT_EQ(module.array.SetFloatValue("Rate", -1.0), -40204) << "an unsigned register";
    EXPECT_DOUBLE_EQ(module.array.GetFloat("Conv", nullptr)->GetMax(&err), 42949672.95);
    Float* const free = module.array.GetFloat("Free", nullptr);
    EXPECT_EQ(free->GetMin(&err), -DBL_MAX);
    EXPECT_EQ(free->SetValue(nan), -40204);
    EXPECT_EQ(free->SetValue(infinite), -40204);
    EXPECT_EQ(free->GetValue(&err), 2.5);
}

const std::string kMode =
    intReg("ModeReg", "0x10") +
    "<Integer Name=\"HasFast\"><Value>1</Value></Integer><Integer Name=\"NeverThere\"><Value>0"
    "</Value></Integer><Enumeration Name=\"Mode\">"
    "<EnumEntry Name=\"Slow\"><DisplayName>Take it easy</DisplayName><Value>7</Value></EnumEntry>"
    "<EnumEntry Name=\"Secret\"><pIsImplemented>NeverThere</pIsImplemented><Value>5</Value>"
    "</EnumEntry><EnumEntry Name=\"Fast\"><pIsAvailable>HasFast</pIsAvailable><Value>2</Value>"
    "</EnumEntry><pValue>ModeReg</pValue></Enumeration>";

TEST(Feature, EnumerationsKnowTheirEntries)
{
    Module module(kMode, {"Mode", "HasFast"});
    Enum* const mode = module.array.GetEnum("Mode", nullptr);
    ZelCamErr err = -1;
    EXPECT_EQ(mode->GetCount(&err), 2) << "what is not implemented does not count";
    ASSERT_NE(mode->GetEnumEntryByIndex(1), nullptr);
    EXPECT_STREQ(mode->GetEnumEntryByIndex(0)->GetValueStr(&err), "Slow");
    EXPECT_STREQ(mode->GetEnumEntryByIndex(0)->GetDisplayName(), "Take it easy");
    EXPECT_STREQ(mode->GetEnumEntryByIndex(1)->GetValueStr(&err), "Fast");
    EXPECT_EQ(mode->GetEnumEntryByIndex(1)->GetValue(&err), 2);
    EXPECT_EQ(mode->GetEnumEntryByIndex(2), nullptr);
    EXPECT_EQ(mode->GetEnumEntryByIndex(-1), nullptr);
    EXPECT_EQ(mode->GetEnumEntryByIndex(0), mode->GetEnumEntryByIndex(0));

    EXPECT_EQ(mode->SetValueStr("Fast"), 0);
    EXPECT_EQ(module.source.word(0x10), 2U);
    EXPECT_EQ(module.array.SetEnumValue("Mode", 7), 0);
    EXPECT_STREQ(module.array.GetEnumValueStr("Mode", &err), "Slow");
    EXPECT_EQ(mode->SetValueStr("Turbo"), -40206);
    EXPECT_EQ(mode->SetValue(3), -40206);
    EXPECT_EQ(mode->SetValueStr("Secret"), -40202);
    EXPECT_EQ(mode->SetValue(5), -40202);
    EXPECT_EQ(module.array.SetIntegerValue("HasFast", 0), 0);
    EXPECT_EQ(mode->GetCount(&err), 2) << "unavailable entries stay in the list";
    EXPECT_FALSE(mode->GetEnumEntryByIndex(1)->IsAvailable());
    EXPECT_EQ(module.array.SetEnumValueStr("Mode", "Fast"), -40202);
    EXPECT_EQ(module.source.word(0x10), 7U);
    module.source.setWord(0x10, 99);
    EXPECT_STREQ(mode->GetValueStr(&err), "");
    EXPECT_EQ(err, -40206) << "the register holds what is no entry";
}

TEST(Feature, CommandsEndWhenTheirRegisterDoes)
{
    Module module(intReg("Go", "0") + intReg("Blind", "4", "<AccessMode>WO</AccessMode>") +
                      "<Command Name=\"Start\"><pValue>Go</pValue><CommandValue>3</CommandValue>"
                      "</Command><Command Name=\"Shot\"><pValue>Blind</pValue>"
                      "<CommandValue>9</CommandValue></Command>"
                      "<Command Name=\"Stay\"><pValue>Go</pValue><CommandValue>3</CommandValue>"
                      "<IsSelfClearing>No</IsSelfClearing></Command>",
                  {"Start", "Shot", "Stay"});
    Command* const start = module.array.GetCommand("Start", nullptr);
    ZelCamErr err = -1;
    EXPECT_EQ(start->Execute(), 0);
    EXPECT_EQ(module.source.word(0), 3U);
    EXPECT_FALSE(start->IsDone(&err)) << "the device has not taken it back yet";
    EXPECT_FALSE(module.array.IsCommandDone("Start", &err));
    EXPECT_TRUE(module.array.IsCommandDone("Stay", &err));
    module.source.setWord(0, 0);
    EXPECT_TRUE(start->IsDone(&err));
    EXPECT_EQ(err, 0);
    EXPECT_EQ(module.array.ExecuteCommand("Shot"), 0);
    EXPECT_EQ(module.source.word(4), 9U);
    EXPECT_TRUE(module.array.IsCommandDone("Shot", &err)) << "nothing to look at";
    module.source.failure = -1010;
    EXPECT_EQ(start->Execute(), -1010);
    EXPECT_FALSE(start->IsDone(&err));
    EXPECT_EQ(err, -1010);
}

TEST(Feature, StringsKnowTheirLengthAndAreValidText)
{
    Module module("<StringReg Name=\"Id\"><Address>0x20</Address><Length>8</Length>"
                  "<AccessMode>RW</AccessMode><pPort>Device</pPort></StringReg>"
                  "<String Name=\"Name\"><pValue>Id</pValue></String>"
                  "<StringReg Name=\"Given\"><Address>0x40</Address><pLength>Lie</pLength>"
                  "<AccessMode>RO</AccessMode><pPort>Device</pPort></StringReg>"
                  "<Integer Name=\"Lie\"><Value>0x7FFFFFFFFFFF</Value></Integer>"
                  "<String Name=\"Const\"><Value>hello</Value></String>",
                  {"Name", "Given", "Const"});
    ZelCamErr err = -1;
    ZelGenParam::String* const name = module.array.GetString("Name", nullptr);
    EXPECT_EQ(name->GetMaxLength(&err), 8);
    EXPECT_EQ(name->SetValue("12345678"), 0);
    EXPECT_STREQ(name->GetValue(&err), "12345678") << "no room for an end mark";
    EXPECT_EQ(name->SetValue("123456789"), -40204);
    EXPECT_EQ(name->SetValue(""), 0);
    EXPECT_STREQ(module.array.GetStringValue("Name", &err), "");
    std::memcpy(module.source.memory.data() + 0x20, "a\xFF\xC3\xA4\xE2\x82", 7);
    params::ParamArray::invalidate();
    EXPECT_STREQ(name->GetValue(&err), "a\xEF\xBF\xBD\xC3\xA4\xEF\xBF\xBD\xEF\xBF\xBD");
    EXPECT_STREQ(module.array.GetStringValue("Const", &err), "hello");
    EXPECT_EQ(module.array.GetString("Const", nullptr)->GetMaxLength(&err), 2147483647);
    std::memcpy(module.source.memory.data() + 0x40, "short", 6);
    module.array.GetStringValue("Given", &err);
    EXPECT_NE(err, -1021) << "a length that is a lie must not be allocated";

    const char* const kept = name->GetValue(&err);
    std::thread([&] { name->GetValue(&err); }).join();
    EXPECT_STREQ(kept, "a\xEF\xBF\xBD\xC3\xA4\xEF\xBF\xBD\xEF\xBF\xBD")
        << "another thread's reading does not touch this one's text";
}

TEST(Feature, BooleansAndFormulasHaveTheirValuesEverywhere)
{
    Module module(
        intReg("Reg", "0") + kMode + kWidth +
            "<Boolean Name=\"On\"><pValue>Reg</pValue><OnValue>5</OnValue><OffValue>6</OffValue>"
            "</Boolean><IntSwissKnife Name=\"K\"><pVariable Name=\"B\">On</pVariable>"
            "<pVariable Name=\"W.Max\">Width</pVariable><pVariable Name=\"W.Inc\">Width</pVariable>"
            "<pVariable Name=\"M.Entry.Slow\">Mode</pVariable>"
            "<Formula>B*1000000+W.Max*1000+W.Inc*100+M.Entry.Slow</Formula></IntSwissKnife>"
            "<Integer Name=\"Many\"><pValue>Reg</pValue><pValueCopy>ModeReg</pValueCopy></Integer>"
            "<Integer Name=\"Pick\"><pIndex>Limit</pIndex><ValueIndexed Index=\"1\">31"
            "</ValueIndexed><ValueDefault>30</ValueDefault></Integer>",
        {"On", "K", "Many", "Pick"});
    ZelCamErr err = -1;
    EXPECT_EQ(module.array.SetBooleanValue("On", true), 0);
    EXPECT_EQ(module.source.word(0), 5U);
    EXPECT_TRUE(module.array.GetBooleanValue("On", &err));
    EXPECT_EQ(module.integer("K"), 1000000 + 107 * 1000 + 4 * 100 + 7);
    EXPECT_EQ(module.array.SetBooleanValue("On", false), 0);
    EXPECT_EQ(module.source.word(0), 6U);
    EXPECT_FALSE(module.array.GetBooleanValue("On", &err));
    EXPECT_EQ(module.array.SetIntegerValue("Many", 2), 0);
    EXPECT_EQ(module.source.word(0), 2U);
    EXPECT_EQ(module.source.word(0x10), 2U) << "all registers that hold the value";
    EXPECT_EQ(module.integer("Pick"), 30);
    EXPECT_EQ(module.array.SetIntegerValue("Limit", 1), 0);
    EXPECT_EQ(module.integer("Pick"), 31);
}

TEST(Feature, CodesOfTheModulePassThrough)
{
    Module module(intReg("Far", "0xFFFFFFF0") + kWidth +
                      intReg("Asks", "8", "<pIsAvailable>Far</pIsAvailable>"),
                  {"Far", "Width", "Asks"});
    EXPECT_EQ(module.readError("Far"), -1015);
    EXPECT_EQ(module.readError("Asks"), -1015) << "also those of a condition";
    module.source.failure = -1011;
    EXPECT_EQ(module.readError("Width"), -1011);
    EXPECT_EQ(module.array.SetIntegerValue("Width", 11), -1011);
    EXPECT_FALSE(module.array.GetParam("Asks", nullptr)->IsAvailable());
}

TEST(Feature, OldDescriptionsCountOnTheHostsByteOrder)
{
    const std::string nodes = intReg("A", "0") +
                              "<IntReg Name=\"Wide\"><Address>8</Address><Length>8</Length>"
                              "<pPort>Device</pPort><Endianess>BigEndian</Endianess></IntReg>";
    Module old(nodes, {"A", "Wide"}, "0", true);
    old.source.memory[3] = 0x2A; // big-endian on the wire, little-endian in the description
    old.source.memory[15] = 0x2B;
    EXPECT_EQ(old.integer("A"), 0x2A);
    EXPECT_EQ(old.integer("Wide"), 0x2B) << "only 4-byte registers are turned";
    EXPECT_EQ(old.array.SetIntegerValue("A", 0x01020304), 0);
    EXPECT_EQ(old.source.memory[0], 1);
    // Turned only where both are true.
    for (const bool isNetworkOrder : {false, true}) {
        Module other(nodes, {"A"}, isNetworkOrder ? "1" : "0", isNetworkOrder);
        other.source.memory[0] = 0x2A;
        EXPECT_EQ(other.integer("A"), 0x2A);
    }
}

} // namespace
