// Values that are read once and kept: which, how long, and never a failure.
#include "attached_module.h"

namespace
{

TEST(KeptValue, HoldsUntilSomethingMayHaveChangedIt)
{
    const std::string fleeting = "<Cachable>NoCache</Cachable>";
    const std::string polled = "<PollingTime>100</PollingTime>";
    Module module(
        intReg("Width", "0x60") + intReg("Other", "4") + intReg("Fleeting", "8", fleeting) +
            intReg("Polled", "0xC", polled) +
            "<Integer Name=\"OnFleeting\"><pValue>Fleeting</pValue></Integer>"
            "<IntSwissKnife Name=\"Sum\"><pVariable Name=\"A\">Other</pVariable>"
            "<pVariable Name=\"B\">Polled</pVariable><Formula>A+B</Formula>"
            "</IntSwissKnife>" +
            intReg("Chosen", "0x20", "<pIndex Offset=\"4\">Fleeting</pIndex>") +
            intReg("Asking", "0x40", "<pIsAvailable>Fleeting</pIsAvailable>") +
            "<Enumeration Name=\"Told\"><EnumEntry Name=\"A\"><Value>0</Value></EnumEntry>"
            "<pValue>Asking</pValue></Enumeration>",
        {"Width", "Other", "Fleeting", "Polled", "OnFleeting", "Sum", "Chosen", "Asking", "Told"});
    const auto kept = [&](const char* name) {
        module.source.setWord(8, 1);
        module.array.GetIntegerValue(name, nullptr);
        const int before = module.source.reads;
        module.array.GetIntegerValue(name, nullptr);
        const bool isKept = module.source.reads == before;
        EXPECT_EQ(module.array.GetParam(name, nullptr)->IsValueCached(), isKept) << name;
        return isKept;
    };
    EXPECT_TRUE(kept("Width"));
    EXPECT_TRUE(kept("Other"));
    for (const char* name : {"Fleeting", "Polled", "OnFleeting", "Sum", "Chosen", "Asking"})
        EXPECT_FALSE(kept(name)) << name;

    EXPECT_EQ(module.integer("Other"), 0);
    module.source.setWord(4, 5);
    EXPECT_EQ(module.integer("Other"), 0) << "nothing told that it changed";
    EXPECT_EQ(module.array.SetIntegerValue("Width", 11), 0);
    EXPECT_EQ(module.integer("Other"), 5) << "a write to one feature may change another";
    module.source.setWord(4, 6);
    Module elsewhere(intReg("Address", "0"), {"Address"});
    EXPECT_EQ(elsewhere.array.SetIntegerValue("Address", 1), 0);
    EXPECT_EQ(module.integer("Other"), 6) << "so may one to another module";
    module.source.setWord(4, 7);
    module.source.failure = -1010;
    EXPECT_EQ(module.array.SetIntegerValue("Width", 15), -1010);
    EXPECT_EQ(module.readError("Other"), -1010) << "a failure is told, not covered";
    module.source.failure = 0;
    EXPECT_EQ(module.integer("Other"), 7) << "and not kept";
    module.source.setWord(4, 8);
    module.array.setEventData(1, "", 0);
    EXPECT_EQ(module.integer("Other"), 8);
    module.array.detach(-1006);
    EXPECT_EQ(module.readError("Other"), -1006);
}

/// Where it is told what a write makes old, all else is kept.
TEST(KeptValue, WritesReachWhatDependsOnThem)
{
    const std::string told = "<AccessMode>RW</AccessMode><pInvalidator>Mode</pInvalidator>";
    const std::string bit =
        "<Address>0x10</Address><Length>4</Length><AccessMode>RW</AccessMode>"
        "<pPort>Device</pPort><Endianess>LittleEndian</Endianess></MaskedIntReg>";
    Module module(
        intReg("ModeReg", "0") + "<Integer Name=\"Mode\"><pValue>ModeReg</pValue></Integer>" +
            intReg("Alone", "4") + intReg("Told", "8", told) +
            "<IntSwissKnife Name=\"Twice\"><pVariable Name=\"A\">Told</pVariable>"
            "<Formula>A*2</Formula></IntSwissKnife>" +
            intReg("Farther", "0xC", "<pInvalidator>Twice</pInvalidator>") +
            intReg("Word", "0x10") + "<MaskedIntReg Name=\"Bit\"><Bit>4</Bit>" + bit +
            intReg("Deep", "0x14") + intReg("DeepMax", "0x18") +
            "<Integer Name=\"Above\"><pInvalidator>Mode</pInvalidator><pValue>Deep</pValue>"
            "<pMax>DeepMax</pMax></Integer>" +
            intReg("Lock", "0x1C") +
            intReg("Locked", "0x20", "<pIsLocked>Lock</pIsLocked><AccessMode>RW</AccessMode>") +
            intReg("Chosen", "0x30", "<pIndex Offset=\"4\">Mode</pIndex>") +
            "<Command Name=\"Go\"><pValue>Told</pValue><CommandValue>0</CommandValue></Command>",
        {"Mode", "Alone", "Told", "Twice", "Farther", "Word", "Bit", "Above", "Locked", "Chosen"});
    const auto known = [&](const std::string& name, std::int64_t value) {
        const int before = module.source.reads;
        EXPECT_EQ(module.integer(name.c_str()), value) << name;
        return module.source.reads == before;
    };
    const auto readAll = [&] {
        for (const char* name :
             {"Alone", "Told", "Twice", "Farther", "Word", "Bit", "Above", "Chosen"})
            module.integer(name);
        return module.array.GetInt("Above", nullptr)->GetMax(nullptr);
    };
    readAll();
    for (const std::uint64_t address : {4, 8, 0xC, 0x14, 0x18, 0x34})
        module.source.setWord(address, static_cast<std::uint32_t>(address));
    EXPECT_EQ(readAll(), 0) << "nobody told of it";
    EXPECT_EQ(module.array.SetIntegerValue("Mode", 1), 0);
    EXPECT_TRUE(known("Alone", 0));
    EXPECT_FALSE(known("Told", 8));
    EXPECT_TRUE(known("Twice", 16)) << "the register was read a moment ago";
    EXPECT_FALSE(known("Farther", 0xC)) << "invalidators pass on";
    EXPECT_FALSE(known("Above", 0x14)) << "what is below an invalidated feature is old, too";
    EXPECT_EQ(module.array.GetInt("Above", nullptr)->GetMax(nullptr), 0x18);
    EXPECT_FALSE(known("Chosen", 0x34)) << "another register is selected";
    EXPECT_EQ(module.array.SetIntegerValue("Bit", 1), 0);
    EXPECT_FALSE(known("Word", 16)) << "they share their bytes";
    EXPECT_EQ(module.array.SetIntegerValue("Word", 0), 0);
    EXPECT_FALSE(known("Bit", 0));
    EXPECT_TRUE(module.array.GetParam("Locked", nullptr)->IsWritable());
    EXPECT_EQ(module.array.SetIntegerValue("Lock", 1), 0);
    EXPECT_FALSE(module.array.GetParam("Locked", nullptr)->IsWritable());
    EXPECT_TRUE(known("Alone", 0));
    EXPECT_EQ(module.array.ExecuteCommand("Go"), 0);
    EXPECT_FALSE(known("Alone", 4)) << "few descriptions tell what a command changes";
}

} // namespace
