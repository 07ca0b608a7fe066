#include "genapi/formula.h"

#include <cmath>
#include <limits>

namespace genapi
{

namespace
{

using Code = FormulaOp::Code;

// Whole numbers wrap instead of overflowing.
std::int64_t wrapped(std::uint64_t value) { return static_cast<std::int64_t>(value); }

std::int64_t power(std::int64_t base, std::int64_t exponent)
{
    if (exponent < 0) {
        const bool isOdd = exponent % 2 != 0;
        return base == 1 || (base == -1 && !isOdd) ? 1 : base == -1 ? -1 : 0;
    }
    std::uint64_t result = 1;
    auto factor = static_cast<std::uint64_t>(base);
    for (auto left = static_cast<std::uint64_t>(exponent); left != 0; left >>= 1U) {
        if ((left & 1U) != 0)
            result *= factor;
        factor *= factor;
    }
    return wrapped(result);
}

ZelCamErr divide(Code code, std::int64_t left, std::int64_t right, std::int64_t* value)
{
    if (right == 0)
        return ZelErr::kParamGeneric;
    const bool isQuotient = code == Code::kDivide;
    if (right == -1)
        *value = isQuotient ? wrapped(0U - static_cast<std::uint64_t>(left)) : 0;
    else
        *value = isQuotient ? left / right : left % right;
    return ZelErr::kOk;
}

bool isBitwise(Code code)
{
    return code == Code::kBitOr || code == Code::kBitXor || code == Code::kBitAnd ||
           code == Code::kShiftLeft || code == Code::kShiftRight || code == Code::kInvert;
}

ZelCamErr combine(Code code, std::int64_t left, std::int64_t right, std::int64_t* value)
{
    const auto a = static_cast<std::uint64_t>(left);
    const auto b = static_cast<std::uint64_t>(right);
    switch (code) {
    case Code::kBitOr:
        *value = left | right;
        break;
    case Code::kBitXor:
        *value = left ^ right;
        break;
    case Code::kBitAnd:
        *value = left & right;
        break;
    case Code::kShiftLeft:
        *value = wrapped(a << (b % 64));
        break;
    case Code::kShiftRight:
        *value = left >> (b % 64);
        break;
    case Code::kInvert:
        *value = ~left;
        break;
    case Code::kAdd:
        *value = wrapped(a + b);
        break;
    case Code::kSubtract:
        *value = wrapped(a - b);
        break;
    case Code::kMultiply:
        *value = wrapped(a * b);
        break;
    case Code::kPower:
        *value = power(left, right);
        break;
    case Code::kNegate:
        *value = wrapped(0U - a);
        break;
    case Code::kAbs:
        *value = left < 0 ? wrapped(0U - a) : left;
        break;
    case Code::kSign:
        *value = left > 0 ? 1 : left < 0 ? -1 : 0;
        break;
    default:
        return divide(code, left, right, value);
    }
    return ZelErr::kOk;
}

double roundTo(double value, double decimals)
{
    const double scale = std::pow(10.0, std::trunc(decimals));
    const double scaled = value * scale;
    return std::isfinite(scaled) && scale != 0.0 ? std::round(scaled) / scale : value;
}

double apply(Code code, double value)
{
    switch (code) {
    case Code::kNegate:
        return -value;
    case Code::kSign:
        return value > 0.0 ? 1.0 : value < 0.0 ? -1.0 : 0.0;
    case Code::kAbs:
        return std::abs(value);
    case Code::kRound:
        return std::round(value);
    case Code::kSin:
        return std::sin(value);
    case Code::kCos:
        return std::cos(value);
    case Code::kTan:
        return std::tan(value);
    case Code::kAsin:
        return std::asin(value);
    case Code::kAcos:
        return std::acos(value);
    case Code::kAtan:
        return std::atan(value);
    case Code::kExp:
        return std::exp(value);
    case Code::kLn:
        return std::log(value);
    case Code::kLg:
        return std::log10(value);
    case Code::kSqrt:
        return std::sqrt(value);
    case Code::kTrunc:
        return std::trunc(value);
    case Code::kFloor:
        return std::floor(value);
    default:
        return std::ceil(value);
    }
}

ZelCamErr combine(Code code, double left, double right, double* value)
{
    switch (code) {
    case Code::kAdd:
        *value = left + right;
        return ZelErr::kOk;
    case Code::kSubtract:
        *value = left - right;
        return ZelErr::kOk;
    case Code::kMultiply:
        *value = left * right;
        return ZelErr::kOk;
    case Code::kPower:
        *value = std::pow(left, right);
        return ZelErr::kOk;
    case Code::kRound:
        *value = roundTo(left, right);
        return ZelErr::kOk;
    default:
        if (right == 0.0)
            return ZelErr::kParamGeneric;
        *value = code == Code::kDivide ? left / right : std::fmod(left, right);
        return ZelErr::kOk;
    }
}

ZelCamErr cutOff(double value, std::int64_t* whole)
{
    constexpr double kLimit = 9223372036854775808.0;
    if (!(value >= -kLimit && value < kLimit))
        return ZelErr::kParamGeneric;
    *whole = static_cast<std::int64_t>(value);
    return ZelErr::kOk;
}

template <class Value> bool holds(Code code, Value left, Value right)
{
    switch (code) {
    case Code::kEqual:
        return left == right;
    case Code::kUnequal:
        return left != right;
    case Code::kLess:
        return left < right;
    case Code::kGreater:
        return left > right;
    case Code::kLessEqual:
        return left <= right;
    default:
        return left >= right;
    }
}

} // namespace

ZelCamErr Formula::integer(FormulaInput& input, std::int64_t* value) const
{
    return evaluate(static_cast<std::int32_t>(ops_.size()) - 1, input, value);
}

ZelCamErr Formula::real(FormulaInput& input, double* value) const
{
    return evaluate(static_cast<std::int32_t>(ops_.size()) - 1, input, value);
}

ZelCamErr Formula::isTrue(std::int32_t op, FormulaInput& input, bool* value) const
{
    if (at(op).isReal) {
        double real = 0.0;
        const ZelCamErr result = evaluate(op, input, &real);
        *value = real != 0.0;
        return result;
    }
    std::int64_t whole = 0;
    const ZelCamErr result = evaluate(op, input, &whole);
    *value = whole != 0;
    return result;
}

ZelCamErr Formula::compare(const FormulaOp& op, FormulaInput& input, std::int64_t* value) const
{
    if (at(op.first).isReal || at(op.second).isReal) {
        double left = 0.0;
        double right = 0.0;
        ZelCamErr result = evaluate(op.first, input, &left);
        if (result == ZelErr::kOk)
            result = evaluate(op.second, input, &right);
        *value = holds(op.code, left, right) ? 1 : 0;
        return result;
    }
    std::int64_t left = 0;
    std::int64_t right = 0;
    ZelCamErr result = evaluate(op.first, input, &left);
    if (result == ZelErr::kOk)
        result = evaluate(op.second, input, &right);
    *value = holds(op.code, left, right) ? 1 : 0;
    return result;
}

ZelCamErr Formula::choose(const FormulaOp& op, FormulaInput& input, std::int32_t* chosen) const
{
    bool isFirst = false;
    const ZelCamErr result = isTrue(op.first, input, &isFirst);
    *chosen = isFirst ? op.second : op.third;
    return result;
}

ZelCamErr Formula::logic(const FormulaOp& op, FormulaInput& input, std::int64_t* value) const
{
    bool isSet = false;
    ZelCamErr result = isTrue(op.first, input, &isSet);
    if (result == ZelErr::kOk && isSet == (op.code == Code::kAnd))
        result = isTrue(op.second, input, &isSet);
    *value = isSet ? 1 : 0;
    return result;
}

ZelCamErr Formula::evaluate(std::int32_t index, FormulaInput& input, std::int64_t* value) const
{
    const FormulaOp& op = at(index);
    if (op.isReal) {
        double real = 0.0;
        const ZelCamErr result = evaluate(index, input, &real);
        return result == ZelErr::kOk ? cutOff(real, value) : result;
    }
    switch (op.code) {
    case Code::kNumber:
        *value = op.integer;
        return ZelErr::kOk;
    case Code::kVariable:
        return input.integer(static_cast<std::int32_t>(op.integer), value);
    case Code::kChoose: {
        std::int32_t chosen = -1;
        const ZelCamErr result = choose(op, input, &chosen);
        return result == ZelErr::kOk ? evaluate(chosen, input, value) : result;
    }
    case Code::kOr:
    case Code::kAnd:
        return logic(op, input, value);
    case Code::kEqual:
    case Code::kUnequal:
    case Code::kLess:
    case Code::kGreater:
    case Code::kLessEqual:
    case Code::kGreaterEqual:
        return compare(op, input, value);
    default:
        break;
    }
    std::int64_t left = 0;
    std::int64_t right = 0;
    ZelCamErr result = evaluate(op.first, input, &left);
    if (result == ZelErr::kOk && op.second >= 0)
        result = evaluate(op.second, input, &right);
    return result == ZelErr::kOk ? combine(op.code, left, right, value) : result;
}

ZelCamErr Formula::evaluate(std::int32_t index, FormulaInput& input, double* value) const
{
    const FormulaOp& op = at(index);
    if (!op.isReal) {
        std::int64_t whole = 0;
        const ZelCamErr result = evaluate(index, input, &whole);
        *value = static_cast<double>(whole);
        return result;
    }
    if (op.code == Code::kNumber) {
        *value = op.real;
        return ZelErr::kOk;
    }
    if (op.code == Code::kVariable)
        return input.real(static_cast<std::int32_t>(op.integer), value);
    if (op.code == Code::kChoose) {
        std::int32_t chosen = -1;
        const ZelCamErr result = choose(op, input, &chosen);
        return result == ZelErr::kOk ? evaluate(chosen, input, value) : result;
    }
    double left = 0.0;
    double right = 0.0;
    ZelCamErr result = evaluate(op.first, input, &left);
    if (result == ZelErr::kOk && op.second >= 0)
        result = evaluate(op.second, input, &right);
    if (result != ZelErr::kOk)
        return result;
    if (isBitwise(op.code)) {
        std::int64_t a = 0;
        std::int64_t b = 0;
        result = cutOff(left, &a);
        if (result == ZelErr::kOk)
            result = cutOff(right, &b);
        if (result == ZelErr::kOk)
            result = combine(op.code, a, b, &a);
        *value = static_cast<double>(a);
        return result;
    }
    if (op.second >= 0)
        return combine(op.code, left, right, value);
    *value = apply(op.code, left);
    return ZelErr::kOk;
}

} // namespace genapi
