// Compiles formulas: precedence climbing over C's ranks, with ** above all other binary operators.
#include "genapi/formula.h"

#include <strings.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>

namespace genapi
{

namespace
{

using Code = FormulaOp::Code;

constexpr int kMaxDepth = 250;
constexpr std::size_t kMaxOps = 20000;
constexpr std::uint32_t kMaxHeight = 1500;
// Characters, those of expressions each time that they are used. Real cameras stay below 3,000.
constexpr std::size_t kMaxText = std::size_t{1} << 20U;

struct Operator {
    std::string_view text;
    Code code;
    int rank;
};

// Longer ones before those that they begin with.
constexpr Operator kOperators[] = {
    {"||", Code::kOr, 1},           {"&&", Code::kAnd, 2},        {"**", Code::kPower, 11},
    {"<<", Code::kShiftLeft, 8},    {">>", Code::kShiftRight, 8}, {"<>", Code::kUnequal, 6},
    {"!=", Code::kUnequal, 6},      {"==", Code::kEqual, 6},      {"<=", Code::kLessEqual, 7},
    {">=", Code::kGreaterEqual, 7}, {"|", Code::kBitOr, 3},       {"^", Code::kBitXor, 4},
    {"&", Code::kBitAnd, 5},        {"=", Code::kEqual, 6},       {"<", Code::kLess, 7},
    {">", Code::kGreater, 7},       {"+", Code::kAdd, 9},         {"-", Code::kSubtract, 9},
    {"*", Code::kMultiply, 10},     {"/", Code::kDivide, 10},     {"%", Code::kRemainder, 10},
};

struct Function {
    std::string_view name;
    Code code; ///< Others than kFunction and kRound give whole numbers of whole numbers.
    double (*function)(double);
};

constexpr Function kFunctions[] = {
    {"SIN", Code::kFunction, std::sin},     {"COS", Code::kFunction, std::cos},
    {"TAN", Code::kFunction, std::tan},     {"ASIN", Code::kFunction, std::asin},
    {"ACOS", Code::kFunction, std::acos},   {"ATAN", Code::kFunction, std::atan},
    {"EXP", Code::kFunction, std::exp},     {"LN", Code::kFunction, std::log},
    {"LG", Code::kFunction, std::log10},    {"SQRT", Code::kFunction, std::sqrt},
    {"TRUNC", Code::kFunction, std::trunc}, {"FLOOR", Code::kFunction, std::floor},
    {"CEIL", Code::kFunction, std::ceil},   {"ROUND", Code::kRound, nullptr},
    {"ABS", Code::kAbs, nullptr},           {"SGN", Code::kSign, nullptr},
    {"NEG", Code::kNegate, nullptr},
};

bool isSame(std::string_view left, std::string_view right)
{
    return left.size() == right.size() && strncasecmp(left.data(), right.data(), left.size()) == 0;
}

bool isNameStart(char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0 || c == '_'; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

} // namespace

class FormulaParser
{
public:
    FormulaParser(Formula* formula, bool isInteger, const std::vector<FormulaName>& names)
        : ops_(formula->ops_), names_(names), isInteger_(isInteger), isOpen_(names.size(), false)
    {
    }

    /// Index of the whole; -1 when the text is no formula.
    std::int32_t parse(std::string_view text)
    {
        const std::string_view outer = rest_;
        rest_ = text;
        textSize_ += text.size();
        if (textSize_ > kMaxText)
            return -1;
        const std::int32_t op = choice();
        const bool isWhole = skipBlanks().empty();
        rest_ = outer;
        return isWhole ? op : -1;
    }

private:
    /// What is left, without the blanks at its beginning.
    std::string_view skipBlanks()
    {
        while (!rest_.empty() && std::isspace(static_cast<unsigned char>(rest_[0])) != 0)
            rest_.remove_prefix(1);
        return rest_;
    }

    bool accept(std::string_view token)
    {
        if (skipBlanks().substr(0, token.size()) != token)
            return false;
        rest_.remove_prefix(token.size());
        return true;
    }

    /// Appends an operation over operands that are there; -1 when one is missing or it is too much.
    std::int32_t add(FormulaOp op, int operands)
    {
        const std::int32_t used[] = {op.first, op.second, op.third};
        for (int i = 0; i < operands; ++i) {
            if (used[i] < 0)
                return -1;
            op.height = std::max(op.height, ops_[static_cast<std::size_t>(used[i])].height + 1);
        }
        if (ops_.size() >= kMaxOps || op.height > kMaxHeight)
            return -1;
        ops_.push_back(op);
        return static_cast<std::int32_t>(ops_.size()) - 1;
    }

    bool isReal(std::int32_t op) const
    {
        return op >= 0 && ops_[static_cast<std::size_t>(op)].isReal;
    }

    std::int32_t choice()
    {
        if (++depth_ > kMaxDepth)
            return -1;
        FormulaOp op;
        op.first = binary(1);
        std::int32_t result = op.first;
        if (result >= 0 && accept("?")) {
            op.code = Code::kChoose;
            op.second = choice();
            op.third = op.second >= 0 && accept(":") ? choice() : -1;
            op.isReal = isReal(op.second) || isReal(op.third);
            result = add(op, 3);
        }
        --depth_;
        return result;
    }

    const Operator* peekOperator()
    {
        skipBlanks();
        for (const Operator& candidate : kOperators) {
            if (rest_.substr(0, candidate.text.size()) == candidate.text)
                return &candidate;
        }
        return nullptr;
    }

    std::int32_t binary(int lowest)
    {
        std::int32_t left = unary();
        while (left >= 0) {
            const Operator* const found = peekOperator();
            if (found == nullptr || found->rank < lowest)
                break;
            rest_.remove_prefix(found->text.size());
            FormulaOp op;
            op.code = found->code;
            op.first = left;
            if (found->code == Code::kPower) {
                // To the right, which recurses.
                op.second = ++depth_ > kMaxDepth ? -1 : binary(found->rank);
                --depth_;
            } else {
                op.second = binary(found->rank + 1);
            }
            const bool hasReal = isReal(op.first) || isReal(op.second);
            op.isReal = !isDecision(op.code) && (!isInteger_ || (hasReal && !isBitwise(op.code)));
            left = add(op, 2);
        }
        return left;
    }

    std::int32_t unary()
    {
        FormulaOp op;
        if (accept("+"))
            return nested();
        if (accept("-"))
            op.code = Code::kNegate;
        else if (accept("~"))
            op.code = Code::kInvert;
        else
            return primary();
        op.first = nested();
        op.isReal = !isInteger_ || (op.code == Code::kNegate && isReal(op.first));
        return add(op, 1);
    }

    std::int32_t nested()
    {
        const std::int32_t op = ++depth_ > kMaxDepth ? -1 : unary();
        --depth_;
        return op;
    }

    std::int32_t primary()
    {
        skipBlanks();
        if (rest_.empty())
            return -1;
        if (accept("(")) {
            const std::int32_t op = choice();
            return accept(")") ? op : -1;
        }
        if (isDigit(rest_[0]) || rest_[0] == '.')
            return number();
        return isNameStart(rest_[0]) ? name() : -1;
    }

    std::int32_t number()
    {
        FormulaOp op;
        const char* const begin = rest_.data();
        const char* const end = begin + rest_.size();
        std::uint64_t whole = 0;
        const bool isHex = rest_.size() > 2 && rest_[0] == '0' && (rest_[1] | 0x20) == 'x';
        auto read = std::from_chars(isHex ? begin + 2 : begin, end, whole, isHex ? 16 : 10);
        op.integer = static_cast<std::int64_t>(whole);
        op.real = static_cast<double>(whole);
        const bool isFraction =
            !isHex && (read.ec != std::errc() ||
                       (read.ptr != end && (*read.ptr == '.' || (*read.ptr | 0x20) == 'e')));
        if (isFraction) {
            read = std::from_chars(begin, end, op.real, std::chars_format::general);
            op.isReal = true;
        }
        if (read.ec != std::errc())
            return -1;
        op.isReal = op.isReal || !isInteger_;
        rest_.remove_prefix(static_cast<std::size_t>(read.ptr - begin));
        return add(op, 0);
    }

    std::int32_t name()
    {
        std::size_t size = 1;
        while (size < rest_.size() &&
               (isNameStart(rest_[size]) || isDigit(rest_[size]) || rest_[size] == '.'))
            ++size;
        const std::string_view word = rest_.substr(0, size);
        rest_.remove_prefix(size);
        const auto* const function =
            std::find_if(std::begin(kFunctions), std::end(kFunctions),
                         [word](const Function& each) { return isSame(each.name, word); });
        if (function != std::end(kFunctions) && accept("("))
            return call(*function);
        FormulaOp op;
        op.isReal = true;
        if (!isInteger_ && (word == "E" || word == "PI")) {
            op.real = word == "E" ? std::exp(1.0) : std::acos(-1.0);
            return add(op, 0);
        }
        return known(word);
    }

    std::int32_t call(const Function& function)
    {
        FormulaOp op;
        op.code = function.code;
        op.first = choice();
        if (op.first >= 0 && function.code == Code::kRound && accept(","))
            op.second = choice();
        op.function = function.function;
        const bool isFraction = op.code == Code::kFunction || op.code == Code::kRound;
        op.isReal = !isInteger_ || isFraction || isReal(op.first);
        return accept(")") ? add(op, op.second >= 0 ? 2 : 1) : -1;
    }

    std::int32_t known(std::string_view word)
    {
        auto found = std::find_if(names_.begin(), names_.end(),
                                  [word](const FormulaName& each) { return each.name == word; });
        if (found == names_.end())
            found = std::find_if(names_.begin(), names_.end(), [word](const FormulaName& each) {
                return isSame(each.name, word);
            });
        if (found == names_.end())
            return -1;
        FormulaOp op;
        op.isReal = !isInteger_;
        op.integer = found->slot;
        if (found->kind == FormulaName::Kind::kVariable)
            op.code = Code::kVariable;
        if (found->kind != FormulaName::Kind::kExpression) {
            if (found->kind == FormulaName::Kind::kConstant) {
                op.integer = found->integer;
                op.real = found->real;
                op.isReal = op.isReal || found->real != std::trunc(found->real);
            }
            return add(op, 0);
        }
        // An expression that needs itself is none.
        const auto index = static_cast<std::size_t>(found - names_.begin());
        if (isOpen_[index])
            return -1;
        isOpen_[index] = true;
        const std::int32_t result = parse(found->text);
        isOpen_[index] = false;
        return result;
    }

    std::vector<FormulaOp>& ops_;
    const std::vector<FormulaName>& names_;
    const bool isInteger_;
    std::vector<bool> isOpen_;
    std::string_view rest_;
    std::size_t textSize_ = 0;
    int depth_ = 0;
};

bool Formula::compile(std::string_view text, bool isInteger, const std::vector<FormulaName>& names)
{
    ops_.clear();
    const std::int32_t whole = FormulaParser(this, isInteger, names).parse(text);
    if (whole < 0 || static_cast<std::size_t>(whole) + 1 != ops_.size())
        ops_.clear();
    ops_.shrink_to_fit();
    return !ops_.empty();
}

} // namespace genapi
