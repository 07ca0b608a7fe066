#include "genapi/cachable.h"

#include "genapi/description.h"

#include <algorithm>
#include <vector>

namespace genapi
{

namespace
{

/// Nodes that reading looks at; each is visited once. Recursion is as deep as evaluation's.
class Walk
{
public:
    explicit Walk(const Description& description) : description_(description) {}

    bool allows(std::int32_t index)
    {
        if (std::find(visited_.begin(), visited_.end(), index) != visited_.end())
            return true;
        visited_.push_back(index);
        const Node& node = description_.at(index);
        const bool isNever = node.isRegister && node.caching == 0;
        if (node.isPolled || node.overlay >= 0 || node.kind == NodeKind::kCommand || isNever)
            return false;
        const auto links = description_.linksOf(node);
        return std::all_of(links.begin(), links.end(),
                           [this](const Link& link) { return allows(link); });
    }

private:
    bool allows(const Link& link)
    {
        if (link.target < 0)
            return true;
        switch (link.kind) {
        case LinkKind::kVariable:
            return link.aspect == Aspect::kValue && allows(link.target);
        case LinkKind::kIndex:
            return allows(link.target) && (link.extra < 0 || allows(link.extra));
        case LinkKind::kValue:
        case LinkKind::kValueIndexed:
        case LinkKind::kValueDefault:
        case LinkKind::kAddress:
        case LinkKind::kLength:
        case LinkKind::kImplemented:
        case LinkKind::kAvailable:
        case LinkKind::kPort:
            return allows(link.target);
        case LinkKind::kEntry:
            return allowsEntry(link.target);
        case LinkKind::kInvalidator:
            // One that has to be polled tells in vain that a value is old.
            return !description_.at(link.target).isPolled;
        default:
            return true;
        }
    }

    /// Which of several entries of one value is meant depends on what is implemented; whether an
    /// entry can be chosen now does not matter to reading.
    bool allowsEntry(std::int32_t index)
    {
        const auto links = description_.linksOf(description_.at(index));
        return std::all_of(links.begin(), links.end(), [this](const Link& link) {
            return link.kind != LinkKind::kImplemented || allows(link.target);
        });
    }

    const Description& description_;
    std::vector<std::int32_t> visited_;
};

} // namespace

bool isCachable(const Description& description, std::int32_t node)
{
    return Walk(description).allows(node);
}

} // namespace genapi
