#include "params/feature_value.h"

#include "base/text.h"
#include "zel_gen_param_api.h"

namespace params
{

bool FeatureValue::operator==(const FeatureValue& other) const
{
    return type == other.type && integer == other.integer && real == other.real &&
           text == other.text;
}

bool hasValue(const genapi::CheckedNode& feature)
{
    switch (feature.type()) {
    case ZelGenParam::kTypeInt:
    case ZelGenParam::kTypeFloat:
    case ZelGenParam::kTypeString:
    case ZelGenParam::kTypeEnum:
    case ZelGenParam::kTypeBoolean:
        return true;
    default:
        return false;
    }
}

bool parseValue(const genapi::CheckedNode& feature, std::string_view text, FeatureValue* value)
{
    value->type = feature.type();
    if (feature.type() == ZelGenParam::kTypeString) {
        value->text = text;
        return true;
    }
    text = base::trim(text);
    if (feature.type() == ZelGenParam::kTypeFloat) {
        const auto real = base::parseReal(text);
        value->real = real.value_or(0.0);
        return real.has_value();
    }
    if (feature.type() == ZelGenParam::kTypeEnum) {
        value->text = text;
        for (std::size_t i = 0; i < feature.entryCount(); ++i) {
            if (feature.entry(i).name == text)
                return true;
        }
        return false;
    }
    if (feature.type() == ZelGenParam::kTypeBoolean && (text == "true" || text == "True"))
        text = "1";
    else if (feature.type() == ZelGenParam::kTypeBoolean && (text == "false" || text == "False"))
        text = "0";
    const auto integer = base::parseInteger(text);
    value->integer = integer.value_or(0);
    const bool isBit = value->integer == 0 || value->integer == 1;
    return integer && (isBit || feature.type() == ZelGenParam::kTypeInt);
}

std::string textOf(const FeatureValue& value)
{
    if (value.type == ZelGenParam::kTypeFloat)
        return base::formatReal(value.real);
    if (value.type == ZelGenParam::kTypeInt || value.type == ZelGenParam::kTypeBoolean)
        return std::to_string(value.integer);
    return value.text;
}

ZelCamErr readValue(genapi::CheckedNode& feature, FeatureValue* value)
{
    *value = FeatureValue();
    value->type = feature.type();
    switch (feature.type()) {
    case ZelGenParam::kTypeInt:
        return feature.readInteger(&value->integer);
    case ZelGenParam::kTypeFloat:
        return feature.readFloat(&value->real);
    case ZelGenParam::kTypeString:
        return feature.readString(&value->text);
    case ZelGenParam::kTypeEnum: {
        std::size_t entry = 0;
        const ZelCamErr result = feature.readEntry(&entry);
        if (result == ZelErr::kOk)
            value->text = feature.entry(entry).name;
        return result;
    }
    case ZelGenParam::kTypeBoolean: {
        bool isSet = false;
        const ZelCamErr result = feature.readBoolean(&isSet);
        value->integer = isSet ? 1 : 0;
        return result;
    }
    default:
        return ZelErr::kParamType;
    }
}

ZelCamErr writeValue(genapi::CheckedNode& feature, const FeatureValue& value)
{
    switch (feature.type()) {
    case ZelGenParam::kTypeInt:
        return feature.writeInteger(value.integer);
    case ZelGenParam::kTypeFloat:
        return feature.writeFloat(value.real);
    case ZelGenParam::kTypeString:
        return feature.writeString(value.text);
    case ZelGenParam::kTypeEnum:
        return feature.writeEntrySymbol(value.text);
    case ZelGenParam::kTypeBoolean:
        return feature.writeBoolean(value.integer != 0);
    default:
        return ZelErr::kParamType;
    }
}

} // namespace params
