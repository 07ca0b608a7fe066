// The value of a feature of any type, as configuration files keep it.
#pragma once

#include "genapi/checked_node.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace params
{

/// One value. Which field counts is told by the type: `integer` for integers and booleans, `real`
/// for floats, `text` for strings and the symbols of entries.
struct FeatureValue {
    std::int32_t type = 0;
    std::int64_t integer = 0;
    double real = 0.0;
    std::string text;

    bool operator==(const FeatureValue& other) const;
};

/// True for types that have a value: not for commands and categories.
bool hasValue(const genapi::CheckedNode& feature);

/// False when the text is no value of this feature's type, or no entry of it. Ranges are not
/// looked at.
bool parseValue(const genapi::CheckedNode& feature, std::string_view text, FeatureValue* value);

/// Text that parseValue turns into the same value, to the last bit.
std::string textOf(const FeatureValue& value);

ZelCamErr readValue(genapi::CheckedNode& feature, FeatureValue* value);
ZelCamErr writeValue(genapi::CheckedNode& feature, const FeatureValue& value);

} // namespace params
