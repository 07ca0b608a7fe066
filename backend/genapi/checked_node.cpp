#include "genapi/checked_node.h"

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

CheckedNode::CheckedNode(Evaluator& evaluator, std::int32_t index)
    : evaluator_(evaluator), node_(evaluator.description().at(index)), index_(index),
      type_(paramTypeOf(node_.kind)),
      isKept_(type_ != ZelGenParam::kTypeCommand && type_ != ZelGenParam::kTypeUnknown &&
              evaluator.mayKeep(index, Part::kValue)),
      entries_(evaluator.description().entriesOf(node_))
{
}

ZelCamErr CheckedNode::checkType(std::int32_t wanted) const
{
    return type_ == wanted ? ZelErr::kOk : ZelErr::kParamType;
}

ZelCamErr CheckedNode::checkMode(bool (*wanted)(AccessMode))
{
    evaluator_.begin();
    AccessMode mode = AccessMode::kAll;
    const ZelCamErr result = evaluator_.access(index_, &mode);
    return result != ZelErr::kOk || wanted(mode) ? result : ZelErr::kParamAccess;
}

ZelCamErr CheckedNode::checkAvailable(std::int32_t wanted)
{
    const ZelCamErr result = checkType(wanted);
    return result == ZelErr::kOk ? checkMode(genapi::isAvailable) : result;
}

template <class Value, class Read>
ZelCamErr CheckedNode::readKept(std::int32_t wanted, Kept<Value>* kept, Value* value, Read read)
{
    if (const ZelCamErr result = checkType(wanted); result != ZelErr::kOk)
        return result;
    if (kept->then != 0 && evaluator_.holds(index_, Part::kValue, kept->then)) {
        *value = kept->value;
        return ZelErr::kOk;
    }
    // What changes while the camera is asked makes the answer old.
    const std::uint64_t then = evaluator_.now();
    if (const ZelCamErr result = checkMode(genapi::isReadable); result != ZelErr::kOk)
        return result;
    Value fresh{};
    if (const ZelCamErr result = read(&fresh); result != ZelErr::kOk)
        return result;
    if (isKept_) {
        kept->value = fresh;
        kept->then = then;
    }
    *value = std::move(fresh);
    return ZelErr::kOk;
}

template <class Value> ZelCamErr CheckedNode::write(std::int32_t wanted, Value value)
{
    evaluator_.begin();
    const ZelCamErr result = checkType(wanted);
    return result == ZelErr::kOk ? evaluator_.write(index_, value) : result;
}

template <class Value> ZelCamErr CheckedNode::limit(std::int32_t wanted, Bound bound, Value* value)
{
    const ZelCamErr result = checkAvailable(wanted);
    return result == ZelErr::kOk ? evaluator_.limit(index_, bound, value) : result;
}

template ZelCamErr CheckedNode::write(std::int32_t, std::int64_t);
template ZelCamErr CheckedNode::write(std::int32_t, double);
template ZelCamErr CheckedNode::limit(std::int32_t, Bound, std::int64_t*);
template ZelCamErr CheckedNode::limit(std::int32_t, Bound, double*);

ZelCamErr CheckedNode::readInteger(std::int64_t* value)
{
    return readKept(ZelGenParam::kTypeInt, &keptInteger_, value,
                    [this](std::int64_t* fresh) { return evaluator_.read(index_, fresh); });
}

ZelCamErr CheckedNode::readFloat(double* value)
{
    return readKept(ZelGenParam::kTypeFloat, &keptReal_, value,
                    [this](double* fresh) { return evaluator_.read(index_, fresh); });
}

ZelCamErr CheckedNode::readBoolean(bool* value)
{
    std::int64_t whole = 0;
    const ZelCamErr result =
        readKept(ZelGenParam::kTypeBoolean, &keptInteger_, &whole,
                 [this](std::int64_t* fresh) { return evaluator_.read(index_, fresh); });
    if (result == ZelErr::kOk)
        *value = whole != 0;
    return result;
}

ZelCamErr CheckedNode::readString(std::string* value)
{
    return readKept(ZelGenParam::kTypeString, &keptText_, value,
                    [this](std::string* fresh) { return evaluator_.readText(index_, fresh); });
}

ZelCamErr CheckedNode::increment(std::int64_t* value)
{
    const ZelCamErr result = checkAvailable(ZelGenParam::kTypeInt);
    return result == ZelErr::kOk ? evaluator_.increment(index_, value) : result;
}

std::string_view CheckedNode::unit()
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

ZelCamErr CheckedNode::writeString(std::string_view value)
{
    evaluator_.begin();
    const ZelCamErr result = checkType(ZelGenParam::kTypeString);
    return result == ZelErr::kOk ? evaluator_.writeText(index_, value) : result;
}

ZelCamErr CheckedNode::maxLength(std::int32_t* length)
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

ZelCamErr CheckedNode::commandValue(std::int64_t* value)
{
    const Link* const given = evaluator_.description().find(node_, LinkKind::kCommandValue);
    *value = 1;
    return given != nullptr ? evaluator_.read(*given, value) : ZelErr::kOk;
}

ZelCamErr CheckedNode::execute()
{
    evaluator_.begin();
    std::int64_t value = 1;
    ZelCamErr result = checkType(ZelGenParam::kTypeCommand);
    if (result == ZelErr::kOk)
        result = commandValue(&value);
    if (result != ZelErr::kOk)
        return result;
    isFinished_ = false;
    result = evaluator_.write(index_, value);
    // Few descriptions tell what loading settings, or a reset, changes.
    evaluator_.forget();
    return result;
}

bool CheckedNode::canTellDone()
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

ZelCamErr CheckedNode::isDone(bool* done)
{
    std::int64_t value = 1;
    ZelCamErr result = checkAvailable(ZelGenParam::kTypeCommand);
    if (result == ZelErr::kOk)
        result = commandValue(&value);
    if (result != ZelErr::kOk)
        return result;
    // A register that holds 0 does so with and without the command.
    if (isFinished_ || value == 0 || !isReadable() || !canTellDone()) {
        *done = true;
        return ZelErr::kOk;
    }
    // The camera changes it behind every cache.
    evaluator_.forget();
    evaluator_.begin();
    std::int64_t present = 0;
    result = evaluator_.read(index_, &present);
    if (result == ZelErr::kOk)
        *done = isFinished_ = present != value;
    return result;
}

const Node& CheckedNode::entry(std::size_t entry) const
{
    return evaluator_.description().at(entries_[entry]);
}

std::int64_t CheckedNode::entryValue(std::size_t entry) const
{
    std::int64_t value = 0;
    evaluator_.read(entries_[entry], &value);
    return value;
}

AccessMode CheckedNode::entryMode(std::size_t entry)
{
    AccessMode mode = AccessMode::kAll;
    const ZelCamErr result = evaluator_.access(entries_[entry], &mode);
    return result == ZelErr::kOk ? mode : AccessMode::kNotImplemented;
}

bool CheckedNode::isEntryImplemented(std::size_t entry)
{
    evaluator_.begin();
    return entryMode(entry) != AccessMode::kNotImplemented;
}

bool CheckedNode::isEntryAvailable(std::size_t entry)
{
    evaluator_.begin();
    return genapi::isAvailable(entryMode(entry));
}

ZelCamErr CheckedNode::readEntry(std::size_t* entry)
{
    if (clearing_ >= 0)
        evaluator_.forget();
    const ZelCamErr result = readKept(ZelGenParam::kTypeEnum, &keptEntry_, entry,
                                      [this](std::size_t* fresh) { return findEntry(fresh); });
    if (result == ZelErr::kOk && static_cast<std::int32_t>(*entry) != clearing_)
        clearing_ = -1;
    return result;
}

ZelCamErr CheckedNode::readEntryValue(std::int64_t* value)
{
    std::size_t entry = 0;
    const ZelCamErr result = readEntry(&entry);
    if (result == ZelErr::kOk)
        *value = entryValue(entry);
    return result;
}

ZelCamErr CheckedNode::findEntry(std::size_t* entry)
{
    std::int64_t value = 0;
    if (const ZelCamErr result = evaluator_.read(index_, &value); result != ZelErr::kOk)
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

ZelCamErr CheckedNode::writeEntry(std::size_t entry)
{
    const AccessMode mode = entryMode(entry);
    if (!genapi::isAvailable(mode))
        return ZelErr::kParamAccess;
    const ZelCamErr result = evaluator_.write(index_, entryValue(entry));
    clearing_ = this->entry(entry).isSelfClearing ? static_cast<std::int32_t>(entry) : -1;
    return result;
}

ZelCamErr CheckedNode::writeEntrySymbol(std::string_view symbol)
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
