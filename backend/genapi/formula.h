// Formulas of converters and calculated features.
#pragma once

#include "zel_err.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace genapi
{

/// Where an evaluation takes the values of variables from: slots are those that the names had.
class FormulaInput
{
public:
    virtual ZelCamErr value(std::int32_t slot, std::int64_t* value) = 0;
    virtual ZelCamErr value(std::int32_t slot, double* value) = 0;

protected:
    ~FormulaInput() = default;
};

/// What a name in a formula stands for.
struct FormulaName {
    enum class Kind : std::uint8_t { kVariable, kConstant, kExpression };

    std::string_view name;
    Kind kind = Kind::kVariable;
    std::int32_t slot = -1;
    std::int64_t integer = 0; ///< Of a constant, both ways.
    double real = 0.0;
    std::string_view text; ///< Of an expression: it may use all names, in any order.
};

/// One operation of a formula; operands are indices into its operations.
struct FormulaOp {
    enum class Code : std::uint8_t {
        kNumber,
        kVariable,
        kChoose, ///< first ? second : third
        kOr,
        kAnd,
        kBitOr,
        kBitXor,
        kBitAnd,
        kEqual,
        kUnequal,
        kLess,
        kGreater,
        kLessEqual,
        kGreaterEqual,
        kShiftLeft,
        kShiftRight,
        kAdd,
        kSubtract,
        kMultiply,
        kDivide,
        kRemainder,
        kPower,
        kNegate,
        kInvert,
        kSign,
        kAbs,
        kRound,    ///< To `second` decimals where there is one.
        kFunction, ///< `function` of a float.
    };

    Code code = Code::kNumber;
    bool isReal = false;
    std::int32_t first = -1;
    std::int32_t second = -1;
    std::int32_t third = -1;
    std::uint32_t height = 1;
    std::int64_t integer = 0; ///< The number, or the slot of the variable.
    double real = 0.0;
    double (*function)(double) = nullptr;
};

/// Whole numbers in both arithmetics: comparisons and logic.
constexpr bool isDecision(FormulaOp::Code code)
{
    return code == FormulaOp::Code::kOr || code == FormulaOp::Code::kAnd ||
           (code >= FormulaOp::Code::kEqual && code <= FormulaOp::Code::kGreaterEqual);
}

/// Over whole numbers alone, even among floats.
constexpr bool isBitwise(FormulaOp::Code code)
{
    return (code >= FormulaOp::Code::kBitOr && code <= FormulaOp::Code::kBitAnd) ||
           code == FormulaOp::Code::kShiftLeft || code == FormulaOp::Code::kShiftRight ||
           code == FormulaOp::Code::kInvert;
}

/// A compiled formula. There are two arithmetics: whole numbers of 64 bits that wrap (only what
/// holds a fraction or a function is computed with fractions, and cut off at the end), and
/// doubles. Branches that are not taken are not evaluated.
class Formula
{
public:
    /// False for what is no formula, uses an unknown name, nests deeper than 250 or would grow
    /// above 20,000 operations or a million characters. Names are found exactly, else without
    /// regard to case.
    bool compile(std::string_view text, bool isInteger, const std::vector<FormulaName>& names);

    /// How deep an evaluation recurses.
    std::uint32_t height() const { return ops_.empty() ? 0 : ops_.back().height; }

    /// As a whole number (std::int64_t) or a float (double). 0; -40200 for a division by zero or a
    /// number beyond 64 bits; codes of the input.
    template <class Value> ZelCamErr evaluate(FormulaInput& input, Value* value) const
    {
        return evaluate(static_cast<std::int32_t>(ops_.size()) - 1, input, value);
    }

private:
    friend class FormulaParser;

    const FormulaOp& at(std::int32_t op) const { return ops_[static_cast<std::size_t>(op)]; }
    template <class Value>
    ZelCamErr evaluate(std::int32_t op, FormulaInput& input, Value* value) const;
    template <class Value>
    ZelCamErr operands(const FormulaOp& op, FormulaInput& input, Value* left, Value* right) const;
    template <class Value>
    ZelCamErr compare(const FormulaOp& op, FormulaInput& input, std::int64_t* value) const;
    ZelCamErr isTrue(std::int32_t op, FormulaInput& input, bool* value) const;
    ZelCamErr decide(const FormulaOp& op, FormulaInput& input, std::int64_t* value) const;

    std::vector<FormulaOp> ops_; ///< The last one is the whole.
};

} // namespace genapi
