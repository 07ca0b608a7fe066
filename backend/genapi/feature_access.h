// Whether a feature can be read and written now.
#pragma once

#include "genapi/engine_node.h"
#include "zel_err.h"

#include <cstdint>
#include <vector>

namespace genapi
{

class FeatureMap;
struct NodeDescription;
struct Reference;

/// Everything that the description makes the access of a node depend on, the nodes that it refers
/// to included. Called under the lock of the map.
class FeatureAccess
{
public:
    FeatureAccess(FeatureMap& map, std::int32_t node);

    /// Conditions alone, as an enumeration entry has them.
    FeatureAccess(FeatureMap& map, const std::vector<Reference>& conditions);

    bool isImplemented();
    bool isAvailable();
    bool isReadable() { return checkReadable() == ZelErr::kOk; }
    bool isWritable() { return checkWritable() == ZelErr::kOk; }

    /// 0; -40202 when the description forbids it now; -1014 while there is no event or chunk; the
    /// code of a condition that cannot be read.
    ZelCamErr checkAvailable();
    ZelCamErr checkReadable();
    ZelCamErr checkWritable();

    bool hasReadableMode() const { return (mode_ & 1U) != 0; }

private:
    void add(std::int32_t node, bool withLocks);
    void addStructEntry(const NodeDescription& node, bool withLocks);
    void addConditions(const std::vector<Reference>& references, bool withLocks);
    static ZelCamErr check(const std::vector<EngineNode>& conditions, bool wanted);

    FeatureMap& map_;
    unsigned mode_;
    std::vector<EngineNode> implemented_;
    std::vector<EngineNode> available_;
    std::vector<EngineNode> locked_;
    std::vector<std::int32_t> overlays_;
    std::vector<std::int32_t> visited_;
};

} // namespace genapi
