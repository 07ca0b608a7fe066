#include "genapi/feature.h"

#include "genapi/cachable.h"
#include "genapi/feature_map.h"
#include "zel_gen_param_api.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace genapi
{

namespace
{

const NodeDescription& nodeAt(FeatureMap& map, std::int32_t index)
{
    return map.description().nodes[static_cast<std::size_t>(index)];
}

} // namespace

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

Feature::Feature(FeatureMap& map, std::int32_t index)
    : map_(map), node_(nodeAt(map, index)), type_(paramTypeOf(node_.kind)),
      engine_(map.engine(index)), access_(map, index), range_(map, index),
      isKept_(type_ != ZelGenParam::kTypeCommand && type_ != ZelGenParam::kTypeUnknown &&
              isCachable(map.description(), index)),
      entries_(node_.entries.size())
{
    // ArvGc writes only the first register of a value that several ones hold.
    for (const NodeDescription* node = &node_; node != nullptr;) {
        for (const Reference& reference : node->references) {
            if (reference.kind == ReferenceKind::kValueCopy)
                copies_.push_back(map.engine(reference.target));
        }
        const std::int32_t next = node->target(ReferenceKind::kValue);
        node = next >= 0 ? &nodeAt(map, next) : nullptr;
    }
}

ZelCamErr Feature::checkType(std::int32_t wanted) const
{
    return type_ == wanted ? ZelErr::kOk : ZelErr::kParamType;
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
    if (const ZelCamErr result = access_.checkReadable(); result != ZelErr::kOk)
        return result;
    Value fresh{};
    if (const ZelCamErr result = read(&fresh); result != ZelErr::kOk)
        return result;
    if (isKept_)
        kept->keep(fresh, seen);
    *value = std::move(fresh);
    return ZelErr::kOk;
}

const NodeDescription* Feature::valueNode() const
{
    const NodeDescription* node = &node_;
    while (node->target(ReferenceKind::kValue) >= 0)
        node = &nodeAt(map_, node->target(ReferenceKind::kValue));
    return node;
}

ZelCamErr Feature::readInteger(std::int64_t* value)
{
    return readKept(ZelGenParam::kTypeInt, &keptInteger_, value,
                    [this](std::int64_t* fresh) { return engine_.readInteger(fresh); });
}

ZelCamErr Feature::writeWhole(std::int64_t value)
{
    ZelCamErr result = engine_.writeInteger(value);
    for (std::size_t i = 0; i < copies_.size() && result == ZelErr::kOk; ++i)
        result = copies_[i].writeInteger(value);
    return result;
}

ZelCamErr Feature::writeInteger(std::int64_t value)
{
    if (const ZelCamErr result = checkType(ZelGenParam::kTypeInt); result != ZelErr::kOk)
        return result;
    if (const ZelCamErr result = access_.checkWritable(); result != ZelErr::kOk)
        return result;
    if (const ZelCamErr result = range_.check(value); result != ZelErr::kOk)
        return result;
    return writeWhole(value);
}

ZelCamErr Feature::integerRange(IntegerRange* range)
{
    if (const ZelCamErr result = checkType(ZelGenParam::kTypeInt); result != ZelErr::kOk)
        return result;
    return range_.integer(range);
}

ZelCamErr Feature::readFloat(double* value)
{
    return readKept(ZelGenParam::kTypeFloat, &keptReal_, value,
                    [this](double* fresh) { return engine_.readReal(fresh); });
}

bool Feature::isStoredWhole() const
{
    const NodeDescription* node = &node_;
    while (node->kind == NodeKind::kFloat && node->target(ReferenceKind::kValue) >= 0)
        node = &nodeAt(map_, node->target(ReferenceKind::kValue));
    return !isFloatKind(node->kind);
}

ZelCamErr Feature::writeFloat(double value)
{
    if (const ZelCamErr result = checkType(ZelGenParam::kTypeFloat); result != ZelErr::kOk)
        return result;
    if (const ZelCamErr result = access_.checkWritable(); result != ZelErr::kOk)
        return result;
    if (const ZelCamErr result = range_.check(value); result != ZelErr::kOk)
        return result;
    // ArvGc would cut the fraction off.
    const double stored = isStoredWhole() ? std::round(value) : value;
    ZelCamErr result = engine_.writeReal(stored);
    for (std::size_t i = 0; i < copies_.size() && result == ZelErr::kOk; ++i)
        result = copies_[i].writeReal(stored);
    return result;
}

ZelCamErr Feature::floatRange(FloatRange* range)
{
    if (const ZelCamErr result = checkType(ZelGenParam::kTypeFloat); result != ZelErr::kOk)
        return result;
    return range_.real(range);
}

const std::string& Feature::unit() const
{
    const NodeDescription* node = &node_;
    while (node->unit.empty() && node->target(ReferenceKind::kValue) >= 0)
        node = &nodeAt(map_, node->target(ReferenceKind::kValue));
    return node->unit;
}

ZelCamErr Feature::readBoolean(bool* value)
{
    std::int64_t whole = 0;
    const ZelCamErr result =
        readKept(ZelGenParam::kTypeBoolean, &keptInteger_, &whole,
                 [this](std::int64_t* fresh) { return engine_.readInteger(fresh); });
    if (result == ZelErr::kOk)
        *value = whole != 0;
    return result;
}

ZelCamErr Feature::writeBoolean(bool value)
{
    if (const ZelCamErr result = checkType(ZelGenParam::kTypeBoolean); result != ZelErr::kOk)
        return result;
    if (const ZelCamErr result = access_.checkWritable(); result != ZelErr::kOk)
        return result;
    return writeWhole(value ? 1 : 0);
}

ZelCamErr Feature::readString(std::string* value)
{
    return readKept(ZelGenParam::kTypeString, &keptText_, value,
                    [this](std::string* fresh) { return engine_.readText(fresh); });
}

ZelCamErr Feature::maxLength(std::int32_t* length)
{
    if (const ZelCamErr result = checkType(ZelGenParam::kTypeString); result != ZelErr::kOk)
        return result;
    *length = std::numeric_limits<std::int32_t>::max();
    const NodeDescription* const node = valueNode();
    if (node->kind != NodeKind::kStringReg)
        return ZelErr::kOk;
    std::int64_t bytes = node->length;
    const std::int32_t source = node->target(ReferenceKind::kLength);
    if (source >= 0) {
        const ZelCamErr result = map_.engine(source).readInteger(&bytes);
        if (result != ZelErr::kOk)
            return result;
    }
    *length = static_cast<std::int32_t>(
        std::min<std::int64_t>(std::max<std::int64_t>(bytes, 0), *length));
    return ZelErr::kOk;
}

ZelCamErr Feature::writeString(std::string_view value)
{
    if (const ZelCamErr result = checkType(ZelGenParam::kTypeString); result != ZelErr::kOk)
        return result;
    if (const ZelCamErr result = access_.checkWritable(); result != ZelErr::kOk)
        return result;
    std::int32_t limit = 0;
    if (const ZelCamErr result = maxLength(&limit); result != ZelErr::kOk)
        return result;
    if (value.size() > static_cast<std::size_t>(limit))
        return ZelErr::kParamOutOfRange;
    return engine_.writeText(std::string(value).c_str());
}

ZelCamErr Feature::execute()
{
    if (const ZelCamErr result = checkType(ZelGenParam::kTypeCommand); result != ZelErr::kOk)
        return result;
    if (const ZelCamErr result = access_.checkWritable(); result != ZelErr::kOk)
        return result;
    std::int64_t value = node_.commandValue ? node_.commandValue->integer : 1;
    const std::int32_t source = node_.target(ReferenceKind::kCommandValue);
    if (source >= 0) {
        const ZelCamErr result = map_.engine(source).readInteger(&value);
        if (result != ZelErr::kOk)
            return result;
    }
    return writeWhole(value);
}

ZelCamErr Feature::isDone(bool* done)
{
    if (const ZelCamErr result = checkType(ZelGenParam::kTypeCommand); result != ZelErr::kOk)
        return result;
    // Where nobody takes the value away, there is nothing to wait for.
    const NodeDescription* const stored = valueNode();
    const bool canTell = access_.hasReadableMode() && node_.isSelfClearing &&
                         (stored->isRegister || stored->kind == NodeKind::kStructEntry ||
                          stored->kind == NodeKind::kIntSwissKnife);
    if (const ZelCamErr result = canTell ? access_.checkReadable() : access_.checkAvailable();
        result != ZelErr::kOk)
        return result;
    if (!canTell) {
        *done = true;
        return ZelErr::kOk;
    }
    std::int64_t commandValue = node_.commandValue ? node_.commandValue->integer : 1;
    std::int64_t present = 0;
    const std::int32_t source = node_.target(ReferenceKind::kCommandValue);
    ZelCamErr result = engine_.readInteger(&present);
    if (result == ZelErr::kOk && source >= 0)
        result = map_.engine(source).readInteger(&commandValue);
    if (result == ZelErr::kOk)
        *done = present != commandValue;
    return result;
}

FeatureAccess& Feature::entryAccess(std::size_t entry)
{
    auto& slot = entries_[entry];
    if (slot == nullptr)
        slot = std::make_unique<FeatureAccess>(map_, node_.entries[entry].references);
    return *slot;
}

ZelCamErr Feature::readEntry(std::size_t* entry)
{
    return readKept(ZelGenParam::kTypeEnum, &keptEntry_, entry,
                    [this](std::size_t* fresh) { return findEntry(fresh); });
}

ZelCamErr Feature::findEntry(std::size_t* entry)
{
    std::int64_t value = 0;
    if (const ZelCamErr result = engine_.readInteger(&value); result != ZelErr::kOk)
        return result;
    // Several entries may share a value, one of them implemented.
    std::size_t found = node_.entries.size();
    for (std::size_t i = 0; i < node_.entries.size(); ++i) {
        if (node_.entries[i].value != value)
            continue;
        if (entryAccess(i).isImplemented()) {
            *entry = i;
            return ZelErr::kOk;
        }
        found = i;
    }
    if (found == node_.entries.size())
        return ZelErr::kParamInvalidArgument;
    *entry = found;
    return ZelErr::kOk;
}

ZelCamErr Feature::writeEntry(std::size_t entry)
{
    if (const ZelCamErr result = entryAccess(entry).checkReadable(); result != ZelErr::kOk)
        return result;
    return writeWhole(node_.entries[entry].value);
}

ZelCamErr Feature::writeEntryValue(std::int64_t value)
{
    if (const ZelCamErr result = checkType(ZelGenParam::kTypeEnum); result != ZelErr::kOk)
        return result;
    if (const ZelCamErr result = access_.checkWritable(); result != ZelErr::kOk)
        return result;
    std::size_t found = node_.entries.size();
    for (std::size_t i = node_.entries.size(); i-- > 0;) {
        if (node_.entries[i].value == value &&
            (found == node_.entries.size() || entryAccess(i).isAvailable()))
            found = i;
    }
    return found < node_.entries.size() ? writeEntry(found) : ZelErr::kParamInvalidArgument;
}

ZelCamErr Feature::writeEntrySymbol(std::string_view symbol)
{
    if (const ZelCamErr result = checkType(ZelGenParam::kTypeEnum); result != ZelErr::kOk)
        return result;
    if (const ZelCamErr result = access_.checkWritable(); result != ZelErr::kOk)
        return result;
    for (std::size_t i = 0; i < node_.entries.size(); ++i) {
        if (node_.entries[i].symbol == symbol)
            return writeEntry(i);
    }
    return ZelErr::kParamInvalidArgument;
}

} // namespace genapi
