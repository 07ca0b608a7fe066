#include "genapi/dependents.h"

#include <utility>

namespace genapi
{

namespace
{

// Lists are kept for nodes that are written again and again: where nearly everything is old, and
// beyond 4 MB, there is no list.
constexpr std::size_t kMaxPlaces = 4096;
constexpr std::size_t kMaxKept = std::size_t{1} << 20U;

constexpr std::uint32_t kToValue = 1;
constexpr std::uint32_t kToChecks = 2;
constexpr std::uint32_t kToBoth = 3;

/// Bytes of an event or a chunk come and go.
bool isOverlay(const Node& node) { return node.kind == NodeKind::kPort && node.overlay >= 0; }

} // namespace

Dependents::Dependents(const Description& description)
    : description_(description), fleeting_(description.nodes.size() * 2),
      fleetingBytes_(description.nodes.size())
{
    connect();
    markFleeting();
}

template <class Each> void Dependents::forEachTarget(const Node& node, Each each) const
{
    const auto from = static_cast<std::int32_t>(&node - description_.nodes.data());
    for (const Link& link : description_.linksOf(node)) {
        const Edge edge{from, link.kind, link.aspect != Aspect::kValue};
        if (link.target >= 0)
            each(index(link.target), edge);
        if (link.kind == LinkKind::kIndex && link.extra >= 0)
            each(index(link.extra), edge);
    }
}

void Dependents::connect()
{
    firstEdge_.assign(description_.nodes.size() + 1, 0);
    for (const Node& node : description_.nodes)
        forEachTarget(node, [this](std::size_t target, const Edge& edge) {
            ++firstEdge_[target + 1];
            namesInvalidators_ = namesInvalidators_ || edge.kind == LinkKind::kInvalidator;
        });
    for (std::size_t node = 0; node < description_.nodes.size(); ++node)
        firstEdge_[node + 1] += firstEdge_[node];
    edges_.resize(firstEdge_.back());
    std::vector<std::uint32_t> next(firstEdge_.begin(), firstEdge_.end() - 1);
    for (const Node& node : description_.nodes)
        forEachTarget(node,
                      [&](std::size_t target, const Edge& edge) { edges_[next[target]++] = edge; });
}

std::uint32_t Dependents::partsReached(const Edge& edge, Part part) const
{
    const bool isValue = part == Part::kValue;
    switch (edge.kind) {
    case LinkKind::kValue:
    case LinkKind::kValueIndexed:
    case LinkKind::kValueDefault:
    case LinkKind::kPort:
        return isValue ? kToValue : kToChecks;
    case LinkKind::kVariable:
        return isValue || edge.isOther ? kToBoth : kToChecks;
    case LinkKind::kAvailable:
        // Which entry is meant does not depend on which can be chosen.
        if (description_.at(edge.from).kind == NodeKind::kEnumEntry)
            return kToChecks;
        return isValue ? kToBoth : kToChecks;
    case LinkKind::kIndex:
    case LinkKind::kAddress:
    case LinkKind::kLength:
    case LinkKind::kImplemented:
    case LinkKind::kEntry:
        return isValue ? kToBoth : kToChecks;
    case LinkKind::kMin:
    case LinkKind::kMax:
    case LinkKind::kIncrement:
    case LinkKind::kLocked:
        return kToChecks;
    default:
        return 0;
    }
}

void Dependents::reach(Place place, std::vector<bool>* seen, std::vector<Place>* reached) const
{
    if ((*seen)[place])
        return;
    (*seen)[place] = true;
    const std::size_t first = reached->size();
    reached->push_back(place);
    // What was reached is what is left to look at.
    for (std::size_t i = first; i < reached->size(); ++i) {
        const Place from = (*reached)[i];
        const auto part = static_cast<Part>(from % 2);
        for (std::uint32_t e = firstEdge_[from / 2]; e < firstEdge_[from / 2 + 1]; ++e) {
            const std::uint32_t parts = partsReached(edges_[e], part);
            for (std::uint32_t to = 0; to < 2; ++to) {
                const Place next = 2 * static_cast<Place>(edges_[e].from) + to;
                if ((parts >> to & 1U) == 0 || (*seen)[next])
                    continue;
                (*seen)[next] = true;
                reached->push_back(next);
            }
        }
    }
}

void Dependents::markFleeting()
{
    std::vector<Place> seeds;
    for (std::size_t i = 0; i < description_.nodes.size(); ++i) {
        const Node& node = description_.nodes[i];
        const auto at = static_cast<std::int32_t>(i);
        bool isFleeting = node.isPolled || (node.isRegister && node.caching == 0);
        for (const Link& link : description_.linksOf(node)) {
            if (link.target < 0)
                continue;
            const Node& target = description_.at(link.target);
            // One that has to be polled tells in vain that this is old.
            const bool isLate = link.kind == LinkKind::kInvalidator && target.isPolled;
            isFleeting =
                isFleeting || isLate || (link.kind == LinkKind::kPort && isOverlay(target));
            if (isLate)
                seeds.push_back(placeOf(at, Part::kChecks));
        }
        fleetingBytes_[i] = isFleeting;
        if (isFleeting || isOverlay(node) || node.kind == NodeKind::kCommand)
            seeds.push_back(placeOf(at, Part::kValue));
        if (isOverlay(node))
            seeds.push_back(placeOf(at, Part::kChecks));
    }
    std::vector<Place> reached;
    for (const Place seed : seeds)
        reach(seed, &fleeting_, &reached);
}

void Dependents::refresh(std::int32_t first, std::vector<bool>* fresh, std::vector<bool>* seen,
                         std::vector<Place>* reached) const
{
    std::vector<std::int32_t> open{first};
    while (!open.empty()) {
        const std::int32_t at = open.back();
        open.pop_back();
        if ((*fresh)[index(at)])
            continue;
        (*fresh)[index(at)] = true;
        reach(placeOf(at, Part::kValue), seen, reached);
        reach(placeOf(at, Part::kChecks), seen, reached);
        for (const Link& link : description_.linksOf(description_.at(at))) {
            const bool isRead = link.kind == LinkKind::kValue ||
                                link.kind == LinkKind::kValueIndexed ||
                                link.kind == LinkKind::kValueDefault ||
                                link.kind == LinkKind::kVariable || link.kind == LinkKind::kMin ||
                                link.kind == LinkKind::kMax || link.kind == LinkKind::kIncrement;
            if (isRead && link.target >= 0)
                open.push_back(link.target);
        }
    }
}

const std::vector<Dependents::Place>* Dependents::of(std::int32_t node)
{
    if (!namesInvalidators_)
        return nullptr;
    const auto found = known_.find(node);
    if (found != known_.end())
        return found->second.size() <= kMaxPlaces ? &found->second : nullptr;
    std::vector<bool> seen(fleeting_.size());
    std::vector<bool> fresh(description_.nodes.size());
    std::vector<Place> reached;
    reach(placeOf(node, Part::kValue), &seen, &reached);
    for (std::size_t i = 0; i < reached.size() && reached.size() <= kMaxPlaces; ++i) {
        const Place from = reached[i];
        if (static_cast<Part>(from % 2) != Part::kValue)
            continue;
        for (std::uint32_t e = firstEdge_[from / 2]; e < firstEdge_[from / 2 + 1]; ++e) {
            if (edges_[e].kind == LinkKind::kInvalidator)
                refresh(edges_[e].from, &fresh, &seen, &reached);
        }
    }
    reached.shrink_to_fit();
    kept_ += reached.size();
    if (kept_ > kMaxKept) {
        known_.clear();
        kept_ = reached.size();
    }
    const std::vector<Place>& known = known_[node] = std::move(reached);
    return known.size() <= kMaxPlaces ? &known : nullptr;
}

} // namespace genapi
