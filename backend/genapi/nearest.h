// Whole numbers from floats.
#pragma once

#include "zel_err.h"

#include <cmath>
#include <cstdint>
#include <limits>

namespace genapi
{

/// The nearest whole number, halves away from zero; numbers beyond 64 bits become the last one that
/// fits. -40200 for what is no finite number.
inline ZelCamErr nearest(double value, std::int64_t* whole)
{
    constexpr double kLimit = 9223372036854775808.0;
    if (!std::isfinite(value))
        return ZelErr::kParamGeneric;
    if (value >= kLimit)
        *whole = std::numeric_limits<std::int64_t>::max();
    else if (value < -kLimit)
        *whole = std::numeric_limits<std::int64_t>::min();
    else
        *whole = std::llround(value);
    return ZelErr::kOk;
}

} // namespace genapi
