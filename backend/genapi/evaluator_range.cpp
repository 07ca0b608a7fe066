// The present range of numbers.
#include "genapi/evaluator.h"
#include "genapi/register_value.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <limits>
#include <type_traits>

namespace genapi
{

namespace
{

template <class Value> Value typeLimit(Bound bound)
{
    return bound == Bound::kMin ? std::numeric_limits<Value>::lowest()
                                : std::numeric_limits<Value>::max();
}

Bound opposite(Bound bound) { return bound == Bound::kMin ? Bound::kMax : Bound::kMin; }

double turned(std::int64_t limit, Bound /*bound*/) { return static_cast<double>(limit); }

/// A whole number inside the limit.
std::int64_t turned(double limit, Bound bound)
{
    constexpr double kLimit = 9223372036854775808.0;
    limit = bound == Bound::kMin ? std::ceil(limit) : std::floor(limit);
    if (!(limit > -kLimit && limit < kLimit))
        return limit > 0.0 ? std::numeric_limits<std::int64_t>::max()
                           : std::numeric_limits<std::int64_t>::min();
    return static_cast<std::int64_t>(limit);
}

} // namespace

template <class Value> ZelCamErr Evaluator::limit(std::int32_t index, Bound bound, Value* value)
{
    constexpr bool kIsReal = std::is_same_v<Value, double>;
    const Level level(*this);
    if (level.isTooDeep())
        return ZelErr::kParamTree;
    const Node& node = at(index);
    if (isFloatKind(node.kind) != kIsReal) {
        std::conditional_t<kIsReal, std::int64_t, double> other{};
        const ZelCamErr result = limit(index, bound, &other);
        *value = turned(other, bound);
        return result;
    }
    const Link* const own =
        description_.find(node, bound == Bound::kMin ? LinkKind::kMin : LinkKind::kMax);
    if (own != nullptr)
        return read(*own, value);
    *value = typeLimit<Value>(bound);
    switch (node.kind) {
    case NodeKind::kInteger:
    case NodeKind::kFloat: {
        Link* link = nullptr;
        ZelCamErr result = valueLink(node, &link);
        if (result == ZelErr::kOk && link->target >= 0)
            result = limit(link->target, bound, value);
        // A logarithm may have given infinity.
        *value = bound == Bound::kMin ? std::max(*value, typeLimit<Value>(bound))
                                      : std::min(*value, typeLimit<Value>(bound));
        return result;
    }
    case NodeKind::kIntReg:
    case NodeKind::kMaskedIntReg:
    case NodeKind::kStructEntry:
    case NodeKind::kFloatReg:
        return registerLimit(node, bound, value);
    case NodeKind::kIntConverter:
    case NodeKind::kConverter:
        return converterLimit(node, bound, value);
    default:
        return ZelErr::kOk;
    }
}

ZelCamErr Evaluator::registerLimit(const Node& node, Bound bound, std::int64_t* value)
{
    std::int64_t length = 0;
    if (const ZelCamErr result = lengthOf(node, &length); result != ZelErr::kOk)
        return result;
    if (length < 1 || length > 8)
        return ZelErr::kParamTree;
    const RegisterBits bits = bitsOf(node, static_cast<std::size_t>(length));
    if (bits.width > 0)
        *value = bound == Bound::kMin ? bits.min() : bits.max();
    return ZelErr::kOk;
}

ZelCamErr Evaluator::registerLimit(const Node& node, Bound bound, double* value)
{
    if (node.length == sizeof(float))
        *value = typeLimit<float>(bound);
    return ZelErr::kOk;
}

template <class Value>
ZelCamErr Evaluator::converterLimit(const Node& node, Bound bound, Value* value)
{
    const std::int32_t target = description_.target(node, LinkKind::kValue);
    if (node.slope == Slope::kVarying || target < 0)
        return ZelErr::kOk;
    const auto end = [&](Bound side, Value* result) {
        Value inner{};
        const ZelCamErr code = limit(target, side, &inner);
        return code == ZelErr::kOk ? calculate(node, false, &inner, result) : code;
    };
    if (node.slope != Slope::kAutomatic)
        return end(node.slope == Slope::kIncreasing ? bound : opposite(bound), value);
    Value other{};
    ZelCamErr result = end(Bound::kMin, value);
    if (result == ZelErr::kOk)
        result = end(Bound::kMax, &other);
    *value = bound == Bound::kMin ? std::min(*value, other) : std::max(*value, other);
    return result;
}

ZelCamErr Evaluator::increment(std::int32_t index, std::int64_t* value)
{
    const Level level(*this);
    if (level.isTooDeep())
        return ZelErr::kParamTree;
    const Node& node = at(index);
    const Link* const own = description_.find(node, LinkKind::kIncrement);
    *value = 1;
    ZelCamErr result = ZelErr::kOk;
    if (own != nullptr) {
        result = read(*own, value);
    } else if (node.kind == NodeKind::kInteger) {
        Link* link = nullptr;
        result = valueLink(node, &link);
        if (result == ZelErr::kOk && link->target >= 0)
            result = increment(link->target, value);
    }
    return result;
}

template <class Value> ZelCamErr Evaluator::checkRange(std::int32_t index, Value value)
{
    Value min{};
    Value max{};
    ZelCamErr result = limit(index, Bound::kMin, &min);
    if (result == ZelErr::kOk)
        result = limit(index, Bound::kMax, &max);
    if (result != ZelErr::kOk)
        return result;
    if (std::isnan(static_cast<double>(value)) || value < min || value > max)
        return ZelErr::kParamOutOfRange;
    bool hasList = false;
    for (const Link& link : description_.linksOf(at(index), setOf(LinkKind::kValidValue))) {
        hasList = hasList || link.kind == LinkKind::kValidValue;
        if (link.kind == LinkKind::kValidValue && link.number<Value>() == value)
            return ZelErr::kOk;
    }
    return hasList ? ZelErr::kParamOutOfRange : checkStep(index, value, min);
}

ZelCamErr Evaluator::checkStep(std::int32_t index, std::int64_t value, std::int64_t min)
{
    std::int64_t step = 1;
    const ZelCamErr result = increment(index, &step);
    // The distance may need all 64 bits.
    const std::uint64_t distance =
        static_cast<std::uint64_t>(value) - static_cast<std::uint64_t>(min);
    if (result != ZelErr::kOk || step < 2)
        return result;
    return distance % static_cast<std::uint64_t>(step) == 0 ? ZelErr::kOk
                                                            : ZelErr::kParamOutOfRange;
}

ZelCamErr Evaluator::checkStep(std::int32_t index, double value, double min)
{
    constexpr double kTolerance = 1e-6;
    // Its own steps count from the minimum; without one there is nothing to count from. Most steps
    // have no exact binary form. Below are whole numbers, which take the nearest.
    const Link* const own = description_.find(at(index), LinkKind::kIncrement);
    double step = 0.0;
    if (own == nullptr || min <= -DBL_MAX)
        return ZelErr::kOk;
    if (const ZelCamErr result = read(*own, &step); result != ZelErr::kOk || !(step > 0.0))
        return result;
    const double steps = (value - min) / step;
    return std::abs(steps - std::round(steps)) <= std::max(kTolerance, steps * DBL_EPSILON * 4)
               ? ZelErr::kOk
               : ZelErr::kParamOutOfRange;
}

template ZelCamErr Evaluator::limit(std::int32_t, Bound, std::int64_t*);
template ZelCamErr Evaluator::limit(std::int32_t, Bound, double*);
template ZelCamErr Evaluator::checkRange(std::int32_t, std::int64_t);
template ZelCamErr Evaluator::checkRange(std::int32_t, double);

} // namespace genapi
