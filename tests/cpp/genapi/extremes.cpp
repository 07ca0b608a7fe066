// Opens descriptions that are large or entangled on purpose, and tells what each of them costs.
//
//   zel_genapi_extremes [part of a name]
//
// One line each: processor time and heap of opening, the code, the time of the first use of every
// feature of a small sample. It ends with 0 when none took longer than a second to open.
#include "memory_source.h"
#include "params/param_array.h"

#include <malloc.h>
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>

namespace
{

constexpr std::size_t kLargest = std::size_t{16} << 20U;

double now()
{
    timespec time = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

std::string element(const std::string& tag, const std::string& text)
{
    return "<" + tag + ">" + text + "</" + tag + ">";
}

/// `piece(i)` until the document is as large as it may be.
std::string fill(const std::function<std::string(int)>& piece, int most = 10000000)
{
    std::string text;
    for (int i = 0; i < most; ++i) {
        const std::string next = piece(i);
        if (text.size() + next.size() + 2000 > kLargest)
            break;
        text += next;
    }
    return text;
}

std::string named(const std::string& kind, const std::string& name, const std::string& inside)
{
    return "<" + kind + " Name=\"" + name + "\">" + inside + "</" + kind + ">";
}

std::string n(int i) { return "N" + std::to_string(i); }

const std::string kPlace = "<Address>0</Address><Length>4</Length><AccessMode>RW</AccessMode>"
                           "<pPort>Device</pPort>";

std::string integer(int i, const std::string& more = "<Value>1</Value>")
{
    return named("Integer", n(i), more);
}

std::string integers(int count, const std::function<std::string(int)>& inside)
{
    return fill([&](int i) { return integer(i, inside(i)); }, count);
}

/// Names that the standard library's hash tells not apart: blocks of 8 characters in pairs, in
/// which a difference of the highest bit cancels out.
class AlikeNames
{
public:
    AlikeNames()
    {
        while (pairs_.size() < 15 * 2) {
            const std::uint64_t block = random_();
            const std::uint64_t other = unmixed(mixed(block) ^ std::uint64_t{1} << 63U);
            bool isText = true;
            for (unsigned i = 0; i < 64; i += 8)
                isText = isText && isPlain(block >> i & 0xFFU) && isPlain(other >> i & 0xFFU);
            if (isText)
                pairs_.push_back({block, other});
        }
    }

    std::string name(int number) const
    {
        std::string text;
        for (std::size_t i = 0; i < pairs_.size(); ++i) {
            const bool isOther = (number >> (i / 2) & 1) != 0;
            const std::uint64_t block = isOther ? pairs_[i].second : pairs_[i].first;
            text.append(reinterpret_cast<const char*>(&block), sizeof block);
        }
        return text;
    }

private:
    /// Nothing that XML or a reader of it would look at.
    static bool isPlain(std::uint64_t c)
    {
        return c > 0 && c < 127 && (c < '\t' || c > ' ') && c != '"' && c != '&' && c != '<';
    }

    static constexpr std::uint64_t kFactor = 0xc6a4a7935bd1e995ULL;

    static std::uint64_t mixed(std::uint64_t block)
    {
        block *= kFactor;
        return (block ^ block >> 47U) * kFactor;
    }
    static std::uint64_t unmixed(std::uint64_t block)
    {
        std::uint64_t inverse = kFactor;
        for (int i = 0; i < 6; ++i)
            inverse *= 2 - kFactor * inverse;
        block *= inverse;
        return (block ^ block >> 47U) * inverse;
    }

    std::mt19937_64 random_;
    std::vector<std::pair<std::uint64_t, std::uint64_t>> pairs_;
};

struct Extreme {
    const char* name;
    std::function<std::string()> nodes;
};

const Extreme kExtremes[] = {
    {"tiny elements", [] { return fill([](int) { return "<a/>               "; }); }},
    {"tiny nodes", [] { return fill([](int i) { return "<Node Name=\"" + n(i) + "\"/>"; }); }},
    {"tiny integers", [] { return fill([](int i) { return integer(i, ""); }, 149000); }},
    {"texts in pieces",
     [] { return integer(0, element("ToolTip", fill([](int) { return "a<b/>            "; }))); }},
    {"attributes",
     [] {
         return "<Integer Name=\"N\" " +
                fill([](int i) { return "a" + std::to_string(i) + "=\"\" "; }) + "/>";
     }},
    {"many features of one category",
     [] {
         return integer(0) +
                named("Category", "C", fill([](int) { return "<pFeature>N0</pFeature>"; }, 490000));
     }},
    {"categories within categories",
     [] {
         return fill(
             [](int i) {
                 std::string inside;
                 for (int k = 1; k <= 30 && i + k < 90; ++k)
                     inside += element("pFeature", n(i + k));
                 return named("Category", n(i), inside);
             },
             90);
     }},
    {"invalidators",
     [] {
         return integers(300, [](int) {
             std::string inside;
             for (int k = 0; k < 300; ++k)
                 inside += element("pInvalidator", n(k));
             return inside + "<Value>1</Value>";
         });
     }},
    {"conditions of a structure entry",
     [] {
         std::string links;
         for (int i = 0; i < 150000; ++i)
             links += "<pInvalidator>N0</pInvalidator>";
         return integer(0) + "<StructReg>" + kPlace + links +
                named("StructEntry", "S",
                      fill([](int) { return "<pIsLocked>N0</pIsLocked>"; }, 250000)) +
                "</StructReg>";
     }},
    {"entries of a structure",
     [] {
         return "<StructReg>" + kPlace +
                fill([](int i) { return named("StructEntry", n(i), "<Bit>1</Bit>"); }, 149000) +
                "</StructReg>";
     }},
    {"an enumeration of many entries",
     [] {
         return named(
             "Enumeration", "N0",
             fill([](int i) { return named("EnumEntry", n(i), "<Value>1</Value>"); }, 100000) +
                 "<Value>1</Value>");
     }},
    {"variables that name entries",
     [] {
         return named(
                    "Enumeration", "E",
                    fill([](int i) { return named("EnumEntry", n(i), "<Value>1</Value>"); }, 9000) +
                        "<Value>1</Value>") +
                named("IntSwissKnife", "N0",
                      fill(
                          [](int i) {
                              return "<pVariable Name=\"E.Entry." + n(i) + "\">E</pVariable>";
                          },
                          100000) +
                          "<Formula>1</Formula>");
     }},
    {"chains that share their ends",
     [] {
         return integers(90, [](int i) {
             return element("pMin", n(i + 1)) + element("pMax", n(i + 1)) +
                    element("pValue", n(i + 1));
         });
     }},
    {"selectors of selectors",
     [] {
         return integers(95, [](int i) {
             std::string inside = "<Value>1</Value>";
             for (int k = i + 1; k < 95; ++k)
                 inside += element("pSelected", n(k));
             return inside;
         });
     }},
    {"a large formula",
     [] {
         return named("IntSwissKnife", "N0",
                      element("Formula", fill([](int) { return "1+"; }) + "1"));
     }},
    {"expressions of expressions",
     [] {
         return named("IntSwissKnife", "N0",
                      fill(
                          [](int i) {
                              const std::string next = "X" + std::to_string(i + 1);
                              return "<Expression Name=\"X" + std::to_string(i) + "\">" + next +
                                     "+" + next + "</Expression>";
                          },
                          60) +
                          "<Expression Name=\"X60\">1 +" + std::string(1000000, ' ') +
                          "1</Expression><Formula>X0</Formula>");
     }},
    {"a formula of many names",
     [] {
         return integer(1) +
                named("IntSwissKnife", "N0",
                      fill(
                          [](int i) {
                              return "<pVariable Name=\"V" + std::to_string(i) +
                                     "\">N1</pVariable>";
                          },
                          300000) +
                          element("Formula", fill([](int) { return "V299999+"; }, 19000) + "1"));
     }},
    {"valid values",
     [] { return integer(0, element("ValidValueSet", fill([](int) { return "1;"; }, 499000))); }},
    {"names that hash alike",
     [] {
         const AlikeNames names;
         return fill([&](int i) { return named("Node", names.name(i), ""); }, 32768);
     }},
    {"groups", [] { return fill([](int) { return "<Group>"; }, 900000); }},
};

double use(params::ParamArray& array)
{
    const double start = now();
    ZelCamErr err = 0;
    for (const char* const name : {"N0", "N1", "S"}) {
        array.SetIntegerValue(name, array.GetIntegerValue(name, &err));
        array.GetEnumValueStr(name, &err);
    }
    return now() - start;
}

} // namespace

int main(int count, char** arguments)
{
    const std::string wanted = count > 1 ? arguments[1] : "";
    double longest = 0.0;
    for (const Extreme& extreme : kExtremes) {
        if (std::string(extreme.name).find(wanted) == std::string::npos)
            continue;
        const std::string document = describe(extreme.nodes(), {"N0"});
        MemorySource source(document);
        const std::size_t before = mallinfo2().uordblks + mallinfo2().hblkhd;
        params::ParamArray array;
        const double start = now();
        const ZelCamErr code = array.attach({&source});
        const double opening = now() - start;
        const std::size_t after = mallinfo2().uordblks + mallinfo2().hblkhd;
        std::printf("%-34s %5.1f MB: %7.1f ms, %4zu MB, code %d, used in %.1f ms\n", extreme.name,
                    static_cast<double>(document.size()) / 1e6, opening * 1e3,
                    (after - before) >> 20U, code, use(array) * 1e3);
        std::fflush(stdout);
        longest = std::max(longest, opening);
    }
    return longest < 1.0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
