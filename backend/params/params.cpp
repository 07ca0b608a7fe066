#include "params/params.h"

#include "base/text.h"
#include "params/value_texts.h"

namespace params
{

ZelCamErr IntParam::SetValue(std::int64_t value)
{
    return call([value](genapi::CheckedNode& feature) { return feature.writeInteger(value); });
}

std::int64_t IntParam::GetValue(ZelCamErr* err)
{
    return read<std::int64_t>(err, 0, &genapi::CheckedNode::readInteger);
}

std::int64_t IntParam::GetMin(ZelCamErr* err)
{
    return read<std::int64_t>(err, 0, [](genapi::CheckedNode& feature, std::int64_t* limit) {
        return feature.integerLimit(genapi::Bound::kMin, limit);
    });
}

std::int64_t IntParam::GetMax(ZelCamErr* err)
{
    return read<std::int64_t>(err, 0, [](genapi::CheckedNode& feature, std::int64_t* limit) {
        return feature.integerLimit(genapi::Bound::kMax, limit);
    });
}

std::int64_t IntParam::GetIncrement(ZelCamErr* err)
{
    return read<std::int64_t>(err, 0, &genapi::CheckedNode::increment);
}

ZelCamErr FloatParam::SetValue(double value)
{
    return call([value](genapi::CheckedNode& feature) { return feature.writeFloat(value); });
}

double FloatParam::GetValue(ZelCamErr* err)
{
    return read<double>(err, 0.0, &genapi::CheckedNode::readFloat);
}

double FloatParam::GetMin(ZelCamErr* err)
{
    return read<double>(err, 0.0, [](genapi::CheckedNode& feature, double* limit) {
        return feature.floatLimit(genapi::Bound::kMin, limit);
    });
}

double FloatParam::GetMax(ZelCamErr* err)
{
    return read<double>(err, 0.0, [](genapi::CheckedNode& feature, double* limit) {
        return feature.floatLimit(genapi::Bound::kMax, limit);
    });
}

const char* FloatParam::GetUnit(ZelCamErr* err)
{
    return read<const char*>(err, "", [this](genapi::CheckedNode& feature, const char** unit) {
        *unit = state().intern(feature.unit());
        return ZelErr::kOk;
    });
}

ZelCamErr BooleanParam::SetValue(bool value)
{
    return call([value](genapi::CheckedNode& feature) { return feature.writeBoolean(value); });
}

bool BooleanParam::GetValue(ZelCamErr* err)
{
    return read<bool>(err, false, &genapi::CheckedNode::readBoolean);
}

std::int32_t StringParam::GetMaxLength(ZelCamErr* err)
{
    return read<std::int32_t>(err, 0, &genapi::CheckedNode::maxLength);
}

const char* StringParam::GetValue(ZelCamErr* err)
{
    return read<const char*>(err, "", [this](genapi::CheckedNode& feature, const char** value) {
        std::string text;
        const ZelCamErr result = feature.readString(&text);
        if (result == ZelErr::kOk)
            *value = keepValueText(&state(), this, base::toValidUtf8(text));
        return result;
    });
}

ZelCamErr StringParam::SetValue(const char* value)
{
    if (value == nullptr)
        return ZelErr::kInvalidArgument;
    return call([value](genapi::CheckedNode& feature) { return feature.writeString(value); });
}

ZelCamErr CommandParam::Execute() { return call(&genapi::CheckedNode::execute); }

bool CommandParam::IsDone(ZelCamErr* err)
{
    return read<bool>(err, false, &genapi::CheckedNode::isDone);
}

void CategoryParam::unbind()
{
    children_.clear();
    ParamObject::unbind();
}

std::int32_t CategoryParam::GetCount()
{
    return state().ask(0, [&] { return static_cast<std::int32_t>(children_.size()); });
}

ZelGenParam::Param* CategoryParam::GetParamByIndex(std::int64_t index, ZelCamErr* err)
{
    ZelGenParam::Param* param = nullptr;
    report(err, state().call([&] {
        return reason() == ZelErr::kOk ? state().paramAt(children_, index, &param) : reason();
    }));
    return param;
}

} // namespace params
