#include "params/param_object.h"

#include "params/enum_params.h"
#include "params/params.h"

#include <utility>

namespace params
{

ParamObject::ParamObject(ParamArrayState& state, std::string name, std::int32_t type)
    : state_(state), name_(std::move(name)), type_(type), displayName_(name_.c_str())
{
}

void ParamObject::bind(ParamArrayState::Slot* slot)
{
    slot_ = slot;
    const genapi::Node& described = *node();
    toolTip_ = state_.intern(described.toolTip);
    description_ = state_.intern(described.text);
    displayName_ =
        described.displayName.empty() ? name_.c_str() : state_.intern(described.displayName);
}

void ParamObject::unbind() { slot_ = nullptr; }

const genapi::Node* ParamObject::node() const
{
    return slot_ != nullptr ? &ParamArrayState::nodeOf(*slot_) : nullptr;
}

genapi::CheckedNode* ParamObject::feature()
{
    return slot_ != nullptr ? &ParamArrayState::featureOf(*slot_) : nullptr;
}

ZelCamErr ParamObject::reason() const
{
    if (slot_ != nullptr)
        return ZelErr::kOk;
    // Attached again, but to something that has no such feature.
    return state_.reason() != ZelErr::kOk ? state_.reason() : ZelErr::kParamUnknown;
}

const char* ParamObject::toolTip()
{
    return state_.ask("", [&] { return toolTip_; });
}

const char* ParamObject::description()
{
    return state_.ask("", [&] { return description_; });
}

const char* ParamObject::displayName()
{
    return state_.ask(name_.c_str(), [&] { return displayName_; });
}

std::int32_t ParamObject::visibility()
{
    return state_.ask(0, [&] { return node() != nullptr ? node()->visibility : 0; });
}

bool ParamObject::isFeature()
{
    return state_.ask(false, [&] { return node() != nullptr && node()->isFeature; });
}

bool ParamObject::isVisible(std::int64_t level)
{
    return state_.ask(false, [&] { return node() != nullptr && node()->visibility <= level; });
}

bool ParamObject::isStreamable()
{
    return state_.ask(false, [&] { return node() != nullptr && node()->isStreamable; });
}

std::unique_ptr<ParamObject> makeParamObject(ParamArrayState& state, const std::string& name,
                                             std::int32_t type)
{
    switch (type) {
    case ZelGenParam::kTypeInt:
        return std::make_unique<IntParam>(state, name, type);
    case ZelGenParam::kTypeFloat:
        return std::make_unique<FloatParam>(state, name, type);
    case ZelGenParam::kTypeString:
        return std::make_unique<StringParam>(state, name, type);
    case ZelGenParam::kTypeEnum:
        return std::make_unique<EnumParam>(state, name, type);
    case ZelGenParam::kTypeBoolean:
        return std::make_unique<BooleanParam>(state, name, type);
    case ZelGenParam::kTypeCommand:
        return std::make_unique<CommandParam>(state, name, type);
    case ZelGenParam::kTypeCategory:
        return std::make_unique<CategoryParam>(state, name, type);
    default:
        return std::make_unique<UnknownParam>(state, name, type);
    }
}

} // namespace params
