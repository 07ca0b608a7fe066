#include "simulator/register_features.h"

#include <utility>

namespace simulator
{

Feature& RegisterFeatures::address(const char* name, const char* toolTip)
{
    return context.table.integer(name, toolTip)
        .bytes(4)
        .representation("IPV4Address")
        .expert()
        .range(std::int64_t{0}, std::int64_t{0xFFFFFFFF});
}

Feature& RegisterFeatures::shows(Feature& feature, std::uint32_t reg, std::uint32_t mask,
                                 bool writable)
{
    const auto shift = static_cast<unsigned>(__builtin_ctz(mask));
    feature.onRead([this, reg, mask, shift](std::size_t) {
        return FeatureValue(std::int64_t{(registers.value(reg) & mask) >> shift});
    });
    if (!writable) {
        return feature.readOnly();
    }
    return feature.onWrite([this, reg, mask, shift](std::size_t, const FeatureValue& value) {
        const auto bits = static_cast<std::uint32_t>(std::get<std::int64_t>(value)) << shift;
        return registers.writeNumber(reg, (registers.value(reg) & ~mask) | (bits & mask));
    });
}

void RegisterFeatures::addKept(std::uint32_t address, Feature* feature)
{
    registers.number(
        address, [feature] { return number(feature); },
        [feature](std::uint32_t value) {
            const std::int32_t code = feature->check(std::int64_t{value}, 0);
            if (code == 0) {
                feature->set(std::int64_t{value});
            }
            return code;
        });
}

} // namespace simulator
