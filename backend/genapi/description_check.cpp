#include "genapi/description_check.h"

#include <algorithm>

namespace genapi
{

namespace
{

// Real cameras stay below 20 and 500. ArvGc recurses once per step of a chain.
constexpr std::uint32_t kMaxDepth = 100;
constexpr std::uint32_t kMaxSteps = 10000;

/// What an evaluation can ask a node for. A range may depend on the value of a node whose own range
/// depends on this value (width and offset), so the three are told apart.
enum Question : std::uint32_t { kAskValue, kAskRange, kAskAccess, kQuestionCount };

/// Follows references depth first; recursion ends at kMaxDepth.
class EvaluationCheck
{
public:
    explicit EvaluationCheck(const Description& description)
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

    bool visit(std::size_t node, Question question, std::uint32_t depth)
    {
        Vertex& vertex = vertices_[node * kQuestionCount + question];
        if (vertex.mark == Mark::kDone)
            return true;
        if (vertex.mark == Mark::kOpen || depth > kMaxDepth)
            return false;
        vertex.mark = Mark::kOpen;
        vertex.steps = 1;
        if (description_.nodes[node].parent >= 0 &&
            !follow(&vertex, description_.nodes[node].parent, question, depth))
            return false;
        for (const Reference& reference : description_.nodes[node].references) {
            Question next = kAskValue;
            if (leadsOn(description_.nodes[node].kind, reference, question, &next) &&
                !follow(&vertex, reference.target, next, depth))
                return false;
        }
        if (question == kAskAccess && !visitEntries(&vertex, node, depth))
            return false;
        vertex.mark = Mark::kDone;
        return true;
    }

    bool visitEntries(Vertex* vertex, std::size_t node, std::uint32_t depth)
    {
        for (const EntryDescription& entry : description_.nodes[node].entries) {
            for (const Reference& reference : entry.references) {
                Question next = kAskValue;
                if (leadsOn(NodeKind::kEnumeration, reference, kAskAccess, &next) &&
                    !follow(vertex, reference.target, next, depth))
                    return false;
            }
        }
        return true;
    }

    bool follow(Vertex* vertex, std::int32_t target, Question next, std::uint32_t depth)
    {
        if (!visit(static_cast<std::size_t>(target), next, depth + 1))
            return false;
        const Vertex& below = vertices_[static_cast<std::size_t>(target) * kQuestionCount + next];
        vertex->height = std::max(vertex->height, below.height + 1);
        vertex->steps += below.steps;
        return vertex->height <= kMaxDepth && vertex->steps <= kMaxSteps;
    }

    static bool leadsOn(NodeKind kind, const Reference& reference, Question question,
                        Question* next)
    {
        switch (reference.kind) {
        case ReferenceKind::kValue:
        case ReferenceKind::kValueCopy:
        case ReferenceKind::kValueIndexed:
            *next = question;
            return true;
        case ReferenceKind::kIndex:
        case ReferenceKind::kAddress:
        case ReferenceKind::kLength:
        case ReferenceKind::kCommandValue:
            *next = question == kAskAccess ? kAskAccess : kAskValue;
            return question != kAskRange;
        case ReferenceKind::kVariable:
            // The range of a converter comes out of its formula.
            if (question == kAskRange)
                return kind == NodeKind::kConverter || kind == NodeKind::kIntConverter;
            *next = question;
            if (question == kAskValue && reference.aspect != Aspect::kValue)
                *next = kAskRange;
            return true;
        case ReferenceKind::kMin:
        case ReferenceKind::kMax:
        case ReferenceKind::kIncrement:
            return question == kAskRange;
        case ReferenceKind::kImplemented:
        case ReferenceKind::kAvailable:
        case ReferenceKind::kLocked:
            return question == kAskAccess;
        case ReferenceKind::kPort:
        case ReferenceKind::kFeature:
        case ReferenceKind::kSelected:
        case ReferenceKind::kOther:
            return false;
        }
        return false;
    }

    const Description& description_;
    std::vector<Vertex> vertices_;
};

/// Cycles of one kind of reference: categories, selectors.
class TreeCheck
{
public:
    TreeCheck(const Description& description, ReferenceKind kind)
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
        for (const Reference& reference : description_.nodes[node].references) {
            if (reference.kind == kind_ &&
                !visit(static_cast<std::size_t>(reference.target), depth + 1))
                return false;
        }
        marks_[node] = 2;
        return true;
    }

    const Description& description_;
    ReferenceKind kind_;
    std::vector<std::uint8_t> marks_;
};

void markFeatures(Description* description, std::int32_t index)
{
    NodeDescription& node = description->nodes[static_cast<std::size_t>(index)];
    if (node.isFeature)
        return;
    node.isFeature = true;
    for (const Reference& reference : node.references) {
        if (reference.kind == ReferenceKind::kFeature)
            markFeatures(description, reference.target);
    }
}

} // namespace

bool checkReferences(Description* description, std::string* why)
{
    EvaluationCheck evaluation(*description);
    if (!evaluation.run(why))
        return false;
    TreeCheck categories(*description, ReferenceKind::kFeature);
    if (!categories.run()) {
        *why = "a category contains itself";
        return false;
    }
    TreeCheck selectors(*description, ReferenceKind::kSelected);
    if (!selectors.run()) {
        *why = "a selector selects itself";
        return false;
    }
    markFeatures(description, description->root);
    return true;
}

} // namespace genapi
