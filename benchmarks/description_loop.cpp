// Opens a description of a megabyte and 300 features: ours beside Aravis's node map.
//
//   description_loop [rounds] [description.xml]
//
// Prints JSON: medians of processor time in seconds, bytes of heap that one open map holds. A file
// takes the place of the description made here.
#include "params/param_array.h"

#include <arv.h>
#include <malloc.h>
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

namespace
{

constexpr int kFeatures = 300;

/// Nothing is read while a description is opened.
class NoDevice final : public genapi::FeatureSource
{
public:
    explicit NoDevice(std::string document) : document_(std::move(document)) {}
    ZelCamErr description(std::string* document) override
    {
        *document = document_;
        return ZelErr::kOk;
    }
    ZelCamErr read(std::uint64_t /*address*/, void* /*data*/, std::size_t /*size*/) override
    {
        return ZelErr::kGenTLIo;
    }
    ZelCamErr write(std::uint64_t /*address*/, const void* /*data*/, std::size_t /*size*/) override
    {
        return ZelErr::kGenTLIo;
    }

private:
    std::string document_;
};

/// Shapes and sizes of real descriptions: registers, masks, formulas, conditions, entries, texts.
std::string made()
{
    const std::string place = "<Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>"
                              "<Cachable>WriteThrough</Cachable><pInvalidator>Mode</pInvalidator>"
                              "<Sign>Unsigned</Sign><Endianess>BigEndian</Endianess>";
    std::string nodes;
    std::string listed;
    for (int i = 0; i < kFeatures; ++i) {
        const std::string n = std::to_string(i);
        const std::string address = "<Address>" + std::to_string(0x1000 + 16 * i) + "</Address>";
        const std::string text = "<ToolTip>What number " + n + " is for.</ToolTip><Description>" +
                                 std::string(300, 'x') + "</Description><DisplayName>Number " + n +
                                 "</DisplayName><Visibility>Expert</Visibility>";
        listed += "<pFeature>Feature" + n + "</pFeature>";
        nodes += "<IntReg Name=\"Register" + n + "\">" + address + place + "</IntReg>";
        for (const char* const bit : {"Available", "Locked", "Implemented"})
            nodes += "<MaskedIntReg Name=\"" + (bit + n) + "\">" + address + place + "<Bit>" +
                     std::to_string(i % 32) + "</Bit></MaskedIntReg>";
        nodes += "<IntSwissKnife Name=\"Max" + n + "\"><pVariable Name=\"A\">Register" + n +
                 "</pVariable><Formula>(A &gt; 5) ? (A * 3) : ((A &lt;&gt; 2) ? 7 : 0x1F)</Formula>"
                 "</IntSwissKnife>";
        const std::string conditions = "<pIsImplemented>Implemented" + n +
                                       "</pIsImplemented><pIsAvailable>Available" + n +
                                       "</pIsAvailable><pIsLocked>Locked" + n + "</pIsLocked>";
        if (i % 3 != 0) {
            nodes += "<Integer Name=\"Feature" + n + "\">" + text + conditions +
                     "<pValue>Register" + n + "</pValue><Min>0</Min><pMax>Max" + n +
                     "</pMax><Inc>1</Inc></Integer>";
            continue;
        }
        nodes += "<Enumeration Name=\"Feature" + n + "\">" + text + conditions;
        for (int entry = 0; entry < 8; ++entry)
            nodes += "<EnumEntry Name=\"Entry" + std::to_string(entry) + "\">" + text + "<Value>" +
                     std::to_string(entry) + "</Value></EnumEntry>";
        nodes += "<pValue>Register" + n + "</pValue></Enumeration>";
    }
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?><RegisterDescription ModelName=\"M\" "
           "VendorName=\"V\" StandardNameSpace=\"GEV\" SchemaMajorVersion=\"1\" "
           "SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\" MajorVersion=\"1\" "
           "MinorVersion=\"0\" SubMinorVersion=\"0\" ProductGuid=\"1\" VersionGuid=\"1\" "
           "xmlns=\"http://www.genicam.org/GenApi/Version_1_1\"><Category Name=\"Root\">" +
           listed + "</Category><Integer Name=\"Mode\"><Value>0</Value></Integer>" + nodes +
           "<Port Name=\"Device\"/></RegisterDescription>";
}

double now()
{
    timespec time = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

struct Cost {
    std::vector<double> seconds;
    std::size_t bytes = 0;

    double median()
    {
        std::sort(seconds.begin(), seconds.end());
        return seconds[seconds.size() / 2];
    }
};

/// `open` returns what closes it again.
void measure(Cost* cost, const std::function<std::function<void()>()>& open)
{
    const std::size_t before = mallinfo2().uordblks + mallinfo2().hblkhd;
    const double start = now();
    const std::function<void()> close = open();
    cost->seconds.push_back(now() - start);
    cost->bytes = mallinfo2().uordblks + mallinfo2().hblkhd - before;
    close();
}

} // namespace

int main(int count, char** arguments)
{
    const int rounds = count > 1 ? std::atoi(arguments[1]) : 15;
    std::string document = made();
    if (count > 2) {
        std::ostringstream text;
        text << std::ifstream(arguments[2], std::ios::binary).rdbuf();
        document = text.str();
    }
    NoDevice source(document);
    Cost ours;
    Cost rival;
    std::int32_t features = 0;
    for (int i = 0; i < rounds; ++i) {
        measure(&ours, [&] {
            auto* const array = new params::ParamArray;
            array->attach({&source});
            features = array->GetCount();
            return [array] { delete array; };
        });
        measure(&rival, [&] {
            ArvGc* const gc = arv_gc_new(nullptr, document.data(), document.size());
            return [gc] { g_object_unref(gc); };
        });
    }
    std::printf("{\"size\": %zu, \"features\": %d, \"ours\": %.6f, \"rival\": %.6f, "
                "\"our bytes\": %zu, \"rival bytes\": %zu}\n",
                document.size(), features, ours.median(), rival.median(), ours.bytes, rival.bytes);
    return EXIT_SUCCESS;
}
