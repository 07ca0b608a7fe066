// Random descriptions over random memory, against another node map: values, then writes and the
// bytes that they leave.
#include "attached_module.h"

#include <arv.h>
#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace
{

/// The registers of a MemorySource as a device of the other node map.
struct Device {
    ArvDevice parent;
    std::vector<std::uint8_t>* memory;
};
struct DeviceClass {
    ArvDeviceClass parent;
};

gboolean readMemory(ArvDevice* device, guint64 address, guint32 size, void* buffer, GError** error)
{
    const auto& memory = *reinterpret_cast<Device*>(device)->memory;
    if (address > memory.size() || memory.size() - address < size) {
        g_set_error(error, ARV_DEVICE_ERROR, ARV_DEVICE_ERROR_INVALID_PARAMETER, "no such memory");
        return FALSE;
    }
    std::memcpy(buffer, memory.data() + address, size);
    return TRUE;
}

gboolean writeMemory(ArvDevice* device, guint64 address, guint32 size, void* buffer, GError** error)
{
    std::uint8_t present[4096];
    if (size > sizeof present || readMemory(device, address, size, present, error) == FALSE)
        return FALSE;
    std::memcpy(reinterpret_cast<Device*>(device)->memory->data() + address, buffer, size);
    return TRUE;
}

GType deviceType()
{
    static const GType type = [] {
        GTypeQuery parent = {};
        g_type_query(ARV_TYPE_DEVICE, &parent);
        return g_type_register_static_simple(
            ARV_TYPE_DEVICE, "ZelTestDevice", static_cast<guint>(parent.class_size),
            [](gpointer made, gpointer) {
                static_cast<ArvDeviceClass*>(made)->read_memory = readMemory;
                static_cast<ArvDeviceClass*>(made)->write_memory = writeMemory;
            },
            sizeof(Device), nullptr, static_cast<GTypeFlags>(0));
    }();
    return type;
}

/// Nodes whose values depend on each other and on registers; every name is a feature.
class Document
{
public:
    explicit Document(std::uint32_t seed) : random_(seed)
    {
        for (int i = 0; i < 6; ++i)
            addRegister();
        for (int i = 0; i < 14; ++i)
            addAbove();
    }

    std::string nodes;
    std::vector<std::string> integers;
    std::vector<std::string> floats;
    std::vector<std::string> enumerations;

private:
    std::uint32_t below(std::uint32_t limit)
    {
        return static_cast<std::uint32_t>(random_() % limit);
    }
    std::string number(std::uint32_t limit) { return std::to_string(below(limit)); }
    std::string name() { return "N" + std::to_string(count_++); }
    const std::string& any(const std::vector<std::string>& names)
    {
        return names[below(static_cast<std::uint32_t>(names.size()))];
    }
    static std::string element(const std::string& tag, const std::string& text)
    {
        return "<" + tag + ">" + text + "</" + tag + ">";
    }

    std::string place(std::uint32_t length)
    {
        std::string text = element("Address", std::to_string(8 * below(64)));
        if (!integers.empty() && below(4) == 0) {
            nodes += "<IntSwissKnife Name=\"A" + std::to_string(count_) +
                     "\"><pVariable Name=\"V\">" + any(integers) +
                     "</pVariable><Formula>(V &amp; 7) * 8</Formula></IntSwissKnife>";
            text += element("pAddress", "A" + std::to_string(count_));
        }
        return text + element("Length", std::to_string(length)) + element("AccessMode", "RW") +
               element("pPort", "Device") + element("Cachable", "NoCache");
    }

    void addRegister()
    {
        const std::string made = name();
        const std::string order = below(2) == 0 ? "LittleEndian" : "BigEndian";
        const std::string sign = element("Sign", below(2) == 0 ? "Signed" : "Unsigned");
        if (below(4) == 0) {
            nodes += "<FloatReg Name=\"" + made + "\">" + place(below(2) == 0 ? 4 : 8) +
                     element("Endianess", order) + "</FloatReg>";
            floats.push_back(made);
        } else if (below(2) == 0) {
            const std::uint32_t low = below(32);
            const std::uint32_t high = low + below(32 - low);
            const bool isBig = order == "BigEndian";
            nodes += "<MaskedIntReg Name=\"" + made + "\">" + place(4) +
                     element("LSB", std::to_string(isBig ? high : low)) +
                     element("MSB", std::to_string(isBig ? low : high)) + sign +
                     element("Endianess", order) + "</MaskedIntReg>";
            integers.push_back(made);
        } else {
            nodes += "<IntReg Name=\"" + made + "\">" + place(1U << below(4)) + sign +
                     element("Endianess", order) + "</IntReg>";
            integers.push_back(made);
        }
    }

    /// Every operation in parentheses: ranks are another matter.
    std::string formula(bool isInteger, int depth)
    {
        if (depth == 0 || below(5) == 0)
            return below(2) == 0   ? "A"
                   : below(2) == 0 ? "B"
                                   : number(1000) + (isInteger ? "" : ".0");
        const auto part = [&] { return "(" + formula(isInteger, depth - 1) + ")"; };
        static const char* const kOfBoth[] = {"+", "-"};
        static const char* const kOfIntegers[] = {"&amp;", "|"};
        static const char* const kComparisons[] = {"=",        "&lt;",  "&gt;",
                                                   "&lt;&gt;", "&lt;=", "&gt;="};
        // The other map evaluates what is not chosen, too, and then has 0 for a division by zero.
        const std::string divisor = std::to_string(1 + below(99)) + (isInteger ? "" : ".0");
        switch (below(isInteger ? 6 : 5)) {
        case 0:
            return part() + kComparisons[below(6)] + part() + " ? " + part() + " : " + part();
        case 1:
            return part() + (isInteger && below(2) == 0 ? "%" : "/") + divisor;
        case 2:
            return part() + "*" + divisor;
        case 5:
            return part() + kOfIntegers[below(2)] + part();
        default:
            return part() + kOfBoth[below(2)] + part();
        }
    }

    std::string variables(bool isInteger)
    {
        const auto one = [&](const char* as) {
            // The other map computes with whole numbers wherever both operands are.
            const std::string& from = any(isInteger ? integers : floats);
            return "<pVariable Name=\"" + std::string(as) + "\">" + from + "</pVariable>";
        };
        return one("A") + one("B");
    }

    void addAbove()
    {
        if (integers.empty() || floats.empty())
            return addRegister();
        const std::string made = name();
        const std::string open = " Name=\"" + made + "\">";
        const std::string factor = std::to_string(1 + below(50));
        switch (below(7)) {
        case 0:
            nodes += "<Integer" + open + element("pValue", any(integers)) + "</Integer>";
            break;
        case 1:
            nodes += "<IntSwissKnife" + open + variables(true) +
                     element("Formula", formula(true, 3)) + "</IntSwissKnife>";
            break;
        case 2:
            nodes += "<IntConverter" + open + element("FormulaTo", "FROM - " + factor) +
                     element("FormulaFrom", "TO + " + factor) + element("pValue", any(integers)) +
                     element("Slope", "Increasing") + "</IntConverter>";
            break;
        case 3:
            nodes += "<Enumeration" + open;
            for (std::uint32_t value = 0; value < 8; ++value)
                nodes += "<EnumEntry Name=\"E" + std::to_string(value) + "\">" +
                         element("Value", std::to_string(value)) + "</EnumEntry>";
            nodes += element("pValue", any(integers)) + "</Enumeration>";
            enumerations.push_back(made);
            return;
        case 4:
            nodes += "<Float" + open + element("pValue", any(floats)) + "</Float>";
            floats.push_back(made);
            return;
        case 5:
            nodes += "<SwissKnife" + open + variables(false) +
                     element("Formula", formula(false, 3)) + "</SwissKnife>";
            floats.push_back(made);
            return;
        default:
            nodes += "<Converter" + open + element("FormulaTo", "FROM * " + factor) +
                     element("FormulaFrom", "TO / " + factor) + element("pValue", any(floats)) +
                     element("Slope", "Increasing") + "</Converter>";
            floats.push_back(made);
            return;
        }
        integers.push_back(made);
    }

    std::mt19937 random_;
    int count_ = 0;
};

struct Agreement {
    int values = 0;
    int refusedByBoth = 0;
    int refusedByOurs = 0; ///< Division by zero, ranges and entries, which only ours checks.
    int refusedByOther = 0;
    int writes = 0;
};

/// One document over one memory in both node maps.
class Pair
{
public:
    Pair(std::uint32_t seed, Agreement* agreement)
        : seed_(seed), document_(seed), random_(seed), module_(document_.nodes, document_.integers),
          agreement_(*agreement)
    {
        for (std::uint8_t& byte : module_.source.memory)
            byte = static_cast<std::uint8_t>(random_() % 3 == 0 ? random_() : random_() % 4);
        other_ = module_.source.memory;
        device_ = static_cast<ArvDevice*>(g_object_new(deviceType(), nullptr));
        reinterpret_cast<Device*>(device_)->memory = &other_;
        const std::string text = describe(document_.nodes, document_.integers);
        gc_ = arv_gc_new(device_, text.data(), text.size());
    }
    ~Pair()
    {
        g_object_unref(gc_);
        g_object_unref(device_);
    }
    Pair(const Pair&) = delete;
    Pair& operator=(const Pair&) = delete;

    void run()
    {
        readAll();
        for (int i = 0; i < 10; ++i) {
            writeOne();
            readAll();
        }
    }

private:
    template <class Value>
    void compare(const std::string& name, ZelCamErr code, Value ours, GError** error, Value theirs)
    {
        const bool isRefused = *error != nullptr;
        g_clear_error(error);
        agreement_.refusedByBoth += code != 0 && isRefused ? 1 : 0;
        agreement_.refusedByOurs += code != 0 && !isRefused ? 1 : 0;
        agreement_.refusedByOther += code == 0 && isRefused ? 1 : 0;
        if (code != 0 || isRefused)
            return;
        ++agreement_.values;
        const double left = static_cast<double>(ours);
        const double right = static_cast<double>(theirs);
        // The other map passes whole numbers through floats here and there: what is computed from
        // such large ones differs.
        constexpr double kExact = 9007199254740992.0;
        isExact_ = isExact_ && !(std::is_integral_v<Value> && std::abs(left) > kExact);
        if (!isExact_)
            return;
        const bool isSame =
            ours == theirs || (std::isnan(left) && std::isnan(right)) ||
            (!std::is_integral_v<Value> && std::abs(left - right) <= 1e-9 * std::abs(left));
        EXPECT_TRUE(isSame) << "document " << seed_ << ", " << name << ": " << ours << " and "
                            << theirs;
    }

    void readAll()
    {
        isExact_ = true;
        ZelCamErr code = 0;
        GError* error = nullptr;
        for (const std::string& name : document_.integers) {
            ArvGcNode* const node = arv_gc_get_node(gc_, name.c_str());
            const std::int64_t ours = module_.array.GetIntegerValue(name.c_str(), &code);
            compare<std::int64_t>(name, code, ours, &error,
                                  arv_gc_integer_get_value(ARV_GC_INTEGER(node), &error));
        }
        for (const std::string& name : document_.floats) {
            ArvGcNode* const node = arv_gc_get_node(gc_, name.c_str());
            const double ours = module_.array.GetFloatValue(name.c_str(), &code);
            compare(name, code, ours, &error, arv_gc_float_get_value(ARV_GC_FLOAT(node), &error));
        }
        for (const std::string& name : document_.enumerations) {
            ArvGcNode* const node = arv_gc_get_node(gc_, name.c_str());
            const std::int64_t ours = module_.array.GetEnumValue(name.c_str(), &code);
            compare<std::int64_t>(
                name, code, ours, &error,
                arv_gc_enumeration_get_int_value(ARV_GC_ENUMERATION(node), &error));
        }
    }

    /// What both take leaves the same bytes; what one refuses is taken back from the other.
    void writeOne()
    {
        const std::vector<std::uint8_t> before = module_.source.memory;
        GError* error = nullptr;
        ZelCamErr code = 0;
        std::string name;
        if (random_() % 2 == 0) {
            name = document_.integers[random_() % document_.integers.size()];
            const auto value = static_cast<std::int64_t>(random_() % 100);
            code = module_.array.SetIntegerValue(name.c_str(), value);
            arv_gc_integer_set_value(ARV_GC_INTEGER(arv_gc_get_node(gc_, name.c_str())), value,
                                     &error);
        } else if (!document_.floats.empty()) {
            name = document_.floats[random_() % document_.floats.size()];
            const double value = static_cast<double>(random_() % 1000) / 8.0;
            code = module_.array.SetFloatValue(name.c_str(), value);
            arv_gc_float_set_value(ARV_GC_FLOAT(arv_gc_get_node(gc_, name.c_str())), value, &error);
        }
        if (code == 0 && error == nullptr) {
            ++agreement_.writes;
            EXPECT_TRUE(module_.source.memory == other_)
                << "document " << seed_ << ", a write to " << name;
        }
        g_clear_error(&error);
        if (!(module_.source.memory == other_)) {
            module_.source.memory = other_ = before;
            params::ParamArray::invalidate();
        }
    }

    std::uint32_t seed_;
    Document document_;
    std::mt19937 random_;
    Module module_;
    std::vector<std::uint8_t> other_;
    ArvDevice* device_ = nullptr;
    ArvGc* gc_ = nullptr;
    bool isExact_ = true;
    Agreement& agreement_;
};

TEST(Oracle, AgreesOverRandomDescriptions)
{
    Agreement total;
    for (std::uint32_t seed = 1; seed <= 2000 && !testing::Test::HasFailure(); ++seed)
        Pair(seed, &total).run();
    std::printf("%d values, %d writes; refused by both %d, by ours %d, by the other %d\n",
                total.values, total.writes, total.refusedByBoth, total.refusedByOurs,
                total.refusedByOther);
    EXPECT_GT(total.values, 100000);
    EXPECT_GT(total.writes, 2000);
}

} // namespace
