// Writing: every node that a value passes checks it again.
#include "genapi/evaluator.h"
#include "genapi/evaluator_level.h"
#include "genapi/nearest.h"

#include <algorithm>
#include <cmath>

namespace genapi
{

namespace
{
constexpr std::size_t kMaxText = std::size_t{1} << 20U;
}

ZelCamErr Evaluator::checkWritable(std::int32_t index)
{
    AccessMode mode = AccessMode::kAll;
    const ZelCamErr result = access(index, &mode);
    if (result != ZelErr::kOk)
        return result;
    return isWritable(mode) ? ZelErr::kOk : ZelErr::kParamAccess;
}

ZelCamErr Evaluator::writeInteger(std::int32_t index, std::int64_t value)
{
    const Level level(*this);
    if (level.isTooDeep())
        return ZelErr::kParamTree;
    const Node& node = at(index);
    if (isFloatKind(node.kind))
        return writeReal(index, static_cast<double>(value));
    ZelCamErr result = checkWritable(index);
    if (result != ZelErr::kOk)
        return result;
    if (isIntegerKind(node.kind))
        result = checkRange(index, value);
    else if (node.kind == NodeKind::kEnumeration)
        result = checkEntry(node, value);
    if (result == ZelErr::kOk)
        result = storeInteger(node, value);
    return result == ZelErr::kOk ? checkErrors(node) : result;
}

ZelCamErr Evaluator::writeReal(std::int32_t index, double value)
{
    const Level level(*this);
    if (level.isTooDeep())
        return ZelErr::kParamTree;
    const Node& node = at(index);
    if (!isFloatKind(node.kind)) {
        std::int64_t whole = 0;
        const ZelCamErr result = nearest(value, &whole);
        return result == ZelErr::kOk ? writeInteger(index, whole) : ZelErr::kParamOutOfRange;
    }
    ZelCamErr result = checkWritable(index);
    if (result == ZelErr::kOk)
        result = checkRange(index, value);
    if (result == ZelErr::kOk)
        result = storeReal(node, value);
    return result == ZelErr::kOk ? checkErrors(node) : result;
}

ZelCamErr Evaluator::checkEntry(const Node& node, std::int64_t value)
{
    ZelCamErr result = ZelErr::kParamInvalidArgument;
    for (const Link& link : description_.linksOf(node)) {
        std::int64_t number = 0;
        if (link.kind != LinkKind::kEntry || readInteger(link.target, &number) != ZelErr::kOk ||
            number != value)
            continue;
        AccessMode mode = AccessMode::kAll;
        result = access(link.target, &mode);
        if (result == ZelErr::kOk && isAvailable(mode))
            return result;
        result = result == ZelErr::kOk ? ZelErr::kParamAccess : result;
    }
    return result;
}

ZelCamErr Evaluator::checkErrors(const Node& node)
{
    for (const Link& link : description_.linksOf(node)) {
        std::int64_t code = 0;
        if (link.kind != LinkKind::kError)
            continue;
        if (const ZelCamErr result = readInteger(link.target, &code); result != ZelErr::kOk)
            return result;
        if (code != 0)
            return ZelErr::kParamRuntime;
    }
    return ZelErr::kOk;
}

ZelCamErr Evaluator::writeLink(Link* link, std::int64_t value)
{
    if (link->target >= 0)
        return writeInteger(link->target, value);
    link->integer = value;
    link->real = static_cast<double>(value);
    forget();
    return ZelErr::kOk;
}

ZelCamErr Evaluator::writeLink(Link* link, double value)
{
    if (link->target >= 0)
        return writeReal(link->target, value);
    link->real = value;
    const ZelCamErr result = nearest(value, &link->integer);
    forget();
    return result;
}

template <class Value> ZelCamErr Evaluator::storeLinks(const Node& node, Value value)
{
    if (description_.find(node, LinkKind::kIndex) != nullptr) {
        Link* chosen = nullptr;
        const ZelCamErr result = valueLink(node, &chosen);
        return result == ZelErr::kOk ? writeLink(chosen, value) : result;
    }
    ZelCamErr result = ZelErr::kParamTree;
    for (Link& link : description_.linksOf(node)) {
        if (link.kind != LinkKind::kValue && link.kind != LinkKind::kValueCopy)
            continue;
        result = writeLink(&link, value);
        if (result != ZelErr::kOk)
            break;
    }
    return result;
}

ZelCamErr Evaluator::storeInteger(const Node& node, std::int64_t value)
{
    switch (node.kind) {
    case NodeKind::kIntReg:
    case NodeKind::kMaskedIntReg:
    case NodeKind::kStructEntry:
        return writeIntegerRegister(node, value);
    case NodeKind::kBoolean: {
        const Link* const number =
            description_.target(node, LinkKind::kValue) < 0
                ? nullptr
                : description_.find(node, value != 0 ? LinkKind::kOnValue : LinkKind::kOffValue);
        const std::int64_t otherwise = value != 0 ? 1 : 0;
        return storeLinks(node, number != nullptr ? number->integer : otherwise);
    }
    case NodeKind::kIntConverter: {
        std::int64_t inner = 0;
        const std::int32_t target = description_.target(node, LinkKind::kValue);
        const ZelCamErr result = calculate(node, true, &value, &inner);
        if (result != ZelErr::kOk || target < 0)
            return result != ZelErr::kOk ? result : ZelErr::kParamTree;
        return writeInteger(target, inner);
    }
    case NodeKind::kInteger:
    case NodeKind::kEnumeration:
    case NodeKind::kCommand:
        return storeLinks(node, value);
    default:
        return ZelErr::kParamTree;
    }
}

ZelCamErr Evaluator::storeReal(const Node& node, double value)
{
    if (node.kind == NodeKind::kFloat)
        return storeLinks(node, value);
    if (node.kind == NodeKind::kFloatReg)
        return writeRealRegister(node, value);
    double inner = 0.0;
    const std::int32_t target = description_.target(node, LinkKind::kValue);
    const ZelCamErr result = calculate(node, true, &value, &inner);
    if (result != ZelErr::kOk || target < 0)
        return result != ZelErr::kOk ? result : ZelErr::kParamTree;
    return writeReal(target, inner);
}

ZelCamErr Evaluator::writeText(std::int32_t index, std::string_view value)
{
    const Level level(*this);
    if (level.isTooDeep())
        return ZelErr::kParamTree;
    const Node& node = at(index);
    std::int64_t limit = 0;
    ZelCamErr result = checkWritable(index);
    if (result == ZelErr::kOk)
        result = maxLength(index, &limit);
    if (result != ZelErr::kOk)
        return result;
    if (value.size() > static_cast<std::uint64_t>(limit))
        return ZelErr::kParamOutOfRange;
    if (node.kind == NodeKind::kString) {
        Link* link = nullptr;
        if (result = valueLink(node, &link); result != ZelErr::kOk)
            return result;
        if (link->target >= 0)
            return writeText(link->target, value);
        if (link->text < 0)
            return ZelErr::kParamTree;
        std::string& held = heldTexts_[link];
        held = value;
        description_.texts[static_cast<std::size_t>(link->text)] = held;
        forget();
        return ZelErr::kOk;
    }
    if (node.kind != NodeKind::kStringReg)
        return ZelErr::kParamTree;
    Place place;
    if (result = findPlaceToWrite(node, &place); result != ZelErr::kOk)
        return result;
    if (place.length > kMaxText)
        return ZelErr::kParamOutOfRange;
    std::string padded(value);
    padded.resize(place.length, '\0');
    return writeBytes(place, padded.data());
}

} // namespace genapi
