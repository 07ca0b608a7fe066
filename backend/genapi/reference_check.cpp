#include "genapi/reference_check.h"

#include <algorithm>

namespace genapi
{

namespace
{

// Real cameras stay below 20 and 500. Evaluation recurses once per step of a chain.
constexpr std::uint32_t kMaxDepth = 100;
constexpr std::uint32_t kMaxSteps = 10000;

/// What an evaluation can ask a node for. A range may depend on the value of a node whose own range
/// depends on this value (width and offset), so the three are told apart.
enum Question : std::uint32_t { kAskValue, kAskRange, kAskAccess, kQuestionCount };

/// Follows references depth first; recursion ends at kMaxDepth.
class EvaluationCheck
{
public:
    explicit EvaluationCheck(Description& description)
        : description_(description), vertices_(description.nodes.size() * kQuestionCount)
    {
    }

    bool run(std::string* why)
    {
        for (std::size_t node = 0; node < description_.nodes.size(); ++node) {
            for (std::uint32_t question = 0; question < kQuestionCount; ++question) {
                if (!visit(node, static_cast<Question>(question), 0)) {
                    why->assign("the value of ").append(description_.nodes[node].name);
                    why->append(" depends on itself or on too much");
                    return false;
                }
            }
        }
        return true;
    }

private:
    enum class Mark : std::uint8_t { kNew, kOpen, kDone };

    struct Vertex {
        Mark mark = Mark::kNew;
        std::uint32_t height = 0;
        std::uint32_t steps = 0;
    };

    bool visit(std::size_t index, Question question, std::uint32_t depth)
    {
        Vertex& vertex = vertices_[index * kQuestionCount + question];
        if (vertex.mark == Mark::kDone)
            return true;
        if (vertex.mark == Mark::kOpen || depth > kMaxDepth)
            return false;
        vertex.mark = Mark::kOpen;
        vertex.steps = 1;
        const Node& node = description_.nodes[index];
        for (const Link& link : description_.linksOf(node)) {
            Question next = kAskValue;
            if (leadsOn(node.kind, link, question, &next) &&
                !(follow(&vertex, link.target, next, depth) &&
                  follow(&vertex, link.kind == LinkKind::kIndex ? link.extra : -1, next, depth)))
                return false;
        }
        vertex.mark = Mark::kDone;
        return true;
    }

    bool follow(Vertex* vertex, std::int32_t target, Question next, std::uint32_t depth)
    {
        if (target < 0)
            return true;
        if (!visit(static_cast<std::size_t>(target), next, depth + 1))
            return false;
        const Vertex& below = vertices_[static_cast<std::size_t>(target) * kQuestionCount + next];
        vertex->height = std::max(vertex->height, below.height + 1);
        vertex->steps += below.steps;
        return vertex->height <= kMaxDepth && vertex->steps <= kMaxSteps;
    }

    static bool leadsOn(NodeKind kind, const Link& link, Question question, Question* next)
    {
        switch (link.kind) {
        case LinkKind::kValue:
        case LinkKind::kValueCopy:
        case LinkKind::kValueIndexed:
        case LinkKind::kValueDefault:
            *next = question;
            return true;
        case LinkKind::kIndex:
        case LinkKind::kAddress:
        case LinkKind::kLength:
        case LinkKind::kCommandValue:
            *next = question == kAskAccess ? kAskAccess : kAskValue;
            return question != kAskRange;
        case LinkKind::kVariable:
            // The range of a converter comes out of its formula.
            if (question == kAskRange)
                return kind == NodeKind::kConverter || kind == NodeKind::kIntConverter;
            *next = question;
            if (question == kAskValue && link.aspect != Aspect::kValue)
                *next = link.aspect == Aspect::kAccessMode ? kAskAccess : kAskRange;
            return true;
        case LinkKind::kMin:
        case LinkKind::kMax:
        case LinkKind::kIncrement:
            return question == kAskRange;
        case LinkKind::kImplemented:
        case LinkKind::kAvailable:
        case LinkKind::kLocked:
            return question == kAskAccess;
        case LinkKind::kEntry:
            *next = kAskAccess;
            return question == kAskAccess;
        default:
            return false;
        }
    }

    Description& description_;
    std::vector<Vertex> vertices_;
};

/// Cycles of one kind of reference: categories, selectors.
class TreeCheck
{
public:
    TreeCheck(Description& description, LinkKind kind)
        : description_(description), kind_(kind), marks_(description.nodes.size(), 0)
    {
    }

    bool run()
    {
        for (std::size_t node = 0; node < marks_.size(); ++node) {
            if (!visit(node, 0))
                return false;
        }
        return true;
    }

private:
    bool visit(std::size_t node, std::uint32_t depth)
    {
        if (marks_[node] == 2)
            return true;
        if (marks_[node] == 1 || depth > kMaxDepth)
            return false;
        marks_[node] = 1;
        for (const Link& link : description_.linksOf(description_.nodes[node])) {
            if (link.kind == kind_ && !visit(static_cast<std::size_t>(link.target), depth + 1))
                return false;
        }
        marks_[node] = 2;
        return true;
    }

    Description& description_;
    LinkKind kind_;
    std::vector<std::uint8_t> marks_;
};

void markFeatures(Description* description, std::int32_t index)
{
    Node& node = description->at(index);
    if (node.isFeature)
        return;
    node.isFeature = true;
    // A category is as visible as the most visible of its features, unless it says otherwise.
    std::uint8_t visibility = 3;
    for (const Link& link : description->linksOf(node)) {
        if (link.kind != LinkKind::kFeature)
            continue;
        markFeatures(description, link.target);
        visibility = std::min(visibility, description->at(link.target).visibility);
    }
    if (node.kind == NodeKind::kCategory && !node.hasVisibility && index != description->root)
        node.visibility = visibility;
}

} // namespace

bool checkReferences(Description* description, std::string* why)
{
    EvaluationCheck evaluation(*description);
    if (!evaluation.run(why))
        return false;
    TreeCheck categories(*description, LinkKind::kFeature);
    if (!categories.run()) {
        *why = "a category contains itself";
        return false;
    }
    TreeCheck selectors(*description, LinkKind::kSelected);
    if (!selectors.run()) {
        *why = "a selector selects itself";
        return false;
    }
    markFeatures(description, description->root);
    return true;
}

} // namespace genapi
