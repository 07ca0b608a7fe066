// Damages descriptions at random and looks whether loading and using them survives it.
//
//   zel_genapi_mutations [documents] [seed]
//
// Bits are flipped, tags cut out, names exchanged so that references form circles or lead nowhere,
// texts cut off, nested, or made huge. What still loads is walked: every value read and written. It
// ends with 0, a count and the longest time that one document took to open, or not at all: run it
// with the address sanitizer.
#include "memory_source.h"
#include "params/param_array.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>

namespace
{

std::string original()
{
    std::string nodes;
    std::vector<std::string> features;
    for (int i = 0; i < 20; ++i) {
        const std::string n = std::to_string(i);
        nodes += intReg("Reg" + n, std::to_string(16 * i));
        nodes += "<Integer Name=\"Int" + n + "\"><pIsAvailable>Reg0</pIsAvailable><pValue>Reg" + n +
                 "</pValue><Min>0</Min><pMax>Max" + n + "</pMax><Inc>2</Inc></Integer>";
        nodes += "<IntSwissKnife Name=\"Max" + n + "\"><pVariable Name=\"A\">Reg" + n +
                 "</pVariable><pVariable Name=\"B.Max\">Reg1</pVariable>"
                 "<Formula>(A &gt; 2) ? A*3 : B.Max/7</Formula></IntSwissKnife>";
        nodes += "<Converter Name=\"Conv" + n +
                 "\"><FormulaTo>FROM*10</FormulaTo><FormulaFrom>"
                 "TO/10</FormulaFrom><pValue>Reg" +
                 n + "</pValue></Converter>";
        nodes += "<Float Name=\"Float" + n + "\"><pValue>Conv" + n + "</pValue></Float>";
        nodes += "<Enumeration Name=\"Enum" + n +
                 "\"><EnumEntry Name=\"One\"><Value>1</Value>"
                 "</EnumEntry><EnumEntry Name=\"Two\"><pIsImplemented>Reg1</pIsImplemented>"
                 "<Value>2</Value></EnumEntry><pValue>Reg" +
                 n + "</pValue></Enumeration>";
        nodes += "<StructReg><Address>64</Address><Length>4</Length><AccessMode>RW</AccessMode>"
                 "<pPort>Device</pPort><StructEntry Name=\"Low" +
                 n + "\"><LSB>0</LSB><MSB>7</MSB></StructEntry><StructEntry Name=\"High" + n +
                 "\"><pIsLocked>Int" + n + "</pIsLocked><Bit>9</Bit></StructEntry></StructReg>";
        nodes += "<Integer Name=\"Pick" + n +
                 "\"><pIndex>Reg2</pIndex><pValueIndexed Index=\"1\">Low" + n +
                 "</pValueIndexed><ValueDefault>3</ValueDefault></Integer>";
        nodes += "<StringReg Name=\"Text" + n +
                 "\"><pAddress>Reg1</pAddress><Address>0x100</Address>"
                 "<Length>16</Length><AccessMode>RW</AccessMode><pPort>Events</pPort></StringReg>";
        nodes += "<Category Name=\"Cat" + n + "\"><pFeature>Int" + n +
                 "</pFeature><pFeature>Float" + n + "</pFeature><pFeature>Enum" + n +
                 "</pFeature><pFeature>Text" + n + "</pFeature><pFeature>Pick" + n +
                 "</pFeature><pFeature>High" + n + "</pFeature></Category>";
        features.push_back("Cat" + n);
    }
    return describe(nodes + "<Port Name=\"Events\"><EventID>9</EventID></Port>", features);
}

/// The text between `open` and the next `close` after a random position.
bool pick(const std::string& text, std::mt19937& random, char open, char close, std::size_t* start,
          std::size_t* end)
{
    *start = text.find(open, random() % text.size());
    *end = *start == std::string::npos ? *start : text.find(close, *start + 1);
    return *end != std::string::npos;
}

void mutate(std::string* text, std::mt19937& random)
{
    std::size_t start = 0;
    std::size_t end = 0;
    switch (random() % 9) {
    case 0:
        (*text)[random() % text->size()] ^= static_cast<char>(1U << (random() % 8));
        break;
    case 1:
        text->erase(random() % text->size(), 1 + random() % 40);
        break;
    case 2: // a tag
        if (pick(*text, random, '<', '>', &start, &end))
            text->erase(start, end - start + 1);
        break;
    case 3: { // a node's name or a reference put in place of another
        std::size_t other = 0;
        std::size_t otherEnd = 0;
        if (pick(*text, random, '>', '<', &start, &end) &&
            pick(*text, random, '>', '<', &other, &otherEnd))
            text->replace(start + 1, end - start - 1,
                          text->substr(other + 1, otherEnd - other - 1));
        break;
    }
    case 4: { // a number that nobody expects
        const char* const numbers[] = {"-1",
                                       "0",
                                       "9223372036854775807",
                                       "0xFFFFFFFFFFFFFFFF",
                                       "NaN",
                                       "1e400",
                                       "",
                                       "64",
                                       "1/0",
                                       "A%0",
                                       "((A"};
        if (pick(*text, random, '>', '<', &start, &end))
            text->replace(start + 1, end - start - 1, numbers[random() % 11]);
        break;
    }
    case 5: // the end of it
        text->resize(random() % text->size());
        break;
    case 6: { // a formula that nests or goes on
        std::string formula = "A";
        const bool isDeep = random() % 2 == 0;
        for (auto levels = random() % 5000; levels-- > 0;)
            formula = isDeep && levels < 2000 ? "(" + formula + ")" : formula + "+A";
        const std::size_t at = text->find("<Formula>", random() % text->size());
        if (at != std::string::npos)
            text->insert(at + 9, formula + (random() % 2 == 0 ? "&lt;" : "|"));
        break;
    }
    case 7: { // much of one thing
        if (!pick(*text, random, '<', '>', &start, &end))
            break;
        const std::string piece = text->substr(start, random() % 400);
        std::string many;
        for (auto count = random() % 3000; count-- > 0;)
            many += piece;
        text->insert(start, many);
        break;
    }
    default:
        if (pick(*text, random, '"', '"', &start, &end))
            text->replace(start + 1, end - start - 1, "Reg" + std::to_string(random() % 20));
        break;
    }
}

void use(params::ParamArray& array)
{
    ZelCamErr err = 0;
    const char event[32] = {};
    array.setEventData(9, event, sizeof event);
    for (std::int32_t i = 0; i < array.GetCount(); ++i) {
        ZelGenParam::Param* const param = array.GetParamByIndex(i, &err);
        const char* const name = param->GetName();
        param->IsWritable();
        array.SetIntegerValue(name, array.GetIntegerValue(name, &err) + 2);
        array.SetFloatValue(name, array.GetFloatValue(name, &err) * 1.5);
        array.SetEnumValueStr(name, "Two");
        array.GetEnumValueStr(name, &err);
        array.SetStringValue(name, array.GetStringValue(name, &err));
        if (ZelGenParam::Int* const integer = array.GetInt(name, &err))
            integer->GetMax(&err);
        if (ZelGenParam::Float* const real = array.GetFloat(name, &err))
            real->GetMax(&err);
    }
}

} // namespace

int main(int count, char** arguments)
{
    const int documents = count > 1 ? std::atoi(arguments[1]) : 1000;
    std::mt19937 random(count > 2 ? static_cast<unsigned>(std::atoi(arguments[2])) : 1U);
    const std::string document = original();
    int loaded = 0;
    auto longest = std::chrono::steady_clock::duration::zero();
    params::ParamArray array;
    for (int i = 0; i < documents; ++i) {
        std::string text = document;
        for (auto step = random() % 6; step-- > 0;)
            mutate(&text, random);
        MemorySource source(text);
        const auto start = std::chrono::steady_clock::now();
        const bool isLoaded = array.attach({&source}) == ZelErr::kOk;
        longest = std::max(longest, std::chrono::steady_clock::now() - start);
        if (!isLoaded && array.GetCount() != 0) {
            std::fprintf(stderr, "document %d: refused, yet there are features\n", i);
            return EXIT_FAILURE;
        }
        loaded += isLoaded ? 1 : 0;
        use(array);
        array.detach(ZelErr::kGenTLInvalidHandle);
    }
    std::fprintf(stderr, "%d documents, %d loaded, at most %lld ms to open one\n", documents,
                 loaded,
                 static_cast<long long>(
                     std::chrono::duration_cast<std::chrono::milliseconds>(longest).count()));
    return EXIT_SUCCESS;
}
