// What becomes old when a node changes, and what can be kept until then.
#pragma once

#include "genapi/description.h"

#include <cstdint>
#include <unordered_map>
#include <vector>

namespace genapi
{

/// What is remembered of a node, apart because a write needs the one and a read the other.
enum class Part : std::uint8_t {
    kValue,  ///< The value, and whether it can be read.
    kChecks, ///< Access, range and entries: what is asked before a write.
};

/// The edges of a description the other way round. Belongs to one map, under its lock.
class Dependents
{
public:
    /// A part of a node: 2 * node + part.
    using Place = std::uint32_t;
    static Place placeOf(std::int32_t node, Part part)
    {
        return 2 * static_cast<Place>(node) + static_cast<Place>(part);
    }

    /// `description` outlives it.
    explicit Dependents(const Description& description);

    /// False where something changes that nobody tells of: registers that say so or that are
    /// polled, commands, the bytes of events and chunks, and what is worked out of any of them.
    bool mayKeep(std::int32_t node, Part part) const { return !fleeting_[placeOf(node, part)]; }
    /// The same of the bytes of a register alone, wherever it is at the moment.
    bool mayKeepBytes(std::int32_t node) const { return !fleetingBytes_[index(node)]; }

    /// All that is old once the value of `node` has changed, this value included: what is worked
    /// out of it, and what it invalidates with all that is read for that. A description that names
    /// no invalidators tells too little: null, everything is old. So it is where too much is.
    const std::vector<Place>* of(std::int32_t node);

private:
    struct Edge {
        std::int32_t from = -1; ///< The node that asks.
        LinkKind kind = LinkKind::kOther;
        bool isOther = false; ///< It asks for more than the value.
    };

    static std::size_t index(std::int32_t node) { return static_cast<std::size_t>(node); }
    template <class Each> void forEachTarget(const Node& node, Each each) const;
    void connect();
    void markFleeting();
    std::uint32_t partsReached(const Edge& edge, Part part) const;
    void reach(Place place, std::vector<bool>* seen, std::vector<Place>* reached) const;
    void refresh(std::int32_t first, std::vector<bool>* fresh, std::vector<bool>* seen,
                 std::vector<Place>* reached) const;

    const Description& description_;
    std::vector<std::uint32_t> firstEdge_; ///< By target; one more than there are nodes.
    std::vector<Edge> edges_;
    std::vector<bool> fleeting_; ///< By place.
    std::vector<bool> fleetingBytes_;
    bool namesInvalidators_ = false;
    std::unordered_map<std::int32_t, std::vector<Place>> known_; ///< By node, once asked.
    std::size_t kept_ = 0;                                       ///< Places in them.
};

} // namespace genapi
