// Reading: values of nodes, formulas, links.
#include "genapi/evaluator.h"

#include "genapi/evaluator_level.h"
#include "genapi/feature_source.h"
#include "genapi/kept_value.h"
#include "genapi/nearest.h"

#include <cmath>
#include <limits>
#include <utility>

namespace genapi
{

namespace
{

constexpr std::int32_t kArgument = -2; ///< The slot of TO and FROM.

/// Levels that a formula counts for: its own recursion is a small part of that over nodes.
std::uint32_t costOf(const Formula& formula) { return 1 + formula.height() / 16; }

} // namespace

/// The variables of a node's formulas; the argument is TO or FROM.
class Evaluator::Variables final : public FormulaInput
{
public:
    Variables(Evaluator& evaluator, const Node& node) : evaluator_(evaluator), node_(node) {}

    void give(double real)
    {
        hasArgument_ = true;
        real_ = real;
    }
    void give(std::int64_t integer)
    {
        hasArgument_ = true;
        integer_ = integer;
        real_ = static_cast<double>(integer);
    }

    ZelCamErr integer(std::int32_t slot, std::int64_t* value) override
    {
        if (slot != kArgument)
            return evaluator_.readVariable(linkAt(slot), value);
        *value = integer_;
        return hasArgument_ ? ZelErr::kOk : evaluator_.readInteger(source(), value);
    }

    ZelCamErr real(std::int32_t slot, double* value) override
    {
        if (slot != kArgument)
            return evaluator_.readVariable(linkAt(slot), value);
        *value = real_;
        return hasArgument_ ? ZelErr::kOk : evaluator_.readReal(source(), value);
    }

private:
    const Link& linkAt(std::int32_t slot) const
    {
        return evaluator_.description_.links[static_cast<std::size_t>(slot)];
    }
    std::int32_t source() const { return evaluator_.description_.target(node_, LinkKind::kValue); }

    Evaluator& evaluator_;
    const Node& node_;
    bool hasArgument_ = false;
    std::int64_t integer_ = 0;
    double real_ = 0.0;
};

Evaluator::Evaluator(FeatureSource& source, Description description)
    : description_(std::move(description)), router_(source, description_.overlays),
      countsOnNetworkOrder_(description_.isOldSchema && source.hasNetworkByteOrder()),
      cells_(description_.nodes.size()), known_(description_.nodes.size())
{
}

void Evaluator::forget()
{
    ChangeCount::advance();
    ++operation_;
}

ZelCamErr Evaluator::valueLink(const Node& node, Link** link)
{
    const Link* const index = description_.find(node, LinkKind::kIndex);
    if (index == nullptr || index->target < 0) {
        *link = description_.find(node, LinkKind::kValue);
        return *link != nullptr ? ZelErr::kOk : ZelErr::kParamTree;
    }
    std::int64_t chosen = 0;
    if (const ZelCamErr result = readInteger(index->target, &chosen); result != ZelErr::kOk)
        return result;
    *link = nullptr;
    for (Link& each : description_.linksOf(node)) {
        const bool isChosen = each.kind == LinkKind::kValueIndexed && each.extra == chosen;
        if (isChosen || (each.kind == LinkKind::kValueDefault && *link == nullptr))
            *link = &each;
        if (isChosen)
            break;
    }
    return *link != nullptr ? ZelErr::kOk : ZelErr::kParamTree;
}

ZelCamErr Evaluator::readInteger(const Link& link, std::int64_t* value)
{
    if (link.target >= 0)
        return readInteger(link.target, value);
    *value = link.integer;
    return ZelErr::kOk;
}

ZelCamErr Evaluator::readReal(const Link& link, double* value)
{
    if (link.target >= 0)
        return readReal(link.target, value);
    *value = link.real;
    return ZelErr::kOk;
}

ZelCamErr Evaluator::readInteger(std::int32_t index, std::int64_t* value)
{
    const Level level(*this);
    if (index < 0 || level.isTooDeep())
        return ZelErr::kParamTree;
    const Node& node = at(index);
    switch (node.kind) {
    case NodeKind::kInteger:
    case NodeKind::kEnumeration:
    case NodeKind::kCommand:
    case NodeKind::kEnumEntry: {
        Link* link = nullptr;
        ZelCamErr result = valueLink(node, &link);
        if (result == ZelErr::kOk)
            result = readInteger(*link, value);
        return result == ZelErr::kOk ? checkRead(index, *value) : result;
    }
    case NodeKind::kBoolean:
        return readBoolean(node, value);
    case NodeKind::kIntReg:
    case NodeKind::kMaskedIntReg:
    case NodeKind::kStructEntry:
        return readIntegerRegister(node, value);
    case NodeKind::kIntSwissKnife:
    case NodeKind::kIntConverter:
        return calculate(node, false, static_cast<const std::int64_t*>(nullptr), value);
    case NodeKind::kFloat:
    case NodeKind::kFloatReg:
    case NodeKind::kSwissKnife:
    case NodeKind::kConverter: {
        double real = 0.0;
        const ZelCamErr result = readReal(index, &real);
        return result == ZelErr::kOk ? nearest(real, value) : result;
    }
    default:
        return ZelErr::kParamTree;
    }
}

ZelCamErr Evaluator::checkRead(std::int32_t index, std::int64_t value)
{
    const Node& node = at(index);
    if (node.kind == NodeKind::kInteger && isVerifying_) {
        std::int64_t min = 0;
        std::int64_t max = 0;
        isVerifying_ = false;
        ZelCamErr result = integerLimit(index, Bound::kMin, &min);
        if (result == ZelErr::kOk)
            result = integerLimit(index, Bound::kMax, &max);
        isVerifying_ = true;
        return result == ZelErr::kOk && (value < min || value > max) ? ZelErr::kParamOutOfRange
                                                                     : result;
    }
    if (node.kind != NodeKind::kEnumeration)
        return ZelErr::kOk;
    bool hasEntries = false;
    for (const Link& link : description_.linksOf(node)) {
        std::int64_t number = 0;
        if (link.kind != LinkKind::kEntry)
            continue;
        hasEntries = true;
        if (readInteger(link.target, &number) == ZelErr::kOk && number == value)
            return ZelErr::kOk;
    }
    return hasEntries ? ZelErr::kParamInvalidArgument : ZelErr::kOk;
}

ZelCamErr Evaluator::readReal(std::int32_t index, double* value)
{
    const Level level(*this);
    if (index < 0 || level.isTooDeep())
        return ZelErr::kParamTree;
    const Node& node = at(index);
    switch (node.kind) {
    case NodeKind::kFloat: {
        Link* link = nullptr;
        const ZelCamErr result = valueLink(node, &link);
        return result == ZelErr::kOk ? readReal(*link, value) : result;
    }
    case NodeKind::kFloatReg:
        return readRealRegister(node, value);
    case NodeKind::kSwissKnife:
    case NodeKind::kConverter:
        return calculate(node, false, static_cast<const double*>(nullptr), value);
    default:
        break;
    }
    std::int64_t whole = 0;
    const ZelCamErr result = readInteger(index, &whole);
    *value = static_cast<double>(whole);
    if (result != ZelErr::kOk || node.kind != NodeKind::kEnumeration)
        return result;
    for (const Link& link : description_.linksOf(node)) {
        std::int64_t number = 0;
        if (link.kind != LinkKind::kEntry || readInteger(link.target, &number) != ZelErr::kOk ||
            number != whole)
            continue;
        const Link* const numeric = description_.find(at(link.target), LinkKind::kNumericValue);
        *value = numeric != nullptr ? numeric->real : *value;
    }
    return ZelErr::kOk;
}

ZelCamErr Evaluator::readBoolean(const Node& node, std::int64_t* value)
{
    Link* link = nullptr;
    if (const ZelCamErr result = valueLink(node, &link); result != ZelErr::kOk)
        return result;
    std::int64_t stored = 0;
    if (const ZelCamErr result = readInteger(*link, &stored); result != ZelErr::kOk)
        return result;
    // A value of its own is the boolean, not what a register would hold for it.
    const Link* const on =
        link->target >= 0 ? description_.find(node, LinkKind::kOnValue) : nullptr;
    const Link* const off =
        link->target >= 0 ? description_.find(node, LinkKind::kOffValue) : nullptr;
    *value = stored == (on != nullptr ? on->integer : 1) ? 1 : 0;
    if (*value == 0 && stored != (off != nullptr ? off->integer : 0))
        return ZelErr::kParamInvalidArgument;
    return ZelErr::kOk;
}

ZelCamErr Evaluator::readText(std::int32_t index, std::string* value)
{
    const Level level(*this);
    if (index < 0 || level.isTooDeep())
        return ZelErr::kParamTree;
    const Node& node = at(index);
    if (node.kind == NodeKind::kString) {
        Link* link = nullptr;
        const ZelCamErr result = valueLink(node, &link);
        if (result != ZelErr::kOk)
            return result;
        if (link->target >= 0)
            return readText(link->target, value);
        if (link->text < 0)
            return ZelErr::kParamTree;
        *value = description_.texts[static_cast<std::size_t>(link->text)];
        return ZelErr::kOk;
    }
    if (node.kind != NodeKind::kStringReg)
        return ZelErr::kParamTree;
    Place place;
    if (const ZelCamErr result = findPlace(node, &place); result != ZelErr::kOk)
        return result;
    return isReadable(node.accessMode) ? readTextRegister(place, value) : ZelErr::kParamAccess;
}

ZelCamErr Evaluator::readVariable(const Link& link, std::int64_t* value)
{
    AccessMode mode = AccessMode::kAll;
    ZelCamErr result = ZelErr::kOk;
    switch (link.aspect) {
    case Aspect::kMin:
        return integerLimit(link.target, Bound::kMin, value);
    case Aspect::kMax:
        return integerLimit(link.target, Bound::kMax, value);
    case Aspect::kIncrement:
        return increment(link.target, value);
    case Aspect::kEntry:
        return readInteger(link.extra, value);
    case Aspect::kAccessMode:
        result = access(link.target, &mode);
        *value = static_cast<std::int64_t>(mode);
        return result;
    case Aspect::kVisibility:
        *value = at(link.target).visibility;
        return ZelErr::kOk;
    case Aspect::kCachingMode:
        *value = at(link.target).caching;
        return ZelErr::kOk;
    default:
        return readInteger(link.target, value);
    }
}

ZelCamErr Evaluator::readVariable(const Link& link, double* value)
{
    if (link.aspect == Aspect::kValue)
        return readReal(link.target, value);
    if (link.aspect == Aspect::kMin || link.aspect == Aspect::kMax)
        return realLimit(link.target, link.aspect == Aspect::kMin ? Bound::kMin : Bound::kMax,
                         value);
    std::int64_t whole = 0;
    const ZelCamErr result = readVariable(link, &whole);
    *value = static_cast<double>(whole);
    return result;
}

const Formula* Evaluator::formulaOf(const Node& node, bool isTo)
{
    const Link* const link =
        description_.find(node, isTo ? LinkKind::kFormulaTo : LinkKind::kFormula);
    if (link == nullptr)
        return nullptr;
    const auto [known, isNew] = formulas_.try_emplace(link);
    if (isNew) {
        std::vector<FormulaName> names;
        const auto textAt = [this](std::int32_t text) {
            return description_.texts[static_cast<std::size_t>(text)];
        };
        for (const Link& each : description_.linksOf(node)) {
            FormulaName name;
            if (each.kind == LinkKind::kVariable) {
                name.slot = static_cast<std::int32_t>(&each - description_.links.data());
            } else if (each.kind == LinkKind::kConstant) {
                name.kind = FormulaName::Kind::kConstant;
                name.integer = each.integer;
                name.real = each.real;
            } else if (each.kind == LinkKind::kExpression) {
                name.kind = FormulaName::Kind::kExpression;
                name.text = textAt(each.text + 1);
            } else {
                continue;
            }
            name.name = textAt(each.text);
            names.push_back(name);
        }
        FormulaName argument;
        argument.name = isTo ? "FROM" : "TO";
        argument.slot = kArgument;
        names.push_back(argument);
        const bool isInteger =
            node.kind == NodeKind::kIntSwissKnife || node.kind == NodeKind::kIntConverter;
        known->second.compile(textAt(link->text), isInteger, names);
    }
    return known->second.height() > 0 ? &known->second : nullptr;
}

ZelCamErr Evaluator::calculate(const Node& node, bool isTo, const double* argument, double* value)
{
    const Formula* const formula = formulaOf(node, isTo);
    if (formula == nullptr)
        return ZelErr::kParamTree;
    const Level level(*this, costOf(*formula));
    if (level.isTooDeep())
        return ZelErr::kParamTree;
    Variables variables(*this, node);
    if (argument != nullptr)
        variables.give(*argument);
    return formula->real(variables, value);
}

ZelCamErr Evaluator::calculate(const Node& node, bool isTo, const std::int64_t* argument,
                               std::int64_t* value)
{
    const Formula* const formula = formulaOf(node, isTo);
    if (formula == nullptr)
        return ZelErr::kParamTree;
    const Level level(*this, costOf(*formula));
    if (level.isTooDeep())
        return ZelErr::kParamTree;
    Variables variables(*this, node);
    if (argument != nullptr)
        variables.give(*argument);
    return formula->integer(variables, value);
}

} // namespace genapi
