#include "common/feature.h"

#include "common/failure.h"
#include "common/interrupt.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <optional>

namespace common
{

namespace
{

using namespace ZelGenParam;

constexpr std::array<const char*, 9> kTypes = {"Unknown", "Integer",     "Float",
                                               "String",  "Enumeration", "EnumEntry",
                                               "Boolean", "Command",     "Category"};
constexpr std::array<const char*, 5> kLevels = {"Beginner", "Expert", "Guru", "Invisible",
                                                "Undefined"};

template <std::size_t Size>
const char* nameIn(const std::array<const char*, Size>& names, std::int32_t number)
{
    const auto index = static_cast<std::size_t>(number);
    return number >= 0 && index < Size ? names[index] : "?";
}

const char* accessOf(Param& feature)
{
    const bool readable = feature.IsReadable();
    const bool writable = feature.IsWritable();
    return readable ? (writable ? "RW" : "RO") : (writable ? "WO" : "NA");
}

template <class Typed> Typed& as(Param& feature)
{
    auto* const typed = dynamic_cast<Typed*>(&feature);
    if (typed == nullptr) {
        throw Failure(Exit::Failed, "the SDK does not know the type of a feature");
    }
    return *typed;
}

void describeInteger(Int& feature, Json& result)
{
    ZelCamErr err = ZelErr::kOk;
    const std::array<std::pair<const char*, std::int64_t (Int::*)(ZelCamErr*)>, 3> limits = {
        {{"min", &Int::GetMin}, {"max", &Int::GetMax}, {"increment", &Int::GetIncrement}}};
    for (const auto& [key, get] : limits) {
        const std::int64_t value = (feature.*get)(&err);
        if (err == ZelErr::kOk) {
            result[key] = value;
        }
    }
}

void describeFloat(Float& feature, Json& result)
{
    ZelCamErr err = ZelErr::kOk;
    const std::array<std::pair<const char*, double (Float::*)(ZelCamErr*)>, 2> limits = {
        {{"min", &Float::GetMin}, {"max", &Float::GetMax}}};
    for (const auto& [key, get] : limits) {
        const double value = (feature.*get)(&err);
        if (err == ZelErr::kOk && std::isfinite(value)) {
            result[key] = value;
        }
    }
    const char* const unit = feature.GetUnit(&err);
    if (err == ZelErr::kOk && *unit != '\0') {
        result["unit"] = unit;
    }
}

void describeEnum(Enum& feature, Json& result)
{
    Json entries = Json::array();
    const std::int32_t count = feature.GetCount(nullptr);
    for (std::int32_t i = 0; i < count; ++i) {
        EnumEntry* const entry = feature.GetEnumEntryByIndex(i);
        if (entry != nullptr && entry->IsAvailable()) {
            entries.push_back(entry->GetValueStr(nullptr));
        }
    }
    result["entries"] = std::move(entries);
}

void describeLimits(Param& feature, Json& result)
{
    switch (feature.GetType()) {
    case kTypeInt:
        describeInteger(as<Int>(feature), result);
        break;
    case kTypeFloat:
        describeFloat(as<Float>(feature), result);
        break;
    case kTypeEnum:
        describeEnum(as<Enum>(feature), result);
        break;
    case kTypeString:
        if (const auto most = as<String>(feature).GetMaxLength(nullptr);
            most > 0 && most < INT32_MAX) {
            result["max_length"] = most;
        }
        break;
    default:
        break;
    }
}

/// A number from all of the text, in decimal or with 0x.
std::optional<std::int64_t> integerFrom(const std::string& text)
{
    const bool negative = text.rfind('-', 0) == 0;
    const std::string digits = text.substr(negative ? 1 : 0);
    const bool hex = digits.rfind("0x", 0) == 0 || digits.rfind("0X", 0) == 0;
    const char* const first = digits.data() + (hex ? 2 : 0);
    const char* const last = digits.data() + digits.size();
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(first, last, value, hex ? 16 : 10);
    if (error != std::errc() || end != last || first == last ||
        (value > INT64_MAX && (!hex || negative))) {
        return std::nullopt;
    }
    return negative ? -static_cast<std::int64_t>(value) : static_cast<std::int64_t>(value);
}

std::optional<double> floatFrom(const std::string& text)
{
    double value = 0;
    const char* const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, value);
    const bool good = error == std::errc() && end == last && !text.empty();
    return good ? std::optional<double>(value) : std::nullopt;
}

std::optional<bool> boolFrom(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (text == "1" || text == "true" || text == "on" || text == "yes") {
        return true;
    }
    if (text == "0" || text == "false" || text == "off" || text == "no") {
        return false;
    }
    return std::nullopt;
}

template <class Value>
Value wanted(const std::optional<Value>& value, const std::string& name, const std::string& text,
             const char* kind)
{
    if (!value) {
        throw Failure(Exit::Usage, name + " wants " + kind + ", not '" + text + "'");
    }
    return *value;
}

ZelCamErr writeEnum(Enum& feature, const std::string& text)
{
    const ZelCamErr err = feature.SetValueStr(text.c_str());
    if (err != ZelErr::kParamInvalidArgument) {
        return err;
    }
    const auto number = integerFrom(text);
    return number ? feature.SetValue(*number) : err;
}

void walkCategory(Category& category, std::int64_t level, int depth,
                  const std::function<void(Param&, int)>& visit)
{
    constexpr int kDeepest = 20;
    const std::int32_t count = depth < kDeepest ? category.GetCount() : 0;
    for (std::int32_t i = 0; i < count; ++i) {
        Param* const child = category.GetParamByIndex(i, nullptr);
        if (child == nullptr || !child->IsVisible(level)) {
            continue;
        }
        visit(*child, depth);
        if (auto* const inner = dynamic_cast<Category*>(child)) {
            walkCategory(*inner, level, depth + 1, visit);
        }
    }
}

} // namespace

Json valueOf(Param& feature)
{
    if (!feature.IsReadable()) {
        return nullptr;
    }
    ZelCamErr err = ZelErr::kOk;
    Json value;
    switch (feature.GetType()) {
    case kTypeInt:
        value = as<Int>(feature).GetValue(&err);
        break;
    case kTypeFloat:
        value = as<Float>(feature).GetValue(&err);
        break;
    case kTypeBoolean:
        value = as<Boolean>(feature).GetValue(&err);
        break;
    case kTypeString:
        value = as<String>(feature).GetValue(&err);
        break;
    case kTypeEnum:
        value = as<Enum>(feature).GetValueStr(&err);
        break;
    default:
        return nullptr;
    }
    return err == ZelErr::kOk ? value : Json(nullptr);
}

Json describe(Param& feature)
{
    const std::int32_t type = feature.GetType();
    Json result = {{"name", feature.GetName()},
                   {"display", feature.GetDisplayName()},
                   {"type", nameIn(kTypes, type)},
                   {"visibility", nameIn(kLevels, feature.GetVisibility())}};
    if (type != kTypeCategory) {
        result["access"] = accessOf(feature);
    }
    const std::string toolTip = feature.GetToolTip();
    const std::string description = feature.GetDescription();
    result["description"] = description.empty() ? toolTip : description;
    const Json value = valueOf(feature);
    if (!value.is_null()) {
        result["value"] = value;
    }
    if (feature.IsAvailable()) {
        describeLimits(feature, result);
    }
    return result;
}

std::string valueText(const Json& value)
{
    return value.is_string() ? value.get<std::string>() : value.is_null() ? "" : dump(value);
}

Param& feature(Array& features, const std::string& name)
{
    ZelCamErr err = ZelErr::kOk;
    Param* const found = features.GetParam(name.c_str(), &err);
    if (found == nullptr) {
        throw sdkFailure(name, err);
    }
    return *found;
}

void setValue(Array& features, const std::string& name, const std::string& text)
{
    Param& found = feature(features, name);
    ZelCamErr err = ZelErr::kParamType;
    switch (found.GetType()) {
    case kTypeInt:
        err = as<Int>(found).SetValue(wanted(integerFrom(text), name, text, "a whole number"));
        break;
    case kTypeFloat:
        err = as<Float>(found).SetValue(wanted(floatFrom(text), name, text, "a number"));
        break;
    case kTypeBoolean:
        err = as<Boolean>(found).SetValue(wanted(boolFrom(text), name, text, "true or false"));
        break;
    case kTypeString:
        err = as<String>(found).SetValue(text.c_str());
        break;
    case kTypeEnum:
        err = writeEnum(as<Enum>(found), text);
        break;
    default:
        throw Failure(Exit::Usage, name + " has no value; commands are started by `zelcam run`");
    }
    check(name + "=" + text, err);
}

std::string assign(Array& features, const std::string& assignment)
{
    const auto place = assignment.find('=');
    if (place == std::string::npos || place == 0) {
        throw Failure(Exit::Usage, "'" + assignment + "' is not of the form NAME=VALUE");
    }
    std::string name = assignment.substr(0, place);
    setValue(features, name, assignment.substr(place + 1));
    return name;
}

void runCommand(Array& features, const std::string& name, std::uint32_t timeoutMs)
{
    ZelCamErr err = ZelErr::kOk;
    Command* const command = features.GetCommand(name.c_str(), &err);
    if (command == nullptr) {
        throw sdkFailure(name, err);
    }
    check(name, command->Execute());
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (!command->IsDone(&err) && err == ZelErr::kOk && !interrupted()) {
        if (std::chrono::steady_clock::now() >= end) {
            throw Failure(Exit::TimeOut, name + " is not done after " + std::to_string(timeoutMs) +
                                             " ms: give --timeout more");
        }
        sleepMs(5);
    }
}

void walk(Array& features, std::int64_t level, const std::function<void(Param&, int)>& visit)
{
    ZelCamErr err = ZelErr::kOk;
    Category* const root = features.GetRootCategory(&err);
    if (root == nullptr) {
        throw sdkFailure("the tree of features", err);
    }
    walkCategory(*root, level, 0, visit);
}

double numberOr(Array* features, const char* name, double otherwise)
{
    Param* const found = features != nullptr ? features->GetParam(name, nullptr) : nullptr;
    const Json value = found != nullptr ? valueOf(*found) : Json(nullptr);
    return value.is_number() ? value.get<double>() : otherwise;
}

} // namespace common
