// The present range of numbers.
#include "genapi/evaluator.h"
#include "genapi/evaluator_level.h"
#include "genapi/register_value.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <limits>

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

/// A whole number inside the limit.
std::int64_t inward(double limit, Bound bound)
{
    constexpr double kLimit = 9223372036854775808.0;
    limit = bound == Bound::kMin ? std::ceil(limit) : std::floor(limit);
    if (!(limit > -kLimit && limit < kLimit))
        return limit > 0.0 ? std::numeric_limits<std::int64_t>::max()
                           : std::numeric_limits<std::int64_t>::min();
    return static_cast<std::int64_t>(limit);
}

} // namespace

ZelCamErr Evaluator::integerLimit(std::int32_t index, Bound bound, std::int64_t* value)
{
    const Level level(*this);
    if (level.isTooDeep())
        return ZelErr::kParamTree;
    const Node& node = at(index);
    *value = typeLimit<std::int64_t>(bound);
    const Link* const own =
        description_.find(node, bound == Bound::kMin ? LinkKind::kMin : LinkKind::kMax);
    if (isFloatKind(node.kind)) {
        double real = 0.0;
        const ZelCamErr result = realLimit(index, bound, &real);
        *value = inward(real, bound);
        return result;
    }
    if (own != nullptr)
        return readInteger(*own, value);
    switch (node.kind) {
    case NodeKind::kInteger: {
        Link* link = nullptr;
        const ZelCamErr result = valueLink(node, &link);
        return result == ZelErr::kOk && link->target >= 0 ? integerLimit(link->target, bound, value)
                                                          : result;
    }
    case NodeKind::kIntReg:
    case NodeKind::kMaskedIntReg:
    case NodeKind::kStructEntry: {
        std::int64_t length = node.length;
        const Link* const size = description_.find(node, LinkKind::kLength);
        if (size != nullptr) {
            if (const ZelCamErr result = readInteger(*size, &length); result != ZelErr::kOk)
                return result;
        }
        if (length < 1 || length > 8)
            return ZelErr::kParamTree;
        const RegisterBits bits = bitsOf(node, static_cast<std::size_t>(length));
        if (bits.width > 0)
            *value = bound == Bound::kMin ? bits.min() : bits.max();
        return ZelErr::kOk;
    }
    case NodeKind::kIntConverter:
        return converterLimit(node, bound, value);
    default:
        return ZelErr::kOk;
    }
}

ZelCamErr Evaluator::realLimit(std::int32_t index, Bound bound, double* value)
{
    const Level level(*this);
    if (level.isTooDeep())
        return ZelErr::kParamTree;
    const Node& node = at(index);
    *value = typeLimit<double>(bound);
    if (!isFloatKind(node.kind)) {
        std::int64_t whole = 0;
        const ZelCamErr result = integerLimit(index, bound, &whole);
        *value = static_cast<double>(whole);
        return result;
    }
    const Link* const own =
        description_.find(node, bound == Bound::kMin ? LinkKind::kMin : LinkKind::kMax);
    if (own != nullptr)
        return readReal(*own, value);
    switch (node.kind) {
    case NodeKind::kFloat: {
        Link* link = nullptr;
        ZelCamErr result = valueLink(node, &link);
        if (result == ZelErr::kOk && link->target >= 0)
            result = realLimit(link->target, bound, value);
        // A logarithm may have given infinity.
        *value = bound == Bound::kMin ? std::max(*value, -DBL_MAX) : std::min(*value, DBL_MAX);
        return result;
    }
    case NodeKind::kFloatReg:
        if (node.length == sizeof(float))
            *value = typeLimit<float>(bound);
        return ZelErr::kOk;
    case NodeKind::kConverter:
        return converterLimit(node, bound, value);
    default:
        return ZelErr::kOk;
    }
}

ZelCamErr Evaluator::converterLimit(const Node& node, Bound bound, std::int64_t* value)
{
    const std::int32_t target = description_.target(node, LinkKind::kValue);
    if (node.slope == Slope::kVarying || target < 0)
        return ZelErr::kOk;
    const auto end = [&](Bound side, std::int64_t* result) {
        std::int64_t inner = 0;
        if (const ZelCamErr code = integerLimit(target, side, &inner); code != ZelErr::kOk)
            return code;
        return calculate(node, false, &inner, result);
    };
    if (node.slope != Slope::kAutomatic)
        return end(node.slope == Slope::kIncreasing ? bound : opposite(bound), value);
    std::int64_t other = 0;
    ZelCamErr result = end(Bound::kMin, value);
    if (result == ZelErr::kOk)
        result = end(Bound::kMax, &other);
    *value = bound == Bound::kMin ? std::min(*value, other) : std::max(*value, other);
    return result;
}

ZelCamErr Evaluator::converterLimit(const Node& node, Bound bound, double* value)
{
    const std::int32_t target = description_.target(node, LinkKind::kValue);
    if (node.slope == Slope::kVarying || target < 0)
        return ZelErr::kOk;
    const auto end = [&](Bound side, double* result) {
        double inner = 0.0;
        if (const ZelCamErr code = realLimit(target, side, &inner); code != ZelErr::kOk)
            return code;
        return calculate(node, false, &inner, result);
    };
    if (node.slope != Slope::kAutomatic)
        return end(node.slope == Slope::kIncreasing ? bound : opposite(bound), value);
    double other = 0.0;
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
        result = readInteger(*own, value);
    } else if (node.kind == NodeKind::kInteger) {
        Link* link = nullptr;
        result = valueLink(node, &link);
        if (result == ZelErr::kOk && link->target >= 0)
            result = increment(link->target, value);
    }
    return result;
}

ZelCamErr Evaluator::checkRange(std::int32_t index, std::int64_t value)
{
    std::int64_t min = 0;
    std::int64_t max = 0;
    ZelCamErr result = integerLimit(index, Bound::kMin, &min);
    if (result == ZelErr::kOk)
        result = integerLimit(index, Bound::kMax, &max);
    if (result != ZelErr::kOk)
        return result;
    if (value < min || value > max)
        return ZelErr::kParamOutOfRange;
    bool hasList = false;
    for (const Link& link : description_.linksOf(at(index))) {
        hasList = hasList || link.kind == LinkKind::kValidValue;
        if (link.kind == LinkKind::kValidValue && link.integer == value)
            return ZelErr::kOk;
    }
    std::int64_t step = 1;
    result = hasList ? ZelErr::kParamOutOfRange : increment(index, &step);
    // The distance may need all 64 bits.
    const std::uint64_t distance =
        static_cast<std::uint64_t>(value) - static_cast<std::uint64_t>(min);
    if (result == ZelErr::kOk &&
        distance % static_cast<std::uint64_t>(std::max<std::int64_t>(step, 1)) != 0)
        result = ZelErr::kParamOutOfRange;
    return result;
}

ZelCamErr Evaluator::checkRange(std::int32_t index, double value)
{
    constexpr double kTolerance = 1e-6;
    double min = 0.0;
    double max = 0.0;
    ZelCamErr result = realLimit(index, Bound::kMin, &min);
    if (result == ZelErr::kOk)
        result = realLimit(index, Bound::kMax, &max);
    if (result != ZelErr::kOk)
        return result;
    if (std::isnan(value) || value < min || value > max)
        return ZelErr::kParamOutOfRange;
    bool hasList = false;
    const Node& node = at(index);
    for (const Link& link : description_.linksOf(node)) {
        hasList = hasList || link.kind == LinkKind::kValidValue;
        if (link.kind == LinkKind::kValidValue && link.real == value)
            return ZelErr::kOk;
    }
    if (hasList)
        return ZelErr::kParamOutOfRange;
    // Its own steps count from the minimum; without one there is nothing to count from. Most steps
    // have no exact binary form. Below are whole numbers, which take the nearest.
    const Link* const own = description_.find(node, LinkKind::kIncrement);
    double step = 0.0;
    if (own == nullptr || min <= -DBL_MAX)
        return ZelErr::kOk;
    if (result = readReal(*own, &step); result != ZelErr::kOk || !(step > 0.0))
        return result;
    const double steps = (value - min) / step;
    return std::abs(steps - std::round(steps)) <= std::max(kTolerance, steps * DBL_EPSILON * 4)
               ? ZelErr::kOk
               : ZelErr::kParamOutOfRange;
}

} // namespace genapi
