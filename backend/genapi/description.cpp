#include "genapi/description.h"

namespace genapi
{

AccessMode combine(AccessMode left, AccessMode right)
{
    if (left == AccessMode::kAll || left == right)
        return right;
    if (right == AccessMode::kAll)
        return left;
    if (left == AccessMode::kNotImplemented || right == AccessMode::kNotImplemented)
        return AccessMode::kNotImplemented;
    return AccessMode::kNotAvailable;
}

Link* Description::find(const Node& node, LinkKind kind)
{
    for (Link& link : linksOf(node)) {
        if (link.kind == kind)
            return &link;
    }
    return nullptr;
}

std::int32_t Description::target(const Node& node, LinkKind kind) const
{
    const Link* const link = find(node, kind);
    return link != nullptr ? link->target : -1;
}

std::vector<std::int32_t> Description::entriesOf(const Node& node) const
{
    std::vector<std::int32_t> entries;
    for (const Link& link : linksOf(node)) {
        if (link.kind == LinkKind::kEntry)
            entries.push_back(link.target);
    }
    return entries;
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

bool isFormulaKind(NodeKind kind)
{
    switch (kind) {
    case NodeKind::kIntSwissKnife:
    case NodeKind::kSwissKnife:
    case NodeKind::kIntConverter:
    case NodeKind::kConverter:
        return true;
    default:
        return false;
    }
}

} // namespace genapi
