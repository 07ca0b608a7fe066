#include "genapi/formula.h"

#include <cmath>
#include <type_traits>

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

double apply(const FormulaOp& op, double value)
{
    switch (op.code) {
    case Code::kNegate:
        return -value;
    case Code::kSign:
        return value > 0.0 ? 1.0 : value < 0.0 ? -1.0 : 0.0;
    case Code::kAbs:
        return std::abs(value);
    case Code::kRound:
        return std::round(value);
    default:
        return op.function(value);
    }
}

ZelCamErr convert(std::int64_t whole, double* value)
{
    *value = static_cast<double>(whole);
    return ZelErr::kOk;
}

/// Without the fraction.
ZelCamErr convert(double value, std::int64_t* whole)
{
    constexpr double kLimit = 9223372036854775808.0;
    if (!(value >= -kLimit && value < kLimit))
        return ZelErr::kParamGeneric;
    *whole = static_cast<std::int64_t>(value);
    return ZelErr::kOk;
}

ZelCamErr combine(const FormulaOp& op, std::int64_t left, std::int64_t right, std::int64_t* value)
{
    return combine(op.code, left, right, value);
}

ZelCamErr combine(const FormulaOp& op, double left, double right, double* value)
{
    if (isBitwise(op.code)) {
        std::int64_t a = 0;
        std::int64_t b = 0;
        ZelCamErr result = convert(left, &a);
        if (result == ZelErr::kOk)
            result = convert(right, &b);
        if (result == ZelErr::kOk)
            result = combine(op.code, a, b, &a);
        *value = static_cast<double>(a);
        return result;
    }
    switch (op.second < 0 ? Code::kVariable : op.code) {
    case Code::kVariable:
        *value = apply(op, left);
        return ZelErr::kOk;
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
        *value = op.code == Code::kDivide ? left / right : std::fmod(left, right);
        return ZelErr::kOk;
    }
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

ZelCamErr Formula::isTrue(std::int32_t op, FormulaInput& input, bool* value) const
{
    double real = 0.0;
    std::int64_t whole = 0;
    const bool isReal = at(op).isReal;
    const ZelCamErr result = isReal ? evaluate(op, input, &real) : evaluate(op, input, &whole);
    *value = isReal ? real != 0.0 : whole != 0;
    return result;
}

template <class Value>
ZelCamErr Formula::operands(const FormulaOp& op, FormulaInput& input, Value* left,
                            Value* right) const
{
    const ZelCamErr result = evaluate(op.first, input, left);
    return result == ZelErr::kOk && op.second >= 0 ? evaluate(op.second, input, right) : result;
}

template <class Value>
ZelCamErr Formula::compare(const FormulaOp& op, FormulaInput& input, std::int64_t* value) const
{
    Value left{};
    Value right{};
    const ZelCamErr result = operands(op, input, &left, &right);
    *value = holds(op.code, left, right) ? 1 : 0;
    return result;
}

ZelCamErr Formula::decide(const FormulaOp& op, FormulaInput& input, std::int64_t* value) const
{
    if (op.code == Code::kOr || op.code == Code::kAnd) {
        bool isSet = false;
        ZelCamErr result = isTrue(op.first, input, &isSet);
        if (result == ZelErr::kOk && isSet == (op.code == Code::kAnd))
            result = isTrue(op.second, input, &isSet);
        *value = isSet ? 1 : 0;
        return result;
    }
    return at(op.first).isReal || at(op.second).isReal ? compare<double>(op, input, value)
                                                       : compare<std::int64_t>(op, input, value);
}

template <class Value>
ZelCamErr Formula::evaluate(std::int32_t index, FormulaInput& input, Value* value) const
{
    constexpr bool kIsReal = std::is_same_v<Value, double>;
    const FormulaOp& op = at(index);
    if (op.isReal != kIsReal) {
        std::conditional_t<kIsReal, std::int64_t, double> other{};
        const ZelCamErr result = evaluate(index, input, &other);
        return result == ZelErr::kOk ? convert(other, value) : result;
    }
    if (op.code == Code::kNumber) {
        *value = kIsReal ? static_cast<Value>(op.real) : static_cast<Value>(op.integer);
        return ZelErr::kOk;
    }
    if (op.code == Code::kVariable)
        return input.value(static_cast<std::int32_t>(op.integer), value);
    if (op.code == Code::kChoose) {
        bool isFirst = false;
        const ZelCamErr result = isTrue(op.first, input, &isFirst);
        return result == ZelErr::kOk ? evaluate(isFirst ? op.second : op.third, input, value)
                                     : result;
    }
    if constexpr (!kIsReal) {
        if (isDecision(op.code))
            return decide(op, input, value);
    }
    Value left{};
    Value right{};
    const ZelCamErr result = operands(op, input, &left, &right);
    return result == ZelErr::kOk ? combine(op, left, right, value) : result;
}

template ZelCamErr Formula::evaluate(std::int32_t, FormulaInput&, std::int64_t*) const;
template ZelCamErr Formula::evaluate(std::int32_t, FormulaInput&, double*) const;

} // namespace genapi
