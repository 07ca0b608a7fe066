// Writing: every node that a value passes checks it again.
#include "genapi/evaluator.h"
#include "genapi/nearest.h"

#include <type_traits>

namespace genapi
{

namespace
{

ZelCamErr convert(std::int64_t whole, double* value)
{
    *value = static_cast<double>(whole);
    return ZelErr::kOk;
}

ZelCamErr convert(std::int64_t whole, std::int64_t* value)
{
    *value = whole;
    return ZelErr::kOk;
}

ZelCamErr convert(double value, std::int64_t* whole) { return nearest(value, whole); }

} // namespace

ZelCamErr Evaluator::checkWritable(std::int32_t index)
{
    AccessMode mode = AccessMode::kAll;
    const ZelCamErr result = access(index, &mode);
    if (result == ZelErr::kParamGeneric || result == ZelErr::kParamTree ||
        result == ZelErr::kParamInvalidArgument)
        return ZelErr::kOk;
    if (result != ZelErr::kOk)
        return result;
    return isWritable(mode) ? ZelErr::kOk : ZelErr::kParamAccess;
}

template <class Value> ZelCamErr Evaluator::write(std::int32_t index, Value value)
{
    constexpr bool kIsReal = std::is_same_v<Value, double>;
    const Level level(*this);
    if (level.isTooDeep())
        return ZelErr::kParamTree;
    const Node& node = at(index);
    if (isFloatKind(node.kind) != kIsReal) {
        std::conditional_t<kIsReal, std::int64_t, double> other{};
        if (convert(value, &other) != ZelErr::kOk)
            return ZelErr::kParamOutOfRange;
        return write(index, other);
    }
    ZelCamErr result = checkWritable(index);
    if (result == ZelErr::kOk && (kIsReal || isIntegerKind(node.kind)))
        result = checkRange(index, value);
    else if (result == ZelErr::kOk && node.kind == NodeKind::kEnumeration)
        result = checkEntry(node, static_cast<std::int64_t>(value));
    if (result == ZelErr::kOk)
        result = store(node, value);
    return result == ZelErr::kOk ? checkErrors(node) : result;
}

ZelCamErr Evaluator::checkEntry(const Node& node, std::int64_t value)
{
    ZelCamErr result = ZelErr::kParamInvalidArgument;
    for (const Link& link : description_.linksOf(node)) {
        std::int64_t number = 0;
        if (link.kind != LinkKind::kEntry || read(link.target, &number) != ZelErr::kOk ||
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
    for (const Link& link : description_.linksOf(node, setOf(LinkKind::kError))) {
        std::int64_t code = 0;
        if (link.kind != LinkKind::kError)
            continue;
        if (const ZelCamErr result = read(link.target, &code); result != ZelErr::kOk)
            return result;
        if (code != 0)
            return ZelErr::kParamRuntime;
    }
    return ZelErr::kOk;
}

template <class Value> ZelCamErr Evaluator::writeLink(const Node& node, Link* link, Value value)
{
    if (link->target >= 0)
        return write(link->target, value);
    link->real = static_cast<double>(value);
    const ZelCamErr result = convert(value, &link->integer);
    changed(indexOf(node));
    return result;
}

template <class Value> ZelCamErr Evaluator::storeLinks(const Node& node, Value value)
{
    if (description_.find(node, LinkKind::kIndex) != nullptr) {
        Link* chosen = nullptr;
        const ZelCamErr result = valueLink(node, &chosen);
        return result == ZelErr::kOk ? writeLink(node, chosen, value) : result;
    }
    ZelCamErr result = ZelErr::kParamTree;
    for (Link& link : description_.linksOf(node)) {
        if (link.kind != LinkKind::kValue && link.kind != LinkKind::kValueCopy)
            continue;
        result = writeLink(node, &link, value);
        if (result != ZelErr::kOk)
            break;
    }
    return result;
}

template <class Value> ZelCamErr Evaluator::storeConverted(const Node& node, Value value)
{
    Value inner{};
    const std::int32_t target = description_.target(node, LinkKind::kValue);
    const ZelCamErr result = calculate(node, true, &value, &inner);
    if (result != ZelErr::kOk || target < 0)
        return result != ZelErr::kOk ? result : ZelErr::kParamTree;
    return write(target, inner);
}

template <class Value> ZelCamErr Evaluator::store(const Node& node, Value value)
{
    switch (node.kind) {
    case NodeKind::kIntReg:
    case NodeKind::kMaskedIntReg:
    case NodeKind::kStructEntry:
    case NodeKind::kFloatReg:
        return writeRegister(node, value);
    case NodeKind::kBoolean: {
        const bool isSet = value != 0;
        const Link* const number =
            description_.target(node, LinkKind::kValue) < 0
                ? nullptr
                : description_.find(node, isSet ? LinkKind::kOnValue : LinkKind::kOffValue);
        const std::int64_t otherwise = isSet ? 1 : 0;
        return storeLinks(node, number != nullptr ? number->integer : otherwise);
    }
    case NodeKind::kIntConverter:
    case NodeKind::kConverter:
        return storeConverted(node, value);
    case NodeKind::kInteger:
    case NodeKind::kFloat:
    case NodeKind::kEnumeration:
    case NodeKind::kCommand:
        return storeLinks(node, value);
    default:
        return ZelErr::kParamTree;
    }
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
        changed(index);
        return ZelErr::kOk;
    }
    if (node.kind != NodeKind::kStringReg)
        return ZelErr::kParamTree;
    Place place;
    if (result = findPlaceToWrite(node, &place); result != ZelErr::kOk)
        return result;
    if (place.length > kMaxTextRegister)
        return ZelErr::kParamOutOfRange;
    std::string padded(value);
    padded.resize(place.length, '\0');
    return writeBytes(node, place, padded.data());
}

template ZelCamErr Evaluator::write(std::int32_t, std::int64_t);
template ZelCamErr Evaluator::write(std::int32_t, double);

} // namespace genapi
