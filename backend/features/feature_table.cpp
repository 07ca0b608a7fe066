// Register layout of a table of features, and access to the registers.
#include "features/feature_table.h"

#include "features/feature_xml.h"
#include "gentl_abi/gentl_abi.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <stdexcept>
#include <string_view>

namespace features
{

namespace
{

constexpr std::uint64_t kAlignment = 8;
constexpr std::size_t kLongestText = 512;

void storeBigEndian(std::uint64_t value, unsigned char* bytes, std::uint32_t size)
{
    for (std::uint32_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<unsigned char>(value >> (8 * (size - 1 - i)));
    }
}

std::uint64_t loadBigEndian(const unsigned char* bytes, std::uint32_t size)
{
    std::uint64_t value = 0;
    for (std::uint32_t i = 0; i < size; ++i) {
        value = value << 8 | bytes[i];
    }
    return value;
}

std::uint64_t bitsOf(double value)
{
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

double fromBits(std::uint64_t bits)
{
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

} // namespace

FeatureTable::FeatureTable(ModuleIdentity identity, std::uint64_t base)
    : identity_(std::move(identity)), base_(base), end_(base)
{
    add(FeatureType::Category, "Root", "All features.");
}

Feature& FeatureTable::add(FeatureType type, const std::string& name, Words toolTip)
{
    if (type != FeatureType::Category && type != FeatureType::Memory) {
        currentCategory_->makeRare().children.push_back(name);
    }
    return features_.emplace_back(type, name, toolTip);
}

Feature& FeatureTable::category(const std::string& name, Words toolTip, const std::string& parent)
{
    find(parent.empty() ? "Root" : parent)->makeRare().children.push_back(name);
    currentCategory_ = &add(FeatureType::Category, name, toolTip).readOnly();
    return *currentCategory_;
}

Feature& FeatureTable::integer(const std::string& name, Words toolTip)
{
    return add(FeatureType::Integer, name, toolTip);
}

Feature& FeatureTable::real(const std::string& name, Words toolTip)
{
    return add(FeatureType::Float, name, toolTip);
}

Feature& FeatureTable::boolean(const std::string& name, Words toolTip)
{
    return add(FeatureType::Boolean, name, toolTip);
}

Feature& FeatureTable::enumeration(const std::string& name, Words toolTip)
{
    return add(FeatureType::Enumeration, name, toolTip);
}

Feature& FeatureTable::string(const std::string& name, Words toolTip, std::uint32_t capacity)
{
    if (capacity > kLongestText) {
        throw std::logic_error("text too long: " + name);
    }
    return add(FeatureType::String, name, toolTip).bytes((capacity + 3) / 4 * 4);
}

Feature& FeatureTable::command(const std::string& name, Words toolTip)
{
    return add(FeatureType::Command, name, toolTip);
}

Feature& FeatureTable::memory(const std::string& name, Words toolTip, std::uint64_t address,
                              std::uint32_t length)
{
    Feature& feature = add(FeatureType::Memory, name, toolTip).bytes(length);
    feature.address_ = address;
    return feature;
}

void FeatureTable::port(const std::string& name, bool chunk, std::uint64_t id)
{
    ports_.push_back({name, chunk, id});
}

Feature* FeatureTable::find(const std::string& name)
{
    const auto it = std::find_if(features_.begin(), features_.end(),
                                 [&](const Feature& feature) { return feature.name() == name; });
    return it == features_.end() ? nullptr : &*it;
}

const Feature* FeatureTable::find(const std::string& name) const
{
    return const_cast<FeatureTable*>(this)->find(name);
}

std::vector<std::pair<FeatureTable::Slot, std::uint32_t>>
FeatureTable::slotsOf(const Feature& feature)
{
    std::vector<std::pair<Slot, std::uint32_t>> slots;
    if (feature.type_ == FeatureType::Category || feature.type_ == FeatureType::Memory ||
        feature.constant_ || !feature.rare().formula.empty() || !feature.rare().port.empty()) {
        return slots;
    }
    slots.emplace_back(Slot::Value, feature.length_);
    if (feature.intLimits_) {
        slots.insert(slots.end(), {{Slot::Min, 8}, {Slot::Max, 8}, {Slot::Increment, 8}});
    }
    if (feature.floatLimits_) {
        slots.insert(slots.end(), {{Slot::Min, 8}, {Slot::Max, 8}});
    }
    if (feature.available_) {
        slots.emplace_back(Slot::Available, 4);
    }
    if (feature.locked_) {
        slots.emplace_back(Slot::Locked, 4);
    }
    if (std::any_of(feature.entries_.begin(), feature.entries_.end(),
                    [](const EnumEntry& entry) { return bool(entry.available); })) {
        slots.emplace_back(Slot::Entries, 4);
    }
    return slots;
}

void FeatureTable::layOut(Feature& feature)
{
    const auto slots = slotsOf(feature);
    if (slots.empty()) {
        return;
    }
    feature.address_ = end_;
    for (std::uint32_t index = 0; index < feature.count(); ++index) {
        for (const auto& [slot, size] : slots) {
            registers_.push_back({end_, size, slot, index, &feature});
            end_ += size;
        }
        const auto padding = static_cast<std::uint32_t>((kAlignment - end_ % kAlignment) % 8);
        if (padding != 0) {
            registers_.push_back({end_, padding, Slot::Padding, index, &feature});
            end_ += padding;
        }
        if (index == 0) {
            feature.stride_ = end_ - feature.address_;
        }
    }
}

void FeatureTable::refuseTwins() const
{
    std::vector<std::string_view> names;
    names.reserve(features_.size());
    for (const Feature& feature : features_) {
        names.emplace_back(feature.name());
    }
    std::sort(names.begin(), names.end());
    const auto twin = std::adjacent_find(names.begin(), names.end());
    if (twin != names.end()) {
        throw std::logic_error("feature declared twice: " + std::string(*twin));
    }
}

void FeatureTable::finish()
{
    refuseTwins();
    for (Feature& feature : features_) {
        layOut(feature);
        feature.entries_.shrink_to_fit();
        if (feature.rare_) {
            feature.rare_->children.shrink_to_fit();
        }
    }
    xml_ = FeatureXml(*this).take();
    for (const std::string& piece : xml_) {
        xmlSize_ += piece.size();
    }
    registers_.shrink_to_fit();
}

std::string FeatureTable::xml() const
{
    std::string whole;
    whole.reserve(xmlSize_);
    const std::lock_guard<std::mutex> lock(xmlMutex_);
    const std::vector<std::string> made =
        xml_.empty() ? FeatureXml(*this).take() : std::vector<std::string>();
    for (const std::string& piece : made.empty() ? xml_ : made) {
        whole += piece;
    }
    return whole;
}

void FeatureTable::readXml(std::size_t offset, void* data, std::size_t size) const
{
    const std::lock_guard<std::mutex> lock(xmlMutex_);
    if (xml_.empty()) {
        xml_ = FeatureXml(*this).take();
    }
    auto* out = static_cast<char*>(data);
    std::size_t begin = 0; // Of the piece, in the text.
    for (const std::string& piece : xml_) {
        const std::size_t first = std::max(offset, begin);
        const std::size_t last = std::min(offset + size, begin + piece.size());
        if (first < last) {
            std::copy_n(piece.data() + (first - begin), last - first, out + (first - offset));
        }
        begin += piece.size();
    }
    // From its start on: who only asks for the end again and again has it made once.
    if (offset <= xmlRead_) {
        xmlRead_ = std::max(xmlRead_, offset + size);
    }
    if (xmlRead_ == xmlSize_) {
        std::vector<std::string>().swap(xml_);
        xmlRead_ = 0;
    }
}

std::uint64_t FeatureTable::address(const std::string& name, std::size_t index) const
{
    const Feature* feature = find(name);
    return feature == nullptr ? 0 : feature->address_ + index * feature->stride_;
}

const FeatureTable::Register* FeatureTable::at(std::uint64_t address) const
{
    if (address < base_ || address >= end_) {
        return nullptr;
    }
    const auto next = std::upper_bound(
        registers_.begin(), registers_.end(), address,
        [](std::uint64_t wanted, const Register& reg) { return wanted < reg.address; });
    return &*std::prev(next);
}

std::int32_t FeatureTable::readRegister(const Register& reg, unsigned char* bytes) const
{
    const Feature& feature = *reg.feature;
    std::uint64_t raw = 0;
    switch (reg.slot) {
    case Slot::Value: {
        if (!feature.isAvailable() || feature.access_ == Access::WriteOnly) {
            return gentl::err::kAccessDenied;
        }
        const FeatureValue value = feature.current(reg.index);
        if (const auto* text = std::get_if<std::string>(&value)) {
            std::memset(bytes, 0, reg.size);
            std::copy_n(text->begin(), std::min<std::size_t>(text->size(), reg.size), bytes);
            return gentl::err::kSuccess;
        }
        if (const auto* real = std::get_if<double>(&value)) {
            raw = feature.scale_ != 0.0
                      ? static_cast<std::uint64_t>(std::llround(*real * feature.scale_))
                      : bitsOf(*real);
        } else {
            raw = static_cast<std::uint64_t>(std::get<std::int64_t>(value));
        }
        break;
    }
    case Slot::Min:
        raw = feature.intLimits_ ? static_cast<std::uint64_t>(feature.intLimits_(reg.index).min)
                                 : bitsOf(feature.floatLimits_(reg.index).min);
        break;
    case Slot::Max:
        raw = feature.intLimits_ ? static_cast<std::uint64_t>(feature.intLimits_(reg.index).max)
                                 : bitsOf(feature.floatLimits_(reg.index).max);
        break;
    case Slot::Increment:
        raw = static_cast<std::uint64_t>(feature.intLimits_(reg.index).increment);
        break;
    case Slot::Available:
        raw = feature.isAvailable() ? 1 : 0;
        break;
    case Slot::Locked:
        raw = feature.isLocked() ? 1 : 0;
        break;
    case Slot::Entries: {
        // One bit per entry that can go, from bit 0 (the lowest) in the order of the entries.
        std::uint32_t bit = 0;
        for (const EnumEntry& entry : feature.entries_) {
            if (entry.available) {
                raw |= std::uint64_t{entry.available()} << bit++;
            }
        }
        break;
    }
    case Slot::Padding:
        break;
    }
    storeBigEndian(raw, bytes, reg.size);
    return gentl::err::kSuccess;
}

std::int32_t FeatureTable::read(std::uint64_t address, void* data, std::size_t size) const
{
    auto* out = static_cast<unsigned char*>(data);
    if (size > end_ || address > end_ - size) {
        return gentl::err::kInvalidAddress;
    }
    while (size > 0) {
        const Register* reg = at(address);
        if (reg == nullptr) {
            return gentl::err::kInvalidAddress;
        }
        const std::size_t offset = address - reg->address;
        const std::size_t count = std::min<std::size_t>(size, reg->size - offset);
        const bool isWhole = count == reg->size;
        const std::int32_t code =
            isWhole ? readRegister(*reg, out) : readPart(*reg, offset, out, count);
        if (code != 0) {
            return code;
        }
        out += count;
        address += count;
        size -= count;
    }
    return gentl::err::kSuccess;
}

std::int32_t FeatureTable::readPart(const Register& reg, std::size_t offset, unsigned char* out,
                                    std::size_t count) const
{
    std::array<unsigned char, kLongestText> bytes{};
    const std::int32_t code = readRegister(reg, bytes.data());
    if (code == 0) {
        std::memcpy(out, bytes.data() + offset, count);
    }
    return code;
}

std::int32_t FeatureTable::writeRegister(const Register& reg, const unsigned char* bytes,
                                         std::size_t size)
{
    Feature& feature = *reg.feature;
    if (reg.slot != Slot::Value || feature.access_ == Access::ReadOnly || !feature.isAvailable() ||
        feature.isLocked()) {
        return gentl::err::kAccessDenied;
    }
    FeatureValue value;
    if (feature.type_ == FeatureType::String) {
        const auto* text = reinterpret_cast<const char*>(bytes);
        value = std::string(text, strnlen(text, size));
    } else {
        const std::uint64_t raw = loadBigEndian(bytes, reg.size);
        if (feature.type_ != FeatureType::Float) {
            value = static_cast<std::int64_t>(raw);
        } else if (feature.scale_ != 0.0) {
            value = static_cast<double>(static_cast<std::int64_t>(raw)) / feature.scale_;
        } else {
            value = fromBits(raw);
        }
    }
    if (const std::int32_t code = feature.check(value, reg.index); code != 0) {
        return code;
    }
    if (feature.type_ == FeatureType::Command) {
        const bool run = std::get<std::int64_t>(value) != 0 && feature.rare().onExecute;
        return run ? feature.rare().onExecute(reg.index) : gentl::err::kSuccess;
    }
    if (feature.onWrite_) {
        if (const std::int32_t code = feature.onWrite_(reg.index, value); code != 0) {
            return code;
        }
    }
    feature.set(std::move(value), reg.index);
    if (feature.onChange_) {
        feature.onChange_(reg.index);
    }
    return gentl::err::kSuccess;
}

std::int32_t FeatureTable::write(std::uint64_t address, const void* data, std::size_t size)
{
    const auto* in = static_cast<const unsigned char*>(data);
    while (size > 0) {
        const Register* reg = at(address);
        if (reg == nullptr || address != reg->address) {
            return gentl::err::kInvalidAddress;
        }
        const std::size_t count = std::min<std::size_t>(size, reg->size);
        if (count < reg->size && reg->feature->type_ != FeatureType::String) {
            return gentl::err::kInvalidAddress;
        }
        if (const std::int32_t code = writeRegister(*reg, in, count); code != 0) {
            return code;
        }
        in += count;
        address += count;
        size -= count;
    }
    return gentl::err::kSuccess;
}

bool FeatureTable::isReadOnly(std::uint64_t address) const
{
    const Register* const reg = at(address);
    return reg != nullptr &&
           (reg->slot != Slot::Value || reg->feature->access_ == Access::ReadOnly);
}

} // namespace features
