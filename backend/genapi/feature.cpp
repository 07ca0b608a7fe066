#include "genapi/feature.h"

#include "genapi/cachable.h"
#include "zel_gen_param_api.h"

#include <utility>

namespace genapi
{

std::int32_t paramTypeOf(NodeKind kind)
{
    if (isIntegerKind(kind))
        return ZelGenParam::kTypeInt;
    if (isFloatKind(kind))
        return ZelGenParam::kTypeFloat;
    switch (kind) {
    case NodeKind::kString:
    case NodeKind::kStringReg:
        return ZelGenParam::kTypeString;
    case NodeKind::kBoolean:
        return ZelGenParam::kTypeBoolean;
    case NodeKind::kCommand:
        return ZelGenParam::kTypeCommand;
    case NodeKind::kEnumeration:
        return ZelGenParam::kTypeEnum;
    case NodeKind::kCategory:
        return ZelGenParam::kTypeCategory;
    default:
        return ZelGenParam::kTypeUnknown;
    }
}

Feature::Feature(Evaluator& evaluator, std::int32_t index)
    : evaluator_(evaluator), node_(evaluator.description().at(index)), index_(index),
      type_(paramTypeOf(node_.kind)),
      isKept_(type_ != ZelGenParam::kTypeCommand && type_ != ZelGenParam::kTypeUnknown &&
              isCachable(evaluator.description(), index)),
      entries_(evaluator.description().entriesOf(node_))
{
}

ZelCamErr Feature::checkType(std::int32_t wanted) const
{
    return type_ == wanted ? ZelErr::kOk : ZelErr::kParamType;
}

ZelCamErr Feature::checkAvailable()
{
    evaluator_.begin();
    AccessMode mode = AccessMode::kAll;
    const ZelCamErr result = evaluator_.access(index_, &mode);
    return result != ZelErr::kOk || genapi::isAvailable(mode) ? result : ZelErr::kParamAccess;
}

ZelCamErr Feature::checkReadable()
{
    evaluator_.begin();
    AccessMode mode = AccessMode::kAll;
    const ZelCamErr result = evaluator_.access(index_, &mode);
    return result != ZelErr::kOk || genapi::isReadable(mode) ? result : ZelErr::kParamAccess;
}

ZelCamErr Feature::checkRanged(std::int32_t wanted)
{
    const ZelCamErr result = checkType(wanted);
    return result == ZelErr::kOk ? checkAvailable() : result;
}

bool Feature::isWritable()
{
    evaluator_.begin();
    AccessMode mode = AccessMode::kAll;
    return evaluator_.access(index_, &mode) == ZelErr::kOk && genapi::isWritable(mode);
}

template <class Value, class Read>
ZelCamErr Feature::readKept(std::int32_t wanted, KeptValue<Value>* kept, Value* value, Read read)
{
    if (const ZelCamErr result = checkType(wanted); result != ZelErr::kOk)
        return result;
    if (const Value* const known = kept->get()) {
        *value = *known;
        return ZelErr::kOk;
    }
    // What changes while the camera is asked makes the answer old.
    const std::uint64_t seen = ChangeCount::now();
    if (const ZelCamErr result = checkReadable(); result != ZelErr::kOk)
        return result;
    Value fresh{};
    if (const ZelCamErr result = read(&fresh); result != ZelErr::kOk)
        return result;
    if (isKept_)
        kept->keep(fresh, seen);
    *value = std::move(fresh);
    return ZelErr::kOk;
}

ZelCamErr Feature::readInteger(std::int64_t* value)
{
    return readKept(ZelGenParam::kTypeInt, &keptInteger_, value,
                    [this](std::int64_t* fresh) { return evaluator_.readInteger(index_, fresh); });
}

ZelCamErr Feature::writeInteger(std::int64_t value)
{
    evaluator_.begin();
    const ZelCamErr result = checkType(ZelGenParam::kTypeInt);
    return result == ZelErr::kOk ? evaluator_.writeInteger(index_, value) : result;
}

ZelCamErr Feature::integerLimit(Bound bound, std::int64_t* value)
{
    const ZelCamErr result = checkRanged(ZelGenParam::kTypeInt);
    return result == ZelErr::kOk ? evaluator_.integerLimit(index_, bound, value) : result;
}

ZelCamErr Feature::increment(std::int64_t* value)
{
    const ZelCamErr result = checkRanged(ZelGenParam::kTypeInt);
    return result == ZelErr::kOk ? evaluator_.increment(index_, value) : result;
}

ZelCamErr Feature::readFloat(double* value)
{
    return readKept(ZelGenParam::kTypeFloat, &keptReal_, value,
                    [this](double* fresh) { return evaluator_.readReal(index_, fresh); });
}

ZelCamErr Feature::writeFloat(double value)
{
    evaluator_.begin();
    const ZelCamErr result = checkType(ZelGenParam::kTypeFloat);
    return result == ZelErr::kOk ? evaluator_.writeReal(index_, value) : result;
}

ZelCamErr Feature::floatLimit(Bound bound, double* value)
{
    const ZelCamErr result = checkRanged(ZelGenParam::kTypeFloat);
    return result == ZelErr::kOk ? evaluator_.realLimit(index_, bound, value) : result;
}

std::string_view Feature::unit()
{
    evaluator_.begin();
    const Node* node = &node_;
    Link* link = nullptr;
    // The chain ends: descriptions with circles of values were refused.
    while (node->unit.empty() && !node->isRegister &&
           evaluator_.valueLink(*node, &link) == ZelErr::kOk && link->target >= 0)
        node = &evaluator_.description().at(link->target);
    return node->unit;
}

ZelCamErr Feature::readBoolean(bool* value)
{
    std::int64_t whole = 0;
    const ZelCamErr result =
        readKept(ZelGenParam::kTypeBoolean, &keptInteger_, &whole,
                 [this](std::int64_t* fresh) { return evaluator_.readInteger(index_, fresh); });
    if (result == ZelErr::kOk)
        *value = whole != 0;
    return result;
}

ZelCamErr Feature::writeBoolean(bool value)
{
    evaluator_.begin();
    const ZelCamErr result = checkType(ZelGenParam::kTypeBoolean);
    return result == ZelErr::kOk ? evaluator_.writeInteger(index_, value ? 1 : 0) : result;
}

ZelCamErr Feature::readString(std::string* value)
{
    return readKept(ZelGenParam::kTypeString, &keptText_, value,
                    [this](std::string* fresh) { return evaluator_.readText(index_, fresh); });
}

ZelCamErr Feature::writeString(std::string_view value)
{
    evaluator_.begin();
    const ZelCamErr result = checkType(ZelGenParam::kTypeString);
    return result == ZelErr::kOk ? evaluator_.writeText(index_, value) : result;
}

ZelCamErr Feature::maxLength(std::int32_t* length)
{
    if (const ZelCamErr result = checkType(ZelGenParam::kTypeString); result != ZelErr::kOk)
        return result;
    evaluator_.begin();
    std::int64_t bytes = 0;
    const ZelCamErr result = evaluator_.maxLength(index_, &bytes);
    if (result == ZelErr::kOk)
        *length = static_cast<std::int32_t>(bytes);
    return result;
}

ZelCamErr Feature::execute()
{
    if (const ZelCamErr result = checkType(ZelGenParam::kTypeCommand); result != ZelErr::kOk)
        return result;
    evaluator_.begin();
    std::int64_t value = 1;
    const Link* const given = evaluator_.description().find(node_, LinkKind::kCommandValue);
    if (given != nullptr) {
        if (const ZelCamErr result = evaluator_.readInteger(*given, &value); result != ZelErr::kOk)
            return result;
    }
    isFinished_ = false;
    return evaluator_.writeInteger(index_, value);
}

bool Feature::canTellDone()
{
    // Where nobody takes the value away, there is nothing to wait for.
    const Node* node = &node_;
    while (node->kind == NodeKind::kCommand || node->kind == NodeKind::kInteger) {
        const std::int32_t next = evaluator_.description().target(*node, LinkKind::kValue);
        if (next < 0)
            return false;
        node = &evaluator_.description().at(next);
    }
    return node_.isSelfClearing;
}

ZelCamErr Feature::isDone(bool* done)
{
    if (const ZelCamErr result = checkType(ZelGenParam::kTypeCommand); result != ZelErr::kOk)
        return result;
    if (const ZelCamErr result = checkAvailable(); result != ZelErr::kOk)
        return result;
    const Link* const given = evaluator_.description().find(node_, LinkKind::kCommandValue);
    std::int64_t value = 1;
    if (given != nullptr) {
        if (const ZelCamErr result = evaluator_.readInteger(*given, &value); result != ZelErr::kOk)
            return result;
    }
    // A register that holds 0 does so with and without the command.
    if (isFinished_ || value == 0 || !isReadable() || !canTellDone()) {
        *done = true;
        return ZelErr::kOk;
    }
    // The camera changes it behind every cache.
    ChangeCount::advance();
    evaluator_.begin();
    std::int64_t present = 0;
    const ZelCamErr result = evaluator_.readInteger(index_, &present);
    if (result == ZelErr::kOk)
        *done = isFinished_ = present != value;
    return result;
}

const Node& Feature::entry(std::size_t entry) const
{
    return evaluator_.description().at(entries_[entry]);
}

std::int64_t Feature::entryValue(std::size_t entry) const
{
    std::int64_t value = 0;
    evaluator_.readInteger(entries_[entry], &value);
    return value;
}

AccessMode Feature::entryMode(std::size_t entry)
{
    AccessMode mode = AccessMode::kAll;
    const ZelCamErr result = evaluator_.access(entries_[entry], &mode);
    return result == ZelErr::kOk ? mode : AccessMode::kNotImplemented;
}

bool Feature::isEntryImplemented(std::size_t entry)
{
    evaluator_.begin();
    return entryMode(entry) != AccessMode::kNotImplemented;
}

bool Feature::isEntryAvailable(std::size_t entry)
{
    evaluator_.begin();
    return genapi::isAvailable(entryMode(entry));
}

ZelCamErr Feature::readEntry(std::size_t* entry)
{
    if (clearing_ >= 0)
        ChangeCount::advance();
    const ZelCamErr result = readKept(ZelGenParam::kTypeEnum, &keptEntry_, entry,
                                      [this](std::size_t* fresh) { return findEntry(fresh); });
    if (result == ZelErr::kOk && static_cast<std::int32_t>(*entry) != clearing_)
        clearing_ = -1;
    return result;
}

ZelCamErr Feature::findEntry(std::size_t* entry)
{
    std::int64_t value = 0;
    if (const ZelCamErr result = evaluator_.readInteger(index_, &value); result != ZelErr::kOk)
        return result;
    // Of several entries of one value the last one that is there; the camera may also be where it
    // should not.
    std::size_t found = entries_.size();
    for (std::size_t i = entries_.size(); i-- > 0;) {
        if (entryValue(i) != value)
            continue;
        if (entryMode(i) != AccessMode::kNotImplemented) {
            found = i;
            break;
        }
        found = found == entries_.size() ? i : found;
    }
    *entry = found;
    return found < entries_.size() ? ZelErr::kOk : ZelErr::kParamInvalidArgument;
}

ZelCamErr Feature::writeEntry(std::size_t entry)
{
    const AccessMode mode = entryMode(entry);
    if (!genapi::isAvailable(mode))
        return ZelErr::kParamAccess;
    const ZelCamErr result = evaluator_.writeInteger(index_, entryValue(entry));
    clearing_ = this->entry(entry).isSelfClearing ? static_cast<std::int32_t>(entry) : -1;
    return result;
}

ZelCamErr Feature::writeEntryValue(std::int64_t value)
{
    evaluator_.begin();
    const ZelCamErr result = checkType(ZelGenParam::kTypeEnum);
    return result == ZelErr::kOk ? evaluator_.writeInteger(index_, value) : result;
}

ZelCamErr Feature::writeEntrySymbol(std::string_view symbol)
{
    if (const ZelCamErr result = checkType(ZelGenParam::kTypeEnum); result != ZelErr::kOk)
        return result;
    evaluator_.begin();
    if (const ZelCamErr result = evaluator_.checkWritable(index_); result != ZelErr::kOk)
        return result;
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        if (entry(i).name == symbol)
            return writeEntry(i);
    }
    return ZelErr::kParamInvalidArgument;
}

} // namespace genapi
