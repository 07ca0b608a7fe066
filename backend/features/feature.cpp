// Values and ranges of a feature.
#include "features/feature.h"

#include "gentl_abi/gentl_abi.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace features
{

namespace
{

FeatureValue initialValue(FeatureType type)
{
    switch (type) {
    case FeatureType::Float:
        return 0.0;
    case FeatureType::String:
        return std::string();
    default:
        return std::int64_t{0};
    }
}

} // namespace

Feature::Feature(FeatureType type, std::string name, Words toolTip)
    : type_(type), name_(std::move(name)),
      toolTip_(toolTip), intRange_{std::numeric_limits<std::int64_t>::min(),
                                   std::numeric_limits<std::int64_t>::max(), 1},
      floatRange_{-std::numeric_limits<double>::max(), std::numeric_limits<double>::max()},
      values_(1, initialValue(type))
{
    const bool wide = type == FeatureType::Integer || type == FeatureType::Float;
    length_ = wide ? 8 : 4;
}

Feature::Rare& Feature::makeRare()
{
    if (!rare_) {
        rare_ = std::make_unique<Rare>();
    }
    return *rare_;
}

const Feature::Rare& Feature::rare() const
{
    static const auto* const none = new Rare; // Never destroyed: cameras run while a process exits.
    return rare_ ? *rare_ : *none;
}

Feature& Feature::selectedBy(std::string selector, std::size_t count)
{
    selector_ = std::move(selector);
    values_.resize(count, values_.front());
    return *this;
}

Feature& Feature::entry(std::string name, std::int64_t value, Words toolTip,
                        std::function<bool()> available)
{
    entries_.push_back({std::move(name), value, toolTip, std::move(available)});
    if (entries_.size() == 1) {
        this->value(value);
    }
    return *this;
}

Feature& Feature::range(std::int64_t min, std::int64_t max, std::int64_t increment)
{
    hasRange_ = true;
    intRange_ = {min, max, increment};
    return *this;
}

Feature& Feature::range(double min, double max)
{
    hasRange_ = true;
    floatRange_ = {min, max};
    return *this;
}

Feature& Feature::limits(std::function<IntLimits(std::size_t)> limits)
{
    intLimits_ = std::move(limits);
    return *this;
}

Feature& Feature::limits(std::function<FloatLimits(std::size_t)> limits)
{
    floatLimits_ = std::move(limits);
    return *this;
}

Feature& Feature::formula(std::string text,
                          std::vector<std::pair<std::string, std::string>> variables)
{
    makeRare().formula = std::move(text);
    makeRare().variables = std::move(variables);
    access_ = Access::ReadOnly;
    return *this;
}

Feature& Feature::constant(std::int64_t value)
{
    constant_ = true;
    access_ = Access::ReadOnly;
    return this->value(value);
}

Feature& Feature::inPort(std::string port, std::uint64_t address, bool littleEndian)
{
    makeRare().littleEndian = littleEndian;
    makeRare().port = std::move(port);
    address_ = address;
    access_ = Access::ReadOnly;
    return *this;
}

Feature& Feature::value(const FeatureValue& value)
{
    std::fill(values_.begin(), values_.end(), value);
    return *this;
}

Feature& Feature::onRead(std::function<FeatureValue(std::size_t)> hook)
{
    onRead_ = std::move(hook);
    return *this;
}

Feature& Feature::onWrite(std::function<std::int32_t(std::size_t, const FeatureValue&)> hook)
{
    onWrite_ = std::move(hook);
    return *this;
}

Feature& Feature::onChange(std::function<void(std::size_t)> hook)
{
    onChange_ = std::move(hook);
    return *this;
}

Feature& Feature::onExecute(std::function<std::int32_t(std::size_t)> hook)
{
    makeRare().onExecute = std::move(hook);
    return *this;
}

std::int64_t Feature::integer(std::size_t index) const
{
    return std::get<std::int64_t>(values_.at(index));
}

double Feature::real(std::size_t index) const { return std::get<double>(values_.at(index)); }

const std::string& Feature::text(std::size_t index) const
{
    return std::get<std::string>(values_.at(index));
}

FeatureValue Feature::current(std::size_t index) const
{
    if (onRead_) {
        return onRead_(index);
    }
    if (rare_ && rare_->busy) {
        return std::int64_t{rare_->busy() ? 1 : 0};
    }
    return values_.at(index);
}

void Feature::set(FeatureValue value, std::size_t index) { values_.at(index) = std::move(value); }

IntLimits Feature::intLimits(std::size_t index) const
{
    return intLimits_ ? intLimits_(index) : intRange_;
}

FloatLimits Feature::floatLimits(std::size_t index) const
{
    return floatLimits_ ? floatLimits_(index) : floatRange_;
}

std::int32_t Feature::check(const FeatureValue& value, std::size_t index) const
{
    bool good = true;
    switch (type_) {
    case FeatureType::Integer: {
        const IntLimits limits = intLimits(index);
        const std::int64_t number = std::get<std::int64_t>(value);
        good = number >= limits.min && number <= limits.max;
        if (good && limits.increment > 1) {
            // Unsigned, because the distance may exceed the signed range.
            const auto distance =
                static_cast<std::uint64_t>(number) - static_cast<std::uint64_t>(limits.min);
            good = distance % static_cast<std::uint64_t>(limits.increment) == 0;
        }
        break;
    }
    case FeatureType::Float: {
        const FloatLimits limits = floatLimits(index);
        const double number = std::get<double>(value);
        good = number >= limits.min && number <= limits.max; // False for NaN.
        break;
    }
    case FeatureType::Boolean:
        good = std::get<std::int64_t>(value) == 0 || std::get<std::int64_t>(value) == 1;
        break;
    case FeatureType::Enumeration:
        good = std::any_of(entries_.begin(), entries_.end(), [&](const EnumEntry& entry) {
            return entry.value == std::get<std::int64_t>(value) &&
                   (!entry.available || entry.available());
        });
        break;
    case FeatureType::String:
        good = std::get<std::string>(value).size() <= length_;
        break;
    case FeatureType::Command:
    case FeatureType::Category:
    case FeatureType::Memory:
        break;
    }
    return good ? gentl::err::kSuccess : gentl::err::kInvalidValue;
}

} // namespace features
