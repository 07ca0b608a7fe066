// Reading: values of nodes, formulas, links.
#include "genapi/evaluator.h"

#include "genapi/feature_source.h"
#include "genapi/nearest.h"

#include <new>
#include <type_traits>
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

    template <class Value> void give(Value argument)
    {
        hasArgument_ = true;
        integer_ = static_cast<std::int64_t>(std::is_integral_v<Value> ? argument : 0);
        real_ = static_cast<double>(argument);
    }

    ZelCamErr value(std::int32_t slot, std::int64_t* value) override
    {
        *value = integer_;
        return hasArgument_ && slot == kArgument ? ZelErr::kOk : read(slot, value);
    }

    ZelCamErr value(std::int32_t slot, double* value) override
    {
        *value = real_;
        return hasArgument_ && slot == kArgument ? ZelErr::kOk : read(slot, value);
    }

private:
    template <class Value> ZelCamErr read(std::int32_t slot, Value* value)
    {
        const Description& description = evaluator_.description_;
        if (slot == kArgument)
            return evaluator_.read(description.target(node_, LinkKind::kValue), value);
        return evaluator_.readVariable(description.links[static_cast<std::size_t>(slot)], value);
    }

    Evaluator& evaluator_;
    const Node& node_;
    bool hasArgument_ = false;
    std::int64_t integer_ = 0;
    double real_ = 0.0;
};

Evaluator::Evaluator(FeatureSource& source, Description description)
    : description_(std::move(description)), router_(source, description_.overlays),
      dependents_(description_),
      countsOnNetworkOrder_(description_.isOldSchema && source.hasNetworkByteOrder()),
      cellOf_(description_.nodes.size(), -1), known_(description_.nodes.size()),
      values_(description_.nodes.size()), changed_(2 * description_.nodes.size())
{
}

void Evaluator::changed(std::int32_t node)
{
    if (ChangeCount::advance() == elsewhere_)
        ++elsewhere_;
    ++operation_;
    makeOld(node);
}

void Evaluator::makeOld(std::int32_t node)
{
    const std::vector<Dependents::Place>* old = nullptr;
    try {
        old = dependents_.of(node);
    } catch (const std::bad_alloc&) {
        // The write is done, and its code is not this one's.
    }
    if (old == nullptr)
        return forget();
    ++changes_;
    for (const Dependents::Place place : *old)
        changed_[place] = changes_;
}

ZelCamErr Evaluator::valueLink(const Node& node, Link** link)
{
    const Link* const index = description_.find(node, LinkKind::kIndex);
    if (index == nullptr || index->target < 0) {
        *link = description_.find(node, LinkKind::kValue);
        return *link != nullptr ? ZelErr::kOk : ZelErr::kParamTree;
    }
    std::int64_t chosen = 0;
    if (const ZelCamErr result = read(index->target, &chosen); result != ZelErr::kOk)
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

template <class Value> ZelCamErr Evaluator::read(const Link& link, Value* value)
{
    if (link.target >= 0)
        return read(link.target, value);
    *value = link.number<Value>();
    return ZelErr::kOk;
}

template <class Value> ZelCamErr Evaluator::read(std::int32_t index, Value* value)
{
    const Level level(*this);
    if (index < 0 || level.isTooDeep())
        return ZelErr::kParamTree;
    const Node& node = at(index);
    if constexpr (std::is_same_v<Value, double>) {
        if (isFloatKind(node.kind))
            return readOwn(index, value);
        std::int64_t whole = 0;
        const ZelCamErr result = readOwn(index, &whole);
        *value = static_cast<double>(whole);
        if (result == ZelErr::kOk && node.kind == NodeKind::kEnumeration)
            checkEntryRead(node, whole, value);
        return result;
    } else {
        if (!isFloatKind(node.kind))
            return readOwn(index, value);
        double real = 0.0;
        const ZelCamErr result = readOwn(index, &real);
        return result == ZelErr::kOk ? nearest(real, value) : result;
    }
}

template <class Value> ZelCamErr Evaluator::readOwn(std::int32_t index, Value* value)
{
    // What leads to the place of a write is checked each time.
    if (isVerifying_ || !mayKeep(index, Part::kValue))
        return findValue(index, value);
    KnownValue& known = values_[static_cast<std::size_t>(index)];
    if (known.then != 0 && holds(index, Part::kValue, known.then)) {
        *value = std::is_integral_v<Value> ? static_cast<Value>(known.integer)
                                           : static_cast<Value>(known.real);
        return ZelErr::kOk;
    }
    const std::uint64_t then = now();
    const ZelCamErr result = findValue(index, value);
    if (result == ZelErr::kOk && std::is_integral_v<Value>)
        known = {then, static_cast<std::int64_t>(*value), 0.0};
    else if (result == ZelErr::kOk)
        known = {then, 0, static_cast<double>(*value)};
    return result;
}

template <class Value> ZelCamErr Evaluator::findValue(std::int32_t index, Value* value)
{
    const Node& node = at(index);
    switch (node.kind) {
    case NodeKind::kInteger:
    case NodeKind::kFloat:
    case NodeKind::kEnumeration:
    case NodeKind::kCommand:
    case NodeKind::kEnumEntry: {
        Link* link = nullptr;
        ZelCamErr result = valueLink(node, &link);
        if (result == ZelErr::kOk)
            result = read(*link, value);
        if constexpr (std::is_integral_v<Value>)
            result = result == ZelErr::kOk ? checkRead(index, *value) : result;
        return result;
    }
    case NodeKind::kBoolean:
        if constexpr (std::is_integral_v<Value>)
            return readBoolean(node, value);
        break;
    case NodeKind::kIntReg:
    case NodeKind::kMaskedIntReg:
    case NodeKind::kStructEntry:
    case NodeKind::kFloatReg:
        return readRegister(node, value);
    case NodeKind::kIntSwissKnife:
    case NodeKind::kIntConverter:
    case NodeKind::kSwissKnife:
    case NodeKind::kConverter:
        return calculate(node, false, static_cast<const Value*>(nullptr), value);
    default:
        break;
    }
    return ZelErr::kParamTree;
}

ZelCamErr Evaluator::checkRead(std::int32_t index, std::int64_t value)
{
    const Node& node = at(index);
    if (node.kind == NodeKind::kEnumeration)
        return checkEntryRead(node, value, nullptr);
    if (node.kind != NodeKind::kInteger || !isVerifying_)
        return ZelErr::kOk;
    std::int64_t min = 0;
    std::int64_t max = 0;
    isVerifying_ = false;
    ZelCamErr result = limit(index, Bound::kMin, &min);
    if (result == ZelErr::kOk)
        result = limit(index, Bound::kMax, &max);
    isVerifying_ = true;
    return result == ZelErr::kOk && (value < min || value > max) ? ZelErr::kParamOutOfRange
                                                                 : result;
}

ZelCamErr Evaluator::checkEntryRead(const Node& node, std::int64_t value, double* numeric)
{
    bool hasEntries = false;
    bool isEntry = false;
    for (const Link& link : description_.linksOf(node)) {
        std::int64_t number = 0;
        if (link.kind != LinkKind::kEntry)
            continue;
        hasEntries = true;
        if (read(link.target, &number) != ZelErr::kOk || number != value)
            continue;
        isEntry = true;
        if (numeric == nullptr)
            break;
        const Link* const given = description_.find(at(link.target), LinkKind::kNumericValue);
        *numeric = given != nullptr ? given->real : *numeric;
    }
    return isEntry || !hasEntries ? ZelErr::kOk : ZelErr::kParamInvalidArgument;
}

ZelCamErr Evaluator::readBoolean(const Node& node, std::int64_t* value)
{
    Link* link = nullptr;
    std::int64_t stored = 0;
    ZelCamErr result = valueLink(node, &link);
    if (result == ZelErr::kOk)
        result = read(*link, &stored);
    if (result != ZelErr::kOk)
        return result;
    // A value of its own is the boolean, not what a register would hold for it.
    const bool isHeld = link->target < 0;
    const Link* const on = isHeld ? nullptr : description_.find(node, LinkKind::kOnValue);
    const Link* const off = isHeld ? nullptr : description_.find(node, LinkKind::kOffValue);
    *value = stored == (on != nullptr ? on->integer : 1) ? 1 : 0;
    return *value != 0 || stored == (off != nullptr ? off->integer : 0)
               ? ZelErr::kOk
               : ZelErr::kParamInvalidArgument;
}

ZelCamErr Evaluator::readText(std::int32_t index, std::string* value)
{
    const Level level(*this);
    if (index < 0 || level.isTooDeep())
        return ZelErr::kParamTree;
    const Node& node = at(index);
    if (node.kind == NodeKind::kStringReg)
        return readTextRegister(node, value);
    Link* link = nullptr;
    if (node.kind != NodeKind::kString)
        return ZelErr::kParamTree;
    if (const ZelCamErr result = valueLink(node, &link); result != ZelErr::kOk)
        return result;
    if (link->target >= 0)
        return readText(link->target, value);
    if (link->text < 0)
        return ZelErr::kParamTree;
    *value = textAt(link->text);
    return ZelErr::kOk;
}

template <class Value> ZelCamErr Evaluator::readVariable(const Link& link, Value* value)
{
    AccessMode mode = AccessMode::kAll;
    std::int64_t whole = 0;
    ZelCamErr result = ZelErr::kOk;
    switch (link.aspect) {
    case Aspect::kValue:
        return read(link.target, value);
    case Aspect::kMin:
    case Aspect::kMax:
        return limit(link.target, link.aspect == Aspect::kMin ? Bound::kMin : Bound::kMax, value);
    case Aspect::kIncrement:
        result = increment(link.target, &whole);
        break;
    case Aspect::kEntry:
        result = read(link.extra, &whole);
        break;
    case Aspect::kAccessMode:
        result = access(link.target, &mode);
        whole = static_cast<std::int64_t>(mode);
        break;
    case Aspect::kVisibility:
        whole = at(link.target).visibility;
        break;
    case Aspect::kCachingMode:
        whole = at(link.target).caching;
        break;
    }
    *value = static_cast<Value>(whole);
    return result;
}

void Evaluator::compile(const Node& node, const Link& link, bool isTo, Formula* formula) const
{
    std::vector<FormulaName> names;
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
    formula->compile(textAt(link.text), !isFloatKind(node.kind), names);
}

const Formula* Evaluator::formulaOf(const Node& node, bool isTo)
{
    const Link* const link =
        description_.find(node, isTo ? LinkKind::kFormulaTo : LinkKind::kFormula);
    if (link == nullptr)
        return nullptr;
    auto known = formulas_.find(link);
    if (known == formulas_.end()) {
        Formula formula; // Known once it is whole: memory may come back.
        compile(node, *link, isTo, &formula);
        known = formulas_.emplace(link, std::move(formula)).first;
    }
    return known->second.height() > 0 ? &known->second : nullptr;
}

template <class Value>
ZelCamErr Evaluator::calculate(const Node& node, bool isTo, const Value* argument, Value* value)
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
    return formula->evaluate(variables, value);
}

template ZelCamErr Evaluator::read(std::int32_t, std::int64_t*);
template ZelCamErr Evaluator::read(std::int32_t, double*);
template ZelCamErr Evaluator::read(const Link&, std::int64_t*);
template ZelCamErr Evaluator::read(const Link&, double*);
template ZelCamErr Evaluator::calculate(const Node&, bool, const std::int64_t*, std::int64_t*);
template ZelCamErr Evaluator::calculate(const Node&, bool, const double*, double*);

} // namespace genapi
