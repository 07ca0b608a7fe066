// Whether nodes can be read and written now.
#include "genapi/evaluator.h"

namespace genapi
{

ZelCamErr Evaluator::access(std::int32_t index, AccessMode* mode)
{
    KnownAccess& known = known_[static_cast<std::size_t>(index)];
    const bool isNow = known.operation == operation_;
    if (isNow || (known.then != 0 && holds(index, Part::kChecks, known.then))) {
        // A node that is met again on the way adds nothing to itself.
        circles_ += isNow && known.isOpen ? 1 : 0;
        *mode = known.mode;
        return known.code;
    }
    const Level level(*this);
    if (level.isTooDeep())
        return ZelErr::kParamTree;
    const std::uint64_t then = now();
    const std::uint64_t circles = circles_;
    known = {0, operation_, ZelErr::kOk, AccessMode::kAll, true};
    AccessMode found = AccessMode::kAll;
    const ZelCamErr code = findAccess(at(index), &found);
    // What was found on a way around lacks a part.
    const bool isKept = code == ZelErr::kOk && circles == circles_ && mayKeep(index, Part::kChecks);
    known = {isKept ? then : 0, operation_, code, found, false};
    *mode = found;
    return code;
}

ZelCamErr Evaluator::askCondition(const Link& link, AccessMode* mode, bool* isSet)
{
    *isSet = false;
    AccessMode condition = AccessMode::kAll;
    if (const ZelCamErr result = access(link.target, &condition); result != ZelErr::kOk)
        return result;
    if (!isAvailable(condition)) {
        *mode = combine(*mode, condition);
        return ZelErr::kOk;
    }
    std::int64_t value = 0;
    const ZelCamErr result = read(link.target, &value);
    *isSet = value != 0;
    return result;
}

ZelCamErr Evaluator::findAccess(const Node& node, AccessMode* mode)
{
    if (node.isBroken) {
        *mode = AccessMode::kNotImplemented;
        return ZelErr::kOk;
    }
    for (const LinkKind kind : {LinkKind::kImplemented, LinkKind::kAvailable}) {
        for (const Link& link : description_.linksOf(node, setOf(kind))) {
            if (link.kind != kind)
                continue;
            bool isSet = false;
            if (const ZelCamErr result = askCondition(link, mode, &isSet); result != ZelErr::kOk)
                return result;
            if (!isSet && isAvailable(*mode))
                *mode = kind == LinkKind::kImplemented ? AccessMode::kNotImplemented
                                                       : AccessMode::kNotAvailable;
            // What none of its entries is implemented of is not either.
            if (*mode == AccessMode::kNotAvailable && node.kind == NodeKind::kEnumeration)
                entriesAccess(node, mode);
            if (!isAvailable(*mode))
                return ZelErr::kOk;
        }
    }
    if (const ZelCamErr result = ownAccess(node, mode); result != ZelErr::kOk)
        return result;
    const Link* const lock = description_.find(node, LinkKind::kLocked);
    if (lock != nullptr && isAvailable(*mode)) {
        bool isSet = false;
        if (const ZelCamErr result = askCondition(*lock, mode, &isSet); result != ZelErr::kOk)
            return result;
        if (isSet)
            *mode = combine(*mode, AccessMode::kReadOnly);
    }
    *mode = combine(*mode, node.imposedAccess);
    return ZelErr::kOk;
}

ZelCamErr Evaluator::ownAccess(const Node& node, AccessMode* mode)
{
    switch (node.kind) {
    case NodeKind::kOther:
        *mode = node.isRegister ? *mode : AccessMode::kNotImplemented;
        return ZelErr::kOk;
    case NodeKind::kCategory: {
        AccessMode feature = AccessMode::kAll;
        *mode = AccessMode::kNotImplemented;
        for (const Link& link : description_.linksOf(node)) {
            if (link.kind == LinkKind::kFeature && (access(link.target, &feature) != ZelErr::kOk ||
                                                    feature != AccessMode::kNotImplemented)) {
                *mode = AccessMode::kReadOnly;
                break;
            }
        }
        return ZelErr::kOk;
    }
    case NodeKind::kPort:
        return router_.hasData(node.overlay) ? ZelErr::kOk : ZelErr::kGenTLNotAvailable;
    case NodeKind::kEnumeration:
        if (const ZelCamErr result = entriesAccess(node, mode);
            result != ZelErr::kOk || !isAvailable(*mode))
            return result;
        break;
    case NodeKind::kEnumEntry:
    case NodeKind::kIntSwissKnife:
    case NodeKind::kSwissKnife:
        *mode = combine(*mode, AccessMode::kReadOnly);
        break;
    default:
        break;
    }
    if (node.isRegister)
        *mode = combine(*mode, node.accessMode);
    const ZelCamErr result = inputAccess(node, mode);
    return result == ZelErr::kOk && isAvailable(*mode) ? valueAccess(node, mode) : result;
}

ZelCamErr Evaluator::entriesAccess(const Node& node, AccessMode* mode)
{
    AccessMode best = AccessMode::kNotImplemented;
    bool hasEntries = false;
    for (const Link& link : description_.linksOf(node)) {
        if (link.kind != LinkKind::kEntry)
            continue;
        hasEntries = true;
        AccessMode entry = AccessMode::kAll;
        if (const ZelCamErr result = access(link.target, &entry); result != ZelErr::kOk)
            return result;
        if (isAvailable(entry))
            return ZelErr::kOk;
        best = entry == AccessMode::kNotAvailable ? entry : best;
    }
    *mode = hasEntries ? combine(*mode, best) : *mode;
    return ZelErr::kOk;
}

ZelCamErr Evaluator::needInput(std::int32_t target, AccessMode* mode)
{
    AccessMode input = AccessMode::kAll;
    const ZelCamErr result = target >= 0 ? access(target, &input) : ZelErr::kOk;
    if (!isAvailable(input))
        *mode = combine(*mode, input);
    return result;
}

ZelCamErr Evaluator::inputAccess(const Node& node, AccessMode* mode)
{
    constexpr std::uint32_t kInputs = setOf(
        LinkKind::kIndex, LinkKind::kAddress, LinkKind::kLength, LinkKind::kMin, LinkKind::kMax,
        LinkKind::kIncrement, LinkKind::kCommandValue, LinkKind::kPort, LinkKind::kVariable);
    for (const Link& link : description_.linksOf(node, kInputs)) {
        ZelCamErr result = ZelErr::kOk;
        switch (link.kind) {
        case LinkKind::kIndex:
            result = needInput(link.extra, mode);
            if (result == ZelErr::kOk)
                result = needInput(link.target, mode);
            break;
        case LinkKind::kAddress:
        case LinkKind::kLength:
        case LinkKind::kMin:
        case LinkKind::kMax:
        case LinkKind::kIncrement:
        case LinkKind::kCommandValue:
        case LinkKind::kPort:
            result = needInput(link.target, mode);
            break;
        case LinkKind::kVariable:
            if (link.aspect <= Aspect::kIncrement)
                result = needInput(link.target, mode);
            break;
        default:
            break;
        }
        if (result != ZelErr::kOk)
            return result;
    }
    return ZelErr::kOk;
}

ZelCamErr Evaluator::valueAccess(const Node& node, AccessMode* mode)
{
    if (description_.find(node, LinkKind::kValue) == nullptr &&
        description_.find(node, LinkKind::kIndex) == nullptr)
        return ZelErr::kOk;
    if (node.isRegister)
        return ZelErr::kOk;
    Link* link = nullptr;
    if (const ZelCamErr result = valueLink(node, &link); result != ZelErr::kOk)
        return result;
    AccessMode value = AccessMode::kAll;
    const ZelCamErr result = link->target >= 0 ? access(link->target, &value) : ZelErr::kOk;
    *mode = combine(*mode, value);
    return result;
}

} // namespace genapi
