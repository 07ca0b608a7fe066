// The present range of a number.
#pragma once

#include "genapi/description.h"
#include "genapi/engine_node.h"
#include "zel_err.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace genapi
{

class FeatureMap;

struct IntegerRange {
    std::int64_t min;
    std::int64_t max;
    std::int64_t increment; ///< At least 1.
};

struct FloatRange {
    double min;
    double max;
};

/// All bounds that apply to a node: its own, and those of what it passes its value on to. Bounds
/// that the description does not give are those of the type. Called under the lock of the map.
class FeatureRange
{
public:
    FeatureRange(FeatureMap& map, std::int32_t node);

    ZelCamErr integer(IntegerRange* range) const;
    ZelCamErr real(FloatRange* range) const;

    /// 0, or -40204 for a value outside, off the increment or not in the list of valid ones. Floats
    /// may miss the increment by a millionth of it: most steps have no exact binary form.
    ZelCamErr check(std::int64_t value) const;
    ZelCamErr check(double value) const;

private:
    enum class Source : std::uint8_t { kConstant, kValue };

    struct Bound {
        Source source = Source::kConstant;
        std::int64_t integer = 0;
        double number = 0.0;
        EngineNode engine;
    };

    void add(FeatureMap& map, std::int32_t node);
    static void addBound(FeatureMap& map, const Number* constant, std::int32_t reference,
                         std::vector<Bound>* bounds);

    template <class Matches> bool isListed(Matches matches) const
    {
        return validValues_.empty() ||
               std::any_of(validValues_.begin(), validValues_.end(), matches);
    }

    std::vector<Bound> lower_;
    std::vector<Bound> upper_;
    std::vector<Bound> increments_; ///< The nearest one counts: others may have another scale.
    std::vector<Number> validValues_;
    std::vector<EngineNode> converters_;
};

} // namespace genapi
