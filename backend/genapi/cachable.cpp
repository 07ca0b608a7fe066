#include "genapi/cachable.h"

#include "genapi/description.h"

#include <algorithm>
#include <vector>

namespace genapi
{

namespace
{

/// Nodes that reading looks at; each is visited once.
class Walk
{
public:
    explicit Walk(const Description& description) : description_(description) {}

    bool allows(std::int32_t index)
    {
        if (std::find(visited_.begin(), visited_.end(), index) != visited_.end())
            return true;
        visited_.push_back(index);
        const NodeDescription& node = description_.nodes[static_cast<std::size_t>(index)];
        if (node.isPolled || node.overlaySlot >= 0 || node.kind == NodeKind::kCommand ||
            (node.isRegister && !node.isCachable))
            return false;
        if (node.parent >= 0 && !allows(node.parent))
            return false;
        return allowsAll(node.references) && std::all_of(node.entries.begin(), node.entries.end(),
                                                         [this](const EntryDescription& entry) {
                                                             return allowsEntry(entry.references);
                                                         });
    }

private:
    bool allowsAll(const std::vector<Reference>& references)
    {
        return std::all_of(references.begin(), references.end(), [this](const Reference& each) {
            switch (each.kind) {
            case ReferenceKind::kVariable:
                return each.aspect == Aspect::kValue && allows(each.target);
            case ReferenceKind::kValue:
            case ReferenceKind::kValueIndexed:
            case ReferenceKind::kIndex:
            case ReferenceKind::kAddress:
            case ReferenceKind::kLength:
            case ReferenceKind::kImplemented:
            case ReferenceKind::kAvailable:
            case ReferenceKind::kPort:
                return allows(each.target);
            case ReferenceKind::kOther:
                // An invalidator that has to be polled tells in vain that a value is old.
                return !description_.nodes[static_cast<std::size_t>(each.target)].isPolled;
            default:
                return true;
            }
        });
    }

    /// Which of several entries of one value is meant depends on what is implemented.
    bool allowsEntry(const std::vector<Reference>& conditions)
    {
        return std::all_of(conditions.begin(), conditions.end(), [this](const Reference& each) {
            return each.kind != ReferenceKind::kImplemented || allows(each.target);
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
