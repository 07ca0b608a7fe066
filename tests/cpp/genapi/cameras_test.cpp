// Real cameras' descriptions against what the standard's reference implementation says of them.
//
// Reads ../shared/cameras beside the checkout: descriptions, and for each of them access, values,
// ranges and writes of all features over two memories. Skipped where the folder is absent.
#include "params/param_array.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

namespace
{

namespace fs = std::filesystem;
using nlohmann::json;

constexpr int kMaxShown = 40;

std::string contentOf(const fs::path& path)
{
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

/// A memory that answers at every address and forgets what is written when it is told to.
class AnyMemory final : public genapi::FeatureSource
{
public:
    AnyMemory(std::string document, bool isHash) : document_(std::move(document)), isHash_(isHash)
    {
    }

    ZelCamErr description(std::string* document) override
    {
        *document = document_;
        return ZelErr::kOk;
    }

    ZelCamErr read(std::uint64_t address, void* data, std::size_t size) override
    {
        for (std::size_t i = 0; i < size; ++i) {
            const auto written = bytes.find(address + i);
            static_cast<std::uint8_t*>(data)[i] =
                written != bytes.end() ? written->second : at(address + i);
        }
        return ZelErr::kOk;
    }

    ZelCamErr write(std::uint64_t address, const void* data, std::size_t size) override
    {
        const auto* const source = static_cast<const std::uint8_t*>(data);
        std::string text;
        for (std::size_t i = 0; i < size; ++i) {
            bytes[address + i] = source[i];
            constexpr char kDigits[] = "0123456789abcdef";
            text += {kDigits[source[i] >> 4U], kDigits[source[i] & 15U]};
        }
        std::ostringstream key;
        key << std::hex << address;
        writes[key.str()] = text;
        return ZelErr::kOk;
    }

    std::map<std::uint64_t, std::uint8_t> bytes;
    json writes = json::object();

private:
    std::uint8_t at(std::uint64_t address) const
    {
        if (!isHash_)
            return 0;
        address ^= address >> 33U;
        address *= 0xff51afd7ed558ccdULL;
        address ^= address >> 29U;
        return static_cast<std::uint8_t>(address >> 40U) & 0x0FU;
    }

    std::string document_;
    bool isHash_;
};

template <class Value> json orNull(ZelCamErr err, Value value)
{
    return err == ZelErr::kOk ? json(value) : json();
}

json orNull(ZelCamErr err, double value)
{
    if (err != ZelErr::kOk)
        return {};
    return std::isinf(value) ? json(value < 0.0 ? "-inf" : "inf") : json(value);
}

json entriesOf(ZelGenParam::Enum& param)
{
    ZelCamErr err = 0;
    json entries = json::array();
    for (std::int32_t i = 0; i < param.GetCount(&err); ++i) {
        ZelGenParam::EnumEntry* const entry = param.GetEnumEntryByIndex(i);
        entries.push_back({entry->GetName(), entry->IsAvailable(), entry->GetValue(&err)});
    }
    return entries;
}

json valueOf(params::ParamArray& array, const char* name, std::int32_t type)
{
    ZelCamErr err = 0;
    if (type == ZelGenParam::kTypeInt) {
        ZelGenParam::Int* const param = array.GetInt(name, &err);
        json value = json::array();
        value.push_back(orNull(0, param->GetValue(&err)));
        value[0] = orNull(err, value[0]);
        const std::int64_t min = param->GetMin(&err);
        value.push_back(orNull(err, min));
        const std::int64_t max = param->GetMax(&err);
        value.push_back(orNull(err, max));
        const std::int64_t step = param->GetIncrement(&err);
        value.push_back(orNull(err, step));
        return value;
    }
    if (type == ZelGenParam::kTypeFloat) {
        ZelGenParam::Float* const param = array.GetFloat(name, &err);
        const double present = param->GetValue(&err);
        json value = json::array({orNull(err, present)});
        const double min = param->GetMin(&err);
        value.push_back(orNull(err, min));
        const double max = param->GetMax(&err);
        value.push_back(orNull(err, max));
        value.push_back(param->GetUnit(&err));
        return value;
    }
    if (type == ZelGenParam::kTypeString) {
        const std::string text = array.GetStringValue(name, &err);
        return orNull(err, text);
    }
    if (type == ZelGenParam::kTypeBoolean) {
        const bool isSet = array.GetBooleanValue(name, &err);
        return orNull(err, isSet);
    }
    if (type == ZelGenParam::kTypeEnum) {
        ZelGenParam::Enum* const param = array.GetEnum(name, &err);
        const std::string symbol = param->GetValueStr(&err);
        return json::array({orNull(err, symbol), entriesOf(*param)});
    }
    return {};
}

bool isSame(const json& ours, const json& theirs)
{
    if (ours.is_array() && theirs.is_array() && ours.size() == theirs.size()) {
        for (std::size_t i = 0; i < ours.size(); ++i) {
            if (!isSame(ours[i], theirs[i]))
                return false;
        }
        return true;
    }
    if (ours.is_number_float() || theirs.is_number_float()) {
        if (!ours.is_number() || !theirs.is_number())
            return false;
        const double left = ours.get<double>();
        const double right = theirs.get<double>();
        return std::abs(left - right) <= 1e-9 * std::max(std::abs(left), std::abs(right));
    }
    return ours == theirs;
}

ZelCamErr write(params::ParamArray& array, const char* name, std::int32_t type, const json& value)
{
    switch (type) {
    case ZelGenParam::kTypeInt:
        return array.SetIntegerValue(name, value.get<std::int64_t>());
    case ZelGenParam::kTypeFloat:
        return array.SetFloatValue(name, value.get<double>());
    case ZelGenParam::kTypeString:
        return array.SetStringValue(name, value.get<std::string>().c_str());
    case ZelGenParam::kTypeBoolean:
        return array.SetBooleanValue(name, value.get<bool>());
    case ZelGenParam::kTypeEnum:
        return array.SetEnumValueStr(name, value.get<std::string>().c_str());
    default:
        return array.ExecuteCommand(name);
    }
}

struct Agreement {
    int features = 0;
    int agreeing = 0;
    int writes = 0;
    int agreeingWrites = 0;
};

/// One description over one memory.
class Comparison
{
public:
    Comparison(const fs::path& camera, bool isHash, Agreement* agreement)
        : name_(camera.stem().string() + (isHash ? " hash " : " zero ")),
          memory_(contentOf(camera), isHash), agreement_(*agreement)
    {
        const fs::path folder = camera.parent_path() / (isHash ? "values-hash" : "values-zero");
        expected_ = json::parse(contentOf(folder / (camera.stem().string() + ".json")));
        EXPECT_EQ(array_.attach({&memory_}), 0) << name_;
    }

    void run()
    {
        for (const auto& [name, expected] : expected_.items())
            compareFeature(name.c_str(), expected);
        // Values that the description itself holds outlive a write, so the order counts.
        for (std::int32_t i = 0; i < array_.GetCount(); ++i) {
            const char* const name = array_.GetParamByIndex(i, nullptr)->GetName();
            if (expected_.contains(name) && expected_[name].contains("w")) {
                for (const json& each : expected_[name]["w"])
                    compareWrite(name, expected_[name]["t"].get<std::int32_t>(), each);
            }
        }
    }

private:
    void compareFeature(const char* name, const json& expected)
    {
        ++agreement_.features;
        ZelGenParam::Param* const param = array_.GetParam(name, nullptr);
        if (param == nullptr) {
            show(name, "is missing", {}, {});
            return;
        }
        const std::int32_t type = param->GetType();
        const std::int32_t code = expected["t"].get<std::int32_t>();
        const json access = {param->IsAvailable(), param->IsReadable(), param->IsWritable()};
        const json ours = {{"acc", access},
                           {"vis", param->GetVisibility()},
                           {"stream", param->IsStreamable()},
                           {"t", code > 100 ? code : type},
                           {"v", valueOf(array_, name, type)}};
        bool agrees = true;
        for (const auto& [key, value] : ours.items()) {
            const json theirs = expected.contains(key) ? expected[key] : json();
            if (isSame(value, theirs))
                continue;
            agrees = false;
            show(name, key.c_str(), value, theirs);
        }
        agreement_.agreeing += agrees ? 1 : 0;
    }

    void compareWrite(const char* name, std::int32_t type, const json& expected)
    {
        ++agreement_.writes;
        const json before = presentOf(name, type);
        memory_.writes = json::object();
        memory_.bytes.clear();
        params::ParamArray::invalidate();
        const ZelCamErr result = write(array_, name, type, expected[0]);
        const json ours = result == ZelErr::kOk ? memory_.writes : json();
        if (ours == expected[1])
            ++agreement_.agreeingWrites;
        else
            show(name, ("write " + expected[0].dump()).c_str(), ours, expected[1]);
        if (!before.is_null())
            write(array_, name, type, before);
    }

    json presentOf(const char* name, std::int32_t type)
    {
        const json value = valueOf(array_, name, type);
        return value.is_array() ? value[0] : value;
    }

    void show(const char* name, const char* what, const json& ours, const json& theirs)
    {
        if (shown_++ < kMaxShown)
            std::printf("%s %s %s: ours %.300s, reference %.300s\n", name_.c_str(), name, what,
                        ours.dump().c_str(), theirs.dump().c_str());
    }

    inline static int shown_ = 0;
    std::string name_;
    AnyMemory memory_;
    Agreement& agreement_;
    params::ParamArray array_;
    json expected_;
};

TEST(Cameras, AgreeWithTheReference)
{
    const fs::path folder = fs::path(ZEL_SOURCE_DIR) / ".." / "shared" / "cameras";
    if (!fs::exists(folder))
        GTEST_SKIP() << "no ../shared/cameras beside the checkout";
    for (const bool isHash : {true, false}) {
        Agreement total;
        for (const auto& entry : fs::directory_iterator(folder)) {
            if (entry.path().extension() == ".xml")
                Comparison(entry.path(), isHash, &total).run();
        }
        std::printf("%s: %d of %d features, %d of %d writes\n", isHash ? "hash" : "zero",
                    total.agreeing, total.features, total.agreeingWrites, total.writes);
        // The reference evaluates both sides of a choice, and so divides by the zero that a formula
        // guards against (one feature over zeros).
        EXPECT_GE(total.agreeing, 0.999 * total.features);
        EXPECT_GE(total.agreeingWrites, 0.999 * total.writes);
        EXPECT_GT(total.features, 0);
    }
}

} // namespace
