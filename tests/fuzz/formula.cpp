// A formula, in both arithmetics, over variables of any value.
#include "genapi/formula.h"

#include "input.h"

#include <cstring>

namespace
{

struct Values final : genapi::FormulaInput {
    ZelCamErr value(std::int32_t slot, std::int64_t* value) override
    {
        *value = slot == 0 ? first : 3;
        return ZelErr::kOk;
    }
    ZelCamErr value(std::int32_t slot, double* value) override
    {
        std::memcpy(value, &first, sizeof *value);
        *value = slot == 0 ? *value : 0.5;
        return ZelErr::kOk;
    }
    std::int64_t first = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Input input(data, size);
    Values values;
    for (int i = 0; i < 8; ++i) {
        values.first = static_cast<std::int64_t>(static_cast<std::uint64_t>(values.first) << 8U |
                                                 input.byte());
    }
    const std::string text = input.rest();
    using Kind = genapi::FormulaName::Kind;
    const std::vector<genapi::FormulaName> names = {
        {"A", Kind::kVariable, 0, 0, 0.0, {}},
        {"B.Max", Kind::kVariable, 1, 0, 0.0, {}},
        {"C", Kind::kConstant, -1, 7, 7.5, {}},
        {"E", Kind::kExpression, -1, 0, 0.0, "A*C"},
        {"LOOP", Kind::kExpression, -1, 0, 0.0, "LOOP+1"},
    };
    for (const bool isInteger : {true, false}) {
        genapi::Formula formula;
        if (formula.compile(text, isInteger, names)) {
            std::int64_t whole = 0;
            double real = 0.0;
            static_cast<void>(formula.evaluate(values, &whole));
            static_cast<void>(formula.evaluate(values, &real));
        }
    }
    return 0;
}
