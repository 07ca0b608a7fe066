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
            intReg("Told", "0x44", "<pInvalidator>Polled</pInvalidator>"),
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
    for (const char* name : {"Fleeting", "Polled", "OnFleeting", "Sum", "Chosen", "Asking", "Told"})
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

} // namespace
