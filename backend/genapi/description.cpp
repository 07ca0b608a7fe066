#include "genapi/description.h"

#include <cstdlib>
#include <limits>

namespace genapi
{

std::int32_t NodeDescription::target(ReferenceKind wanted) const
{
    for (const Reference& reference : references) {
        if (reference.kind == wanted)
            return reference.target;
    }
    return -1;
}

bool isIntegerKind(NodeKind kind)
{
    switch (kind) {
    case NodeKind::kInteger:
    case NodeKind::kIntReg:
    case NodeKind::kMaskedIntReg:
    case NodeKind::kStructEntry:
    case NodeKind::kIntSwissKnife:
    case NodeKind::kIntConverter:
        return true;
    default:
        return false;
    }
}

bool isFloatKind(NodeKind kind)
{
    switch (kind) {
    case NodeKind::kFloat:
    case NodeKind::kFloatReg:
    case NodeKind::kSwissKnife:
    case NodeKind::kConverter:
        return true;
    default:
        return false;
    }
}

IntegerLimits integerLimits(const NodeDescription& node)
{
    constexpr IntegerLimits kAll = {std::numeric_limits<std::int64_t>::min(),
                                    std::numeric_limits<std::int64_t>::max()};
    std::int64_t bits = 0;
    if (node.kind == NodeKind::kIntReg)
        bits = node.length * 8;
    else if (node.kind == NodeKind::kMaskedIntReg || node.kind == NodeKind::kStructEntry)
        bits = std::abs(node.highBit - node.lowBit) + 1;
    if (bits <= 0 || bits > 64)
        return kAll;
    if (bits == 64)
        return node.isSigned ? kAll : IntegerLimits{0, kAll.max};
    if (node.isSigned)
        return {-(std::int64_t{1} << (bits - 1)), (std::int64_t{1} << (bits - 1)) - 1};
    return {0, bits == 63 ? kAll.max : (std::int64_t{1} << bits) - 1};
}

} // namespace genapi
