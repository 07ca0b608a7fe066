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

} // namespace genapi
