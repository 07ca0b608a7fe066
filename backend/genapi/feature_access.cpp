#include "genapi/feature_access.h"

#include "genapi/feature_map.h"

#include <algorithm>

namespace genapi
{

FeatureAccess::FeatureAccess(FeatureMap& map, std::int32_t node)
    : map_(map), mode_(kReadable | kWritable)
{
    add(node, true);
    std::vector<std::int32_t>().swap(visited_);
}

FeatureAccess::FeatureAccess(FeatureMap& map, const std::vector<Reference>& conditions)
    : map_(map), mode_(kReadable | kWritable)
{
    addConditions(conditions, false);
}

void FeatureAccess::add(std::int32_t index, bool withLocks)
{
    // A node that is met twice on different ways adds nothing new.
    if (std::find(visited_.begin(), visited_.end(), index) != visited_.end())
        return;
    visited_.push_back(index);
    const NodeDescription& node = map_.description().nodes[static_cast<std::size_t>(index)];
    addConditions(node.references, withLocks);
    mode_ &= node.imposedAccess;
    if (node.isRegister)
        mode_ &= node.accessMode != 0 ? node.accessMode : kReadable;
    switch (node.kind) {
    case NodeKind::kIntSwissKnife:
    case NodeKind::kSwissKnife:
    case NodeKind::kCategory:
        mode_ &= kReadable;
        break;
    case NodeKind::kPort:
        mode_ = 0;
        break;
    case NodeKind::kStructEntry:
        addStructEntry(node, withLocks);
        break;
    default:
        break;
    }
    for (const Reference& reference : node.references) {
        switch (reference.kind) {
        case ReferenceKind::kValue:
        case ReferenceKind::kValueIndexed:
            add(reference.target, withLocks);
            break;
        case ReferenceKind::kVariable: {
            // A formula is only read: its variables' writing does not matter.
            const unsigned writing = mode_ & kWritable;
            add(reference.target, false);
            mode_ |= writing;
            break;
        }
        case ReferenceKind::kPort: {
            const std::int32_t slot =
                map_.description().nodes[static_cast<std::size_t>(reference.target)].overlaySlot;
            if (slot >= 0)
                overlays_.push_back(slot);
            break;
        }
        default:
            break;
        }
    }
}

void FeatureAccess::addStructEntry(const NodeDescription& node, bool withLocks)
{
    const unsigned own = mode_ & node.accessMode;
    if (node.parent >= 0)
        add(node.parent, withLocks);
    // Its own mode counts in place of that of the register.
    if (node.accessMode != 0)
        mode_ = own;
}

void FeatureAccess::addConditions(const std::vector<Reference>& references, bool withLocks)
{
    for (const Reference& reference : references) {
        if (reference.kind == ReferenceKind::kImplemented)
            implemented_.push_back(map_.engine(reference.target));
        else if (reference.kind == ReferenceKind::kAvailable)
            available_.push_back(map_.engine(reference.target));
        else if (reference.kind == ReferenceKind::kLocked && withLocks)
            locked_.push_back(map_.engine(reference.target));
    }
}

ZelCamErr FeatureAccess::check(const std::vector<EngineNode>& conditions, bool wanted)
{
    for (const EngineNode& condition : conditions) {
        std::int64_t value = 0;
        const ZelCamErr result = condition.readInteger(&value);
        if (result != ZelErr::kOk)
            return result;
        if ((value != 0) != wanted)
            return ZelErr::kParamAccess;
    }
    return ZelErr::kOk;
}

bool FeatureAccess::isImplemented() { return check(implemented_, true) == ZelErr::kOk; }

ZelCamErr FeatureAccess::checkAvailable()
{
    ZelCamErr result = check(implemented_, true);
    if (result == ZelErr::kOk)
        result = check(available_, true);
    for (std::size_t i = 0; i < overlays_.size() && result == ZelErr::kOk; ++i) {
        if (!map_.router().hasData(overlays_[i]))
            result = ZelErr::kGenTLNotAvailable;
    }
    return result;
}

bool FeatureAccess::isAvailable() { return checkAvailable() == ZelErr::kOk; }

ZelCamErr FeatureAccess::checkReadable()
{
    if ((mode_ & kReadable) == 0)
        return ZelErr::kParamAccess;
    return checkAvailable();
}

ZelCamErr FeatureAccess::checkWritable()
{
    if ((mode_ & kWritable) == 0)
        return ZelErr::kParamAccess;
    const ZelCamErr result = checkAvailable();
    return result == ZelErr::kOk ? check(locked_, false) : result;
}

} // namespace genapi
