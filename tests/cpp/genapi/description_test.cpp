// Which descriptions are taken, and that others leave nothing behind.
#include "attached_module.h"
#include "genapi/description_parser.h"
#include "memory_source.h"
#include "params/param_array.h"

#include <gtest/gtest.h>
#include <zlib.h>

namespace
{

ZelCamErr parse(const std::string& document, std::string* why)
{
    genapi::Description description;
    std::ptrdiff_t place = -1;
    const ZelCamErr result = genapi::parseDescription(document, &description, why, &place);
    *why = genapi::lineAt(document, place) + *why;
    EXPECT_EQ(result == ZelErr::kOk, !description.nodes.empty()) << "a partial description";
    return result;
}

std::string repeated(int count, const std::function<std::string(int)>& make)
{
    std::string text;
    for (int i = 0; i < count; ++i)
        text += make(i);
    return text;
}

/// The text with a zero before or behind every byte.
std::string utf16(const std::string& text, int before, int behind)
{
    std::string wide;
    for (const char c : text)
        wide += std::string(static_cast<std::size_t>(before), '\0') + c +
                std::string(static_cast<std::size_t>(behind), '\0');
    return wide;
}

struct BrokenCase {
    const char* name;
    std::string document;
    std::string why;
};

std::vector<BrokenCase> brokenDescriptions()
{
    const auto n = [](int i) { return "N" + std::to_string(i); };
    const std::string good = describe(intReg("A", "0"), {"A"});
    return {
        {"empty text", " ", "well-formed"},
        {"cut off", good.substr(0, good.size() - 30), "well-formed"},
        {"another root", "<Something/>", "root element"},
        {"no root category", "<RegisterDescription><Port Name=\"Device\"/></RegisterDescription>",
         "root category"},
        {"entities",
         "<?xml version=\"1.0\"?><!DOCTYPE x [<!ENTITY a \"aaaa\"><!ENTITY b \"&a;&a;\">]>" +
             good.substr(good.find("<RegisterDescription")),
         "well-formed"},
        {"two of one name", describe(intReg("A", "0") + intReg("A", "4"), {"A"}), "named A"},
        {"value of itself", describe("<Integer Name=\"A\"><pValue>A</pValue></Integer>", {"A"}),
         "depends on itself"},
        {"circle of values",
         describe("<Integer Name=\"A\"><pValue>B</pValue></Integer>"
                  "<IntSwissKnife Name=\"B\"><pVariable Name=\"V\">A</pVariable>"
                  "<Formula>V</Formula></IntSwissKnife>",
                  {"A"}),
         "depends on itself"},
        {"circle through an address",
         describe("<IntReg Name=\"A\"><IntSwissKnife><pVariable Name=\"V\">A</pVariable>"
                  "<Formula>V</Formula></IntSwissKnife><Length>4</Length><pPort>Device</pPort>"
                  "</IntReg>",
                  {"A"}),
         "depends on"},
        {"available if available",
         describe("<Integer Name=\"A\"><pIsAvailable>B</pIsAvailable><pValue>B</pValue></Integer>"
                  "<Integer Name=\"B\"><pValue>C</pValue></Integer>"
                  "<IntSwissKnife Name=\"C\"><pVariable Name=\"V\">B</pVariable>"
                  "<Formula>V</Formula></IntSwissKnife>",
                  {"A"}),
         "depends on"},
        {"maximum of itself",
         describe("<Integer Name=\"A\"><Value>1</Value><pMax>B</pMax></Integer>"
                  "<IntSwissKnife Name=\"B\"><pVariable Name=\"A.Max\">A</pVariable>"
                  "<Formula>A.Max</Formula></IntSwissKnife>",
                  {"A"}),
         "depends on"},
        {"category in itself",
         describe("<Category Name=\"C\"><pFeature>D</pFeature></Category>"
                  "<Category Name=\"D\"><pFeature>C</pFeature></Category>",
                  {"C"}),
         "category"},
        {"selects itself",
         describe("<Integer Name=\"A\"><Value>1</Value><pSelected>A</pSelected></Integer>", {"A"}),
         "selector"},
        {"chain without end",
         describe(repeated(5000,
                           [&](int i) {
                               return "<Integer Name=\"" + n(i) + "\"><pValue>" + n(i + 1) +
                                      "</pValue></Integer>";
                           }) +
                      intReg(n(5000), "0"),
                  {"N0"}),
         "depends on"},
        {"sum that doubles with every step",
         describe(repeated(60,
                           [&](int i) {
                               return "<IntSwissKnife Name=\"" + n(i) +
                                      "\"><pVariable Name=\"L\">" + n(i + 1) +
                                      "</pVariable><pVariable Name=\"R\">" + n(i + 1) +
                                      "</pVariable><Formula>L+R</Formula></IntSwissKnife>";
                           }) +
                      intReg(n(60), "0"),
                  {"N0"}),
         "depends on"},
        {"nested too deeply",
         describe(repeated(300, [](int) { return "<Group>"; }) +
                      repeated(300, [](int) { return "</Group>"; }),
                  {}),
         ""},
        {"too large", good + std::string(std::size_t{17} << 20, ' '), "too large"},
    };
}

TEST(Description, RefusesWhatIsBroken)
{
    for (const BrokenCase& broken : brokenDescriptions()) {
        std::string why;
        EXPECT_EQ(parse(broken.document, &why), -40201) << broken.name;
        EXPECT_NE(why.find(broken.why), std::string::npos) << broken.name << ": " << why;
        MemorySource source(broken.document);
        params::ParamArray array;
        testing::internal::CaptureStderr();
        EXPECT_EQ(array.attach({&source}), -40201) << broken.name;
        EXPECT_NE(testing::internal::GetCapturedStderr().find(why), std::string::npos);
        EXPECT_EQ(array.GetCount(), 0) << broken.name;
    }
}

/// What makes no sense is not available; all else is used.
TEST(Description, LeavesOutOnlyTheBrokenNode)
{
    const std::string reg = "<Length>4</Length><pPort>Device</pPort>";
    const struct {
        const char* name;
        std::string nodes;
    } cases[] = {
        {"empty reference", "<Integer Name=\"A\"><pValue/></Integer>"},
        {"no such limit", "<Integer Name=\"A\"><Value>1</Value><pMax>X</pMax></Integer>"},
        {"no such entry", "<Enumeration Name=\"E\"><EnumEntry Name=\"One\"><Value>1</Value>"
                          "</EnumEntry><Value>1</Value></Enumeration><IntSwissKnife Name=\"A\">"
                          "<pVariable Name=\"V.Entry.Two\">E</pVariable><Formula>1</Formula>"
                          "</IntSwissKnife>"},
        {"no such condition of the only entry",
         "<Enumeration Name=\"A\"><EnumEntry Name=\"One\"><pIsAvailable>X</pIsAvailable>"
         "<Value>1</Value></EnumEntry><Value>1</Value></Enumeration>"},
        {"minimum is no number", "<Integer Name=\"A\"><Value>1</Value><Min>few</Min></Integer>"},
        {"variable without a name", "<IntSwissKnife Name=\"A\"><pVariable>Good</pVariable>"
                                    "<Formula>1</Formula></IntSwissKnife>"},
        {"entry without value", "<Enumeration Name=\"A\"><EnumEntry Name=\"One\"/>"
                                "<Value>1</Value></Enumeration>"},
        {"integer of 9 bytes", "<IntReg Name=\"A\"><Address>0</Address><Length>9</Length>"
                               "<pPort>Device</pPort></IntReg>"},
        {"text of a terabyte", "<StringReg Name=\"A\"><Address>0</Address>"
                               "<Length>0x10000000000</Length><pPort>Device</pPort></StringReg>"},
        {"no port", "<IntReg Name=\"A\"><Address>0</Address><Length>4</Length></IntReg>"},
        {"bit 64",
         "<MaskedIntReg Name=\"A\"><Address>0</Address><Bit>64</Bit>" + reg + "</MaskedIntReg>"},
        {"entry of a broken structure",
         "<StructReg Comment=\"s\"><pAddress>X</pAddress>" + reg +
             "<StructEntry Name=\"A\"><Bit>1</Bit></StructEntry></StructReg>"},
        {"computed from one that is broken",
         "<Integer Name=\"B\"><pValue>X</pValue></Integer><IntSwissKnife Name=\"A\">"
         "<pVariable Name=\"V\">B</pVariable><Formula>V</Formula></IntSwissKnife>"},
    };
    for (const auto& test : cases) {
        Module module(intReg("Good", "0") + test.nodes, {"Nowhere", "Good", "A"});
        ZelCamErr err = 0;
        EXPECT_EQ(module.array.SetIntegerValue("Good", 5), 0) << test.name;
        EXPECT_EQ(module.integer("Good"), 5) << test.name;
        ZelGenParam::Param* const broken = module.array.GetParam("A", &err);
        ASSERT_NE(broken, nullptr) << test.name;
        EXPECT_FALSE(broken->IsAvailable() || broken->IsWritable()) << test.name;
        EXPECT_NE(module.array.SetIntegerValue("A", 1), 0) << test.name;
        EXPECT_EQ(module.array.GetCount(), 2) << "what is listed but not there is passed over";
    }
}

TEST(Description, TakesWhatRealCamerasHave)
{
    const std::string good = describe(intReg("A", "0"), {"A"});
    const std::string text = "<Integer Name=\"A\">\n <pValue>\n R \n</pValue><ToolTip>";
    const struct {
        const char* name;
        std::string document;
    } cases[] = {
        {"aliases, invalidators and selectors that lead nowhere",
         describe("<Integer Name=\"A\"><pInvalidator>X</pInvalidator><Value>1</Value>"
                  "<pAlias>X</pAlias><pSelected>X</pSelected></Integer>",
                  {"A"})},
        {"elements of an older bus",
         describe("<ConfRom Name=\"Rom\"><Unit>0</Unit><Address>0</Address><pPort>Device</pPort>"
                  "</ConfRom><IntKey Name=\"Key\"><p1212Parser>Rom</p1212Parser><Key>3</Key>"
                  "</IntKey><SmartFeature Name=\"S\"><FeatureID>0</FeatureID></SmartFeature>" +
                      intReg("A", "0"),
                  {"A"})},
        {"characters of two bytes, low first", utf16(good, 0, 1)},
        {"characters of two bytes, high first", "\xFE\xFF" + utf16(good, 1, 0)},
        {"zeros behind the text", good + std::string(500, '\0')},
        {"padded references", describe(text + "x</ToolTip></Integer>" + intReg("R", "0"), {" A "})},
        {"bytes that are no UTF-8",
         describe(text + "\xB5s</ToolTip></Integer>" + intReg("R", "0"), {"A"})},
        {"ranges that depend on each other's values",
         describe("<Integer Name=\"A\"><Value>1</Value><pMax>AMax</pMax></Integer>"
                  "<Integer Name=\"B\"><Value>1</Value><pMax>BMax</pMax></Integer>"
                  "<IntSwissKnife Name=\"AMax\"><pVariable Name=\"B\">B</pVariable>"
                  "<Formula>100-B</Formula></IntSwissKnife>"
                  "<IntSwissKnife Name=\"BMax\"><pVariable Name=\"A\">A</pVariable>"
                  "<Formula>100-A</Formula></IntSwissKnife>",
                  {"A", "B"})},
        {"groups, structures and unknown elements",
         describe("<Group Comment=\"g\"><Extension><Any/></Extension><StructReg Comment=\"s\">"
                  "<Address>0</Address><Length>4</Length><pPort>Device</pPort>"
                  "<StructEntry Name=\"A\"><Bit>3</Bit></StructEntry></StructReg></Group>",
                  {"A"})},
    };
    for (const auto& test : cases) {
        std::string why;
        EXPECT_EQ(parse(test.document, &why), 0) << test.name << ": " << why;
        MemorySource source(test.document);
        params::ParamArray array;
        EXPECT_EQ(array.attach({&source}), 0) << test.name;
        ZelCamErr err = -1;
        array.GetIntegerValue("A", &err);
        EXPECT_EQ(err, 0) << test.name;
    }
}

/// Appends `size` bytes, little-endian.
void append(std::string* bytes, std::uint64_t value, int size)
{
    for (int i = 0; i < size; ++i)
        *bytes += static_cast<char>(value >> (8 * i));
}

/// An archive of one member as a camera has it; `method` 0 or 8.
std::string zip(const std::string& name, const std::string& text, int method)
{
    std::string packed = text;
    if (method == 8) {
        packed.resize(text.size() + 1024);
        z_stream stream = {};
        EXPECT_EQ(deflateInit2(&stream, 9, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY), Z_OK);
        stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
        stream.avail_in = static_cast<uInt>(text.size());
        stream.next_out = reinterpret_cast<Bytef*>(packed.data());
        stream.avail_out = static_cast<uInt>(packed.size());
        EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
        packed.resize(stream.total_out);
        deflateEnd(&stream);
    }
    std::string common;
    append(&common, 20, 2);
    append(&common, 0, 2);
    append(&common, static_cast<std::uint64_t>(method), 2);
    append(&common, 0, 4);
    append(&common,
           crc32(0, reinterpret_cast<const Bytef*>(text.data()), static_cast<uInt>(text.size())),
           4);
    append(&common, packed.size(), 4);
    append(&common, text.size(), 4);
    append(&common, name.size(), 2);
    append(&common, 0, 2);
    std::string archive = "PK\x03\x04" + common + name + packed;
    const std::size_t directory = archive.size();
    archive += "PK\x01\x02";
    append(&archive, 20, 2);
    archive += common;
    archive += std::string(14, '\0') + name;
    const std::size_t directorySize = archive.size() - directory;
    archive += std::string("PK\x05\x06\0\0\0\0", 8);
    append(&archive, 1, 2);
    append(&archive, 1, 2);
    append(&archive, directorySize, 4);
    append(&archive, directory, 4);
    append(&archive, 0, 2);
    return archive;
}

TEST(Description, ComesOutOfArchives)
{
    const std::string text = describe(intReg("A", "0"), {"A"});
    std::string why;
    for (const int method : {0, 8}) {
        const std::string archive = zip("camera.XML", text, method);
        EXPECT_EQ(parse(archive, &why), 0) << why;
        EXPECT_EQ(parse(archive + std::string(700, '\0'), &why), 0) << "padded register space";
        for (std::size_t size = 4; size < archive.size(); ++size)
            EXPECT_EQ(parse(archive.substr(0, size), &why), -40201) << "cut at " << size;
        std::string damaged = archive;
        damaged[archive.size() / 3] ^= 0x10;
        EXPECT_EQ(parse(damaged, &why), -40201) << "the checksum must tell";
    }
    EXPECT_EQ(parse(zip("a.xml", std::string(std::size_t{17} << 20, ' '), 8), &why), -40201)
        << "small archive, large content";
}

} // namespace
