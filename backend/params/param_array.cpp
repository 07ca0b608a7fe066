#include "params/param_array.h"

#include "base/operation_guard.h"
#include "genapi/change_count.h"
#include "params/enum_params.h"
#include "params/param_array_state.h"
#include "params/param_object.h"
#include "params/params.h"

#include <functional>

namespace params
{

namespace
{

using Entry = ParamArrayState::Entry;

/// The object of a name when it has this type; null with a code in `err`.
template <class Class>
Class* typedParam(ParamArrayState& state, const char* name, std::int32_t type, ZelCamErr* err)
{
    Class* object = nullptr;
    report(err, state.call([&] {
        ZelCamErr result = ZelErr::kOk;
        ParamArrayState::Slot* const slot = state.find(name, &result);
        if (slot != nullptr && genapi::paramTypeOf(ParamArrayState::nodeOf(*slot).kind) != type)
            result = ZelErr::kParamType;
        else if (slot != nullptr)
            object = static_cast<Class*>(&state.objectOf(*slot));
        return result;
    }));
    return object;
}

/// Calls an operation of the feature of a name under the lock.
template <class Operation, class... Arguments>
ZelCamErr callByName(ParamArrayState& state, const char* name, Operation operation,
                     Arguments... arguments)
{
    return state.call([&] {
        ZelCamErr result = ZelErr::kOk;
        ParamArrayState::Slot* const slot = state.find(name, &result);
        return slot != nullptr
                   ? std::invoke(operation, ParamArrayState::featureOf(*slot), arguments...)
                   : result;
    });
}

/// What `read` gives; 0 or false with a code in `err` when it fails.
template <class Value>
Value readByName(ParamArrayState& state, const char* name, ZelCamErr* err,
                 ZelCamErr (genapi::CheckedNode::*read)(Value*))
{
    Value value{};
    report(err, callByName(state, name, read, &value));
    return value;
}

} // namespace

ParamArray::ParamArray() : state_(std::make_unique<ParamArrayState>()) {}

ParamArray::~ParamArray() = default;

ZelCamErr ParamArray::attach(const std::vector<genapi::FeatureSource*>& sources)
{
    return state_->attach(sources);
}

void ParamArray::detach(ZelCamErr reason) { state_->detach(reason); }

void ParamArray::setEventData(std::uint64_t eventId, const void* data, std::size_t size)
{
    const Entry entry = Entry::atOnce(*state_);
    for (const auto& map : state_->maps())
        map->setData(true, eventId, data, size);
    // What the event reports may have changed more than its own data.
    invalidate();
}

void ParamArray::setChunks(const std::vector<ChunkBytes>& chunks)
{
    const Entry entry = Entry::atOnce(*state_);
    for (const auto& map : state_->maps()) {
        map->dropChunks();
        for (const ChunkBytes& chunk : chunks)
            map->setData(false, chunk.id, chunk.bytes.data(), chunk.bytes.size());
    }
}

genapi::ChangeGate& ParamArray::gate() { return state_->gate(); }

void ParamArray::invalidate() { genapi::ChangeCount::advance(); }

ZelGenParam::Param* ParamArray::GetParam(const char* name, ZelCamErr* err)
{
    ZelGenParam::Param* param = nullptr;
    report(err, state_->call([&] {
        ZelCamErr result = ZelErr::kOk;
        ParamArrayState::Slot* const slot = state_->find(name, &result);
        if (slot != nullptr)
            param = state_->objectOf(*slot).param();
        return result;
    }));
    return param;
}

ZelGenParam::Boolean* ParamArray::GetBoolean(const char* name, ZelCamErr* err)
{
    return typedParam<BooleanParam>(*state_, name, ZelGenParam::kTypeBoolean, err);
}

ZelGenParam::Command* ParamArray::GetCommand(const char* name, ZelCamErr* err)
{
    return typedParam<CommandParam>(*state_, name, ZelGenParam::kTypeCommand, err);
}

ZelGenParam::Enum* ParamArray::GetEnum(const char* name, ZelCamErr* err)
{
    return typedParam<EnumParam>(*state_, name, ZelGenParam::kTypeEnum, err);
}

ZelGenParam::Float* ParamArray::GetFloat(const char* name, ZelCamErr* err)
{
    return typedParam<FloatParam>(*state_, name, ZelGenParam::kTypeFloat, err);
}

ZelGenParam::Int* ParamArray::GetInt(const char* name, ZelCamErr* err)
{
    return typedParam<IntParam>(*state_, name, ZelGenParam::kTypeInt, err);
}

ZelGenParam::String* ParamArray::GetString(const char* name, ZelCamErr* err)
{
    return typedParam<StringParam>(*state_, name, ZelGenParam::kTypeString, err);
}

ZelGenParam::Category* ParamArray::GetRootCategory(ZelCamErr* err)
{
    CategoryParam* root = nullptr;
    report(err, state_->call([&] {
        root = state_->root();
        const ZelCamErr reason = state_->reason();
        return root != nullptr || reason != ZelErr::kOk ? reason : ZelErr::kParamTree;
    }));
    return root;
}

ZelGenParam::NodeMap* ParamArray::GetNodeMap(ZelCamErr* err)
{
    const ZelCamErr reason = state_->call([&] { return state_->reason(); });
    report(err, reason);
    return reason == ZelErr::kOk ? &nodeMap_ : nullptr;
}

std::int32_t ParamArray::GetCount()
{
    return state_->ask(0, [&] { return static_cast<std::int32_t>(state_->features().size()); });
}

ZelGenParam::Param* ParamArray::GetParamByIndex(std::int64_t index, ZelCamErr* err)
{
    ZelGenParam::Param* param = nullptr;
    report(err, state_->call([&] {
        return state_->reason() == ZelErr::kOk ? state_->paramAt(state_->features(), index, &param)
                                               : state_->reason();
    }));
    return param;
}

ZelCamErr ParamArray::SetBooleanValue(const char* name, bool value)
{
    return callByName(*state_, name, &genapi::CheckedNode::writeBoolean, value);
}

bool ParamArray::GetBooleanValue(const char* name, ZelCamErr* err)
{
    return readByName(*state_, name, err, &genapi::CheckedNode::readBoolean);
}

ZelCamErr ParamArray::SetEnumValueStr(const char* name, const char* symbol)
{
    return symbol != nullptr
               ? callByName(*state_, name, &genapi::CheckedNode::writeEntrySymbol, symbol)
               : ZelErr::kInvalidArgument;
}

ZelCamErr ParamArray::SetEnumValue(const char* name, std::int64_t value)
{
    return callByName(*state_, name, &genapi::CheckedNode::writeEntryValue, value);
}

const char* ParamArray::GetEnumValueStr(const char* name, ZelCamErr* err)
{
    ZelGenParam::Enum* const param = GetEnum(name, err);
    return param != nullptr ? param->GetValueStr(err) : "";
}

std::int64_t ParamArray::GetEnumValue(const char* name, ZelCamErr* err)
{
    return readByName(*state_, name, err, &genapi::CheckedNode::readEntryValue);
}

ZelCamErr ParamArray::SetFloatValue(const char* name, double value)
{
    return callByName(*state_, name, &genapi::CheckedNode::writeFloat, value);
}

double ParamArray::GetFloatValue(const char* name, ZelCamErr* err)
{
    return readByName(*state_, name, err, &genapi::CheckedNode::readFloat);
}

ZelCamErr ParamArray::SetIntegerValue(const char* name, std::int64_t value)
{
    return callByName(*state_, name, &genapi::CheckedNode::writeInteger, value);
}

std::int64_t ParamArray::GetIntegerValue(const char* name, ZelCamErr* err)
{
    return readByName(*state_, name, err, &genapi::CheckedNode::readInteger);
}

ZelCamErr ParamArray::SetStringValue(const char* name, const char* value)
{
    return value != nullptr ? callByName(*state_, name, &genapi::CheckedNode::writeString, value)
                            : ZelErr::kInvalidArgument;
}

const char* ParamArray::GetStringValue(const char* name, ZelCamErr* err)
{
    ZelGenParam::String* const param = GetString(name, err);
    return param != nullptr ? param->GetValue(err) : "";
}

ZelCamErr ParamArray::ExecuteCommand(const char* name)
{
    return callByName(*state_, name, &genapi::CheckedNode::execute);
}

bool ParamArray::IsCommandDone(const char* name, ZelCamErr* err)
{
    return readByName(*state_, name, err, &genapi::CheckedNode::isDone);
}

} // namespace params
