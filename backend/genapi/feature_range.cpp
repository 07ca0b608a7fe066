#include "genapi/feature_range.h"

#include "genapi/feature_map.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <limits>

namespace genapi
{

namespace
{

/// A range that ArvGc cannot work out is no range; a source that fails is a failure.
bool isSourceFailure(ZelCamErr code) { return code > -2000 && code < 0; }

} // namespace

FeatureRange::FeatureRange(FeatureMap& map, std::int32_t node) { add(map, node); }

void FeatureRange::addBound(FeatureMap& map, const Number* constant, std::int32_t reference,
                            std::vector<Bound>* bounds)
{
    if (reference >= 0)
        bounds->push_back({Source::kValue, 0, 0.0, map.engine(reference)});
    else if (constant != nullptr)
        bounds->push_back({Source::kConstant, constant->integer, constant->real, EngineNode()});
}

void FeatureRange::add(FeatureMap& map, std::int32_t index)
{
    const auto at = [&map](std::int32_t i) -> const NodeDescription& {
        return map.description().nodes[static_cast<std::size_t>(i)];
    };
    // The chain ends: descriptions with cycles were refused.
    for (std::int32_t next = index; next >= 0;) {
        const NodeDescription& node = at(next);
        addBound(map, node.min ? &*node.min : nullptr, node.target(ReferenceKind::kMin), &lower_);
        addBound(map, node.max ? &*node.max : nullptr, node.target(ReferenceKind::kMax), &upper_);
        addBound(map, node.increment ? &*node.increment : nullptr,
                 node.target(ReferenceKind::kIncrement), &increments_);
        if (validValues_.empty())
            validValues_ = node.validValues;
        if (node.kind == NodeKind::kConverter || node.kind == NodeKind::kIntConverter) {
            converters_.push_back(map.engine(next));
            return;
        }
        const IntegerLimits limits = integerLimits(node);
        if (limits.min != std::numeric_limits<std::int64_t>::min()) {
            lower_.push_back({Source::kConstant, limits.min, static_cast<double>(limits.min), {}});
            upper_.push_back({Source::kConstant, limits.max, static_cast<double>(limits.max), {}});
        }
        if (node.kind == NodeKind::kFloatReg && node.length == 4) {
            lower_.push_back({Source::kConstant, 0, -static_cast<double>(FLT_MAX), {}});
            upper_.push_back({Source::kConstant, 0, static_cast<double>(FLT_MAX), {}});
        }
        next = node.target(ReferenceKind::kValue);
    }
}

ZelCamErr FeatureRange::integer(IntegerRange* range) const
{
    *range = {std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max(),
              1};
    const auto valueOf = [](const Bound& bound, std::int64_t* value) {
        *value = bound.integer;
        return bound.source == Source::kValue ? bound.engine.readInteger(value) : ZelErr::kOk;
    };
    std::int64_t value = 0;
    for (const Bound& bound : lower_) {
        if (const ZelCamErr result = valueOf(bound, &value); result != ZelErr::kOk)
            return result;
        range->min = std::max(range->min, value);
    }
    for (const Bound& bound : upper_) {
        if (const ZelCamErr result = valueOf(bound, &value); result != ZelErr::kOk)
            return result;
        range->max = std::min(range->max, value);
    }
    if (!increments_.empty()) {
        if (const ZelCamErr result = valueOf(increments_[0], &value); result != ZelErr::kOk)
            return result;
        range->increment = std::max<std::int64_t>(value, 1);
    }
    for (const EngineNode& converter : converters_) {
        std::int64_t min = 0;
        std::int64_t max = 0;
        const ZelCamErr result = converter.readIntegerRange(&min, &max);
        if (isSourceFailure(result))
            return result;
        if (result == ZelErr::kOk) {
            range->min = std::max(range->min, min);
            range->max = std::min(range->max, max);
        }
    }
    return ZelErr::kOk;
}

ZelCamErr FeatureRange::check(std::int64_t value) const
{
    IntegerRange range{};
    if (const ZelCamErr result = integer(&range); result != ZelErr::kOk)
        return result;
    if (value < range.min || value > range.max)
        return ZelErr::kParamOutOfRange;
    // The distance may need all 64 bits.
    const std::uint64_t distance =
        static_cast<std::uint64_t>(value) - static_cast<std::uint64_t>(range.min);
    const bool isStep = distance % static_cast<std::uint64_t>(range.increment) == 0;
    return isStep && isListed([value](const Number& each) { return each.integer == value; })
               ? ZelErr::kOk
               : ZelErr::kParamOutOfRange;
}

ZelCamErr FeatureRange::check(double value) const
{
    constexpr double kTolerance = 1e-6;
    FloatRange range{};
    if (const ZelCamErr result = real(&range); result != ZelErr::kOk)
        return result;
    if (std::isnan(value) || value < range.min || value > range.max)
        return ZelErr::kParamOutOfRange;
    double increment = 0.0;
    if (!increments_.empty()) {
        increment = increments_[0].number;
        if (increments_[0].source == Source::kValue) {
            if (const ZelCamErr result = increments_[0].engine.readReal(&increment);
                result != ZelErr::kOk)
                return result;
        }
    }
    // Steps count from the minimum; without one there is nothing to count from.
    if (increment > 0.0 && range.min > -DBL_MAX) {
        const double steps = (value - range.min) / increment;
        if (std::abs(steps - std::round(steps)) > std::max(kTolerance, steps * DBL_EPSILON * 4))
            return ZelErr::kParamOutOfRange;
    }
    return isListed([value](const Number& each) { return each.real == value; })
               ? ZelErr::kOk
               : ZelErr::kParamOutOfRange;
}

ZelCamErr FeatureRange::real(FloatRange* range) const
{
    *range = {-DBL_MAX, DBL_MAX};
    const auto valueOf = [](const Bound& bound, double* value) {
        *value = bound.number;
        return bound.source == Source::kValue ? bound.engine.readReal(value) : ZelErr::kOk;
    };
    double value = 0.0;
    for (const Bound& bound : lower_) {
        if (const ZelCamErr result = valueOf(bound, &value); result != ZelErr::kOk)
            return result;
        range->min = std::isnan(value) ? range->min : std::max(range->min, value);
    }
    for (const Bound& bound : upper_) {
        if (const ZelCamErr result = valueOf(bound, &value); result != ZelErr::kOk)
            return result;
        range->max = std::isnan(value) ? range->max : std::min(range->max, value);
    }
    for (const EngineNode& converter : converters_) {
        double min = 0.0;
        double max = 0.0;
        const ZelCamErr result = converter.readRealRange(&min, &max);
        if (isSourceFailure(result))
            return result;
        // A formula may divide by the bounds of its register.
        if (result == ZelErr::kOk && std::isfinite(min) && std::isfinite(max)) {
            range->min = std::max(range->min, min);
            range->max = std::min(range->max, max);
        }
    }
    return ZelErr::kOk;
}

} // namespace genapi
