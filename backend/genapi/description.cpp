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

Link* Description::findKind(const Node& node, LinkKind kind)
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

void Description::keepTexts()
{
    const auto forEach = [this](const auto& visit) {
        for (Node& node : nodes) {
            for (auto* const text :
                 {&node.name, &node.displayName, &node.toolTip, &node.text, &node.unit})
                visit(text);
        }
        for (std::string_view& text : texts)
            visit(&text);
    };
    std::size_t size = 0;
    forEach([&size](const std::string_view* text) { size += text->size(); });
    kept.clear();
    kept.reserve(size);
    std::string_view last; // Many say the same as tool tip and as description.
    forEach([&](std::string_view* text) {
        if (*text != last) {
            kept.insert(kept.end(), text->begin(), text->end());
            last = {kept.data() + kept.size() - text->size(), text->size()};
        }
        *text = last;
    });
    joined.clear();
}

} // namespace genapi
