// The GenICam description of a table of features.
#include "features/feature_xml.h"

#include "base/text.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace features
{

namespace
{

std::string hex(std::uint64_t value)
{
    std::array<char, 18> text{};
    char* first = text.data() + text.size();
    do {
        *--first = "0123456789ABCDEF"[value & 0xFU];
        value >>= 4U;
    } while (value != 0);
    *--first = 'x';
    *--first = '0';
    return {first, text.data() + text.size()};
}

using base::escapeXml;

/// Bytes of a piece: allocators keep these for whoever comes next, larger ones are the system's
/// again.
constexpr std::size_t kPiece = 32'768;

/// What everything that readers keep waits for.
constexpr const char* kChanges = "OtherFeaturesChanged";

const char* visibilityName(Visibility visibility)
{
    constexpr std::array<const char*, 4> kNames = {"Beginner", "Expert", "Guru", "Invisible"};
    return kNames.at(static_cast<std::size_t>(visibility));
}

const char* accessName(Access access)
{
    constexpr std::array<const char*, 3> kNames = {"RO", "WO", "RW"};
    return kNames.at(static_cast<std::size_t>(access));
}

const char* nodeType(const Feature& feature, bool formula)
{
    switch (feature.type()) {
    case FeatureType::Category:
        return "Category";
    case FeatureType::Integer:
        return formula ? "IntSwissKnife" : "Integer";
    case FeatureType::Float:
        return "Float";
    case FeatureType::Boolean:
        return "Boolean";
    case FeatureType::Enumeration:
        return "Enumeration";
    case FeatureType::String:
        return "StringReg";
    case FeatureType::Command:
        return "Command";
    case FeatureType::Memory:
        return "Register";
    }
    return "Node";
}

} // namespace

// Put together first, a line takes one call of the string instead of seven; the sizes of tags are
// known to the compiler.
template <std::size_t Size>
void FeatureXml::element(const char (&tag)[Size], std::string_view content, std::string_view suffix)
{
    constexpr std::size_t kTag = Size - 1;
    std::array<char, 160> line;
    const std::size_t size = content.size() + suffix.size() + 2 * kTag + 8;
    if (content.empty()) {
        return;
    }
    if (size > line.size()) {
        append("  <", tag, ">", content, suffix, "</", tag, ">\n");
        return;
    }
    char* end = line.data();
    const auto put = [&end](const char* from, std::size_t count) {
        end = std::copy_n(from, count, end);
    };
    put("  <", 3);
    put(tag, kTag);
    put(">", 1);
    put(content.data(), content.size());
    put(suffix.data(), suffix.size());
    put("</", 2);
    put(tag, kTag);
    put(">\n", 2);
    text_.append(line.data(), size);
}

FeatureXml::FeatureXml(const FeatureTable& table)
    : table_(table),
      hasChanges_(std::any_of(table.features_.begin(), table.features_.end(),
                              [](const Feature& each) { return each.changesOthers_; }))
{
    for (const Feature& each : table.features_) {
        if (!each.selector_.empty()) {
            selected_[each.selector_].emplace_back(each.name_);
        }
        for (const std::string& other : each.rare().shownBy) {
            if (other != each.selector_) {
                selected_[other].emplace_back(each.name_);
            }
        }
    }
    text_.reserve(kPiece);
    head();
    for (const Feature& each : table.features_) {
        feature(each);
        registers(each);
        endPiece();
    }
    changes();
    open("Port", "Device");
    close("Port");
    for (const DataPort& port : table.ports_) {
        open("Port", port.name);
        // Identifiers are hexadecimal digits without prefix.
        const std::string id = hex(port.id).substr(2);
        port.chunk ? element("ChunkID", id) : element("EventID", id);
        close("Port");
    }
    text_ += "</RegisterDescription>\n";
    pieces_.push_back(std::move(text_));
}

void FeatureXml::endPiece()
{
    constexpr std::size_t kRoom = 4096; // More than nearly all features take.
    if (text_.size() + kRoom > kPiece) {
        pieces_.push_back(std::move(text_));
        text_ = std::string();
        text_.reserve(kPiece);
    }
}

void FeatureXml::changes()
{
    if (!hasChanges_) {
        return;
    }
    open("Integer", kChanges);
    element("Visibility", "Invisible");
    for (const Feature& each : table_.features_) {
        if (each.changesOthers_) {
            element("pInvalidator", each.name_);
        }
    }
    element("Value", "0");
    close("Integer");
}

void FeatureXml::head()
{
    const ModuleIdentity& identity = table_.identity_;
    const auto attribute = [this](const char* name, const std::string& value) {
        append(" ", name, "=\"", escapeXml(value), "\"");
    };
    const auto number = [&](const char* name, int value) {
        attribute(name, std::to_string(value));
    };
    text_ = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<RegisterDescription";
    attribute("ModelName", identity.model);
    attribute("VendorName", identity.vendor);
    attribute("ToolTip", identity.toolTip);
    attribute("StandardNameSpace", identity.standardNameSpace);
    number("SchemaMajorVersion", description::kSchemaMajor);
    number("SchemaMinorVersion", description::kSchemaMinor);
    number("SchemaSubMinorVersion", description::kSchemaSubMinor);
    number("MajorVersion", description::kMajor);
    number("MinorVersion", description::kMinor);
    number("SubMinorVersion", description::kSubMinor);
    attribute("ProductGuid", identity.productGuid);
    attribute("VersionGuid", identity.versionGuid);
    attribute("xmlns", "http://www.genicam.org/GenApi/Version_1_1");
    attribute("xmlns:xsi", "http://www.w3.org/2001/XMLSchema-instance");
    attribute("xsi:schemaLocation", "http://www.genicam.org/GenApi/Version_1_1 "
                                    "http://www.genicam.org/GenApi/GenApiSchema_Version_1_1.xsd");
    text_ += ">\n";
}

void FeatureXml::text(std::string_view tag, std::string_view content)
{
    if (content.empty()) {
        return;
    }
    append("  <", tag, ">");
    base::appendEscapedXml(content, &text_);
    append("</", tag, ">\n");
}

void FeatureXml::open(std::string_view tag, std::string_view name)
{
    const bool isStandard = tag != "Port" && tag != "EnumEntry";
    append("<", tag, " Name=\"");
    base::appendEscapedXml(name, &text_);
    append(isStandard ? "\" NameSpace=\"Standard\">\n" : "\">\n");
}

void FeatureXml::close(std::string_view tag) { append("</", tag, ">\n"); }

void FeatureXml::common(const Feature& feature)
{
    text("ToolTip", feature.toolTip_);
    text("Description", feature.rare().description.empty() ? std::string_view(feature.toolTip_)
                                                           : feature.rare().description);
    text("DisplayName", feature.displayName_);
    element("Visibility", visibilityName(feature.visibility_));
    if (feature.available_) {
        element("pIsAvailable", feature.name_, "RegAvailable");
    }
    if (feature.locked_) {
        element("pIsLocked", feature.name_, "RegLocked");
    }
    if (feature.constant_) {
        // A literal value would be the host's to change.
        element("ImposedAccessMode", "RO");
    }
    if (feature.type_ != FeatureType::Category && feature.type_ != FeatureType::Command) {
        if (feature.streamable_) {
            element("Streamable", "Yes");
        }
    }
}

void FeatureXml::feature(const Feature& feature)
{
    const std::string tag = nodeType(feature, !feature.rare().formula.empty());
    open(tag, feature.name_);
    common(feature);
    switch (feature.type_) {
    case FeatureType::Category:
        category(feature);
        break;
    case FeatureType::Integer:
        integer(feature);
        break;
    case FeatureType::Float:
        real(feature);
        break;
    case FeatureType::Boolean:
        element("pValue", feature.name_, "Reg");
        element("OnValue", "1");
        element("OffValue", "0");
        break;
    case FeatureType::Enumeration:
        enumeration(feature);
        break;
    case FeatureType::String:
    case FeatureType::Memory:
        string(feature);
        break;
    case FeatureType::Command:
        element("pValue", feature.name_, "Reg");
        element("CommandValue", "1");
        break;
    }
    selected(feature);
    close(tag);
}

void FeatureXml::category(const Feature& feature)
{
    for (const std::string& child : feature.rare().children) {
        element("pFeature", child);
    }
}

void FeatureXml::integer(const Feature& feature)
{
    if (!feature.rare().formula.empty()) {
        for (const auto& [variable, source] : feature.rare().variables) {
            text_.append("  <pVariable Name=\"").append(variable).append("\">");
            text_.append(source).append("</pVariable>\n");
        }
        text("Formula", feature.rare().formula);
    } else if (feature.constant_) {
        element("Value", std::to_string(feature.integer()));
    } else {
        element("pValue", feature.name_, "Reg");
        if (feature.intLimits_) {
            element("pMin", feature.name_, "RegMin");
            element("pMax", feature.name_, "RegMax");
            element("pInc", feature.name_, "RegIncrement");
        } else if (feature.hasRange_) {
            element("Min", std::to_string(feature.intRange_.min));
            element("Max", std::to_string(feature.intRange_.max));
            element("Inc", std::to_string(feature.intRange_.increment));
        }
    }
    text("Unit", feature.unit_);
    element("Representation", feature.representation_);
}

void FeatureXml::real(const Feature& feature)
{
    element("pValue", feature.name_, feature.scale_ != 0.0 ? "Converter" : "Reg");
    if (feature.floatLimits_) {
        element("pMin", feature.name_, "RegMin");
        element("pMax", feature.name_, "RegMax");
    } else if (feature.hasRange_) {
        element("Min", base::formatReal(feature.floatRange_.min));
        element("Max", base::formatReal(feature.floatRange_.max));
    }
    text("Unit", feature.unit_);
    element("Representation", feature.representation_);
}

void FeatureXml::enumeration(const Feature& feature)
{
    std::size_t bit = 0;
    for (const EnumEntry& entry : feature.entries_) {
        open("EnumEntry", entry.name);
        text("ToolTip", entry.toolTip);
        if (entry.available) {
            element("pIsAvailable", feature.name_ + "RegBit" + std::to_string(bit++));
        }
        element("Value", std::to_string(entry.value));
        close("EnumEntry");
    }
    element("pValue", feature.name_, "Reg");
}

void FeatureXml::string(const Feature& feature)
{
    place(feature, 0, feature.length_, accessName(feature.access_), mayBeKept(feature));
}

bool FeatureXml::mayBeKept(const Feature& feature)
{
    return feature.type_ != FeatureType::Command && feature.type_ != FeatureType::Memory &&
           !feature.onRead_ && !feature.changing_ && feature.rare().port.empty();
}

void FeatureXml::selected(const Feature& feature)
{
    const auto found = selected_.find(feature.name_);
    if (found != selected_.end()) {
        for (const std::string_view name : found->second) {
            element("pSelected", name);
        }
    }
}

void FeatureXml::place(const Feature& feature, std::uint64_t offset, std::uint32_t length,
                       const std::string& accessMode, bool cached)
{
    element("Address", hex(feature.address_ + offset));
    if (!feature.selector_.empty()) {
        text_ += "  <pIndex Offset=\"" + hex(feature.stride_) + "\">" + feature.selector_ +
                 "Reg</pIndex>\n";
    }
    element("Length", std::to_string(length));
    element("AccessMode", accessMode);
    element("pPort", feature.rare().port.empty() ? "Device" : feature.rare().port);
    element("Cachable", cached ? "WriteThrough" : "NoCache");
    if (cached && hasChanges_) {
        element("pInvalidator", kChanges);
    }
}

void FeatureXml::sign(std::uint32_t length)
{
    if (length == 8) {
        element("Sign", "Signed"); // Else unsigned, which needs no word.
    }
}

void FeatureXml::valueRegister(const Feature& feature)
{
    const bool isFloatRegister = feature.type_ == FeatureType::Float && feature.scale_ == 0.0;
    const std::string tag = isFloatRegister ? "FloatReg" : "IntReg";
    open(tag, feature.name_ + "Reg");
    element("Visibility", "Invisible");
    // Commands are read to see whether they are done.
    place(feature, 0, feature.length_,
          feature.type_ == FeatureType::Command ? "RW" : accessName(feature.access_),
          mayBeKept(feature));
    if (!isFloatRegister) {
        sign(feature.length_);
    }
    element("Endianess", feature.rare().littleEndian ? "LittleEndian" : "BigEndian");
    close(tag);
    if (feature.type_ == FeatureType::Float && feature.scale_ != 0.0) {
        open("Converter", feature.name_ + "Converter");
        element("Visibility", "Invisible");
        element("FormulaTo", "FROM * " + base::formatReal(feature.scale_));
        element("FormulaFrom", "TO / " + base::formatReal(feature.scale_));
        element("pValue", feature.name_, "Reg");
        element("Slope", "Increasing");
        close("Converter");
    }
}

void FeatureXml::registers(const Feature& feature)
{
    if (feature.type_ == FeatureType::Category || feature.type_ == FeatureType::Memory ||
        feature.constant_ || !feature.rare().formula.empty()) {
        return;
    }
    if (feature.type_ != FeatureType::String) {
        valueRegister(feature);
    }
    std::uint64_t offset = 0;
    for (const auto& [slot, size] : FeatureTable::slotsOf(feature)) {
        std::string suffix;
        switch (slot) {
        case FeatureTable::Slot::Min:
            suffix = "RegMin";
            break;
        case FeatureTable::Slot::Max:
            suffix = "RegMax";
            break;
        case FeatureTable::Slot::Increment:
            suffix = "RegIncrement";
            break;
        case FeatureTable::Slot::Available:
            suffix = "RegAvailable";
            break;
        case FeatureTable::Slot::Locked:
            suffix = "RegLocked";
            break;
        case FeatureTable::Slot::Entries:
            entryBits(feature, offset);
            break;
        default:
            break;
        }
        if (!suffix.empty()) {
            const bool isFloat = feature.type_ == FeatureType::Float && size == 8;
            const std::string tag = isFloat ? "FloatReg" : "IntReg";
            open(tag, feature.name_ + suffix);
            element("Visibility", "Invisible");
            const bool isLimit = slot == FeatureTable::Slot::Min ||
                                 slot == FeatureTable::Slot::Max ||
                                 slot == FeatureTable::Slot::Increment;
            place(feature, offset, size, "RO", isLimit && feature.keepsLimits_);
            if (isLimit) {
                for (const std::string& other : feature.rare().limitedBy) {
                    element("pInvalidator", other);
                }
            }
            if (!isFloat) {
                sign(size);
            }
            element("Endianess", "BigEndian");
            close(tag);
        }
        offset += size;
    }
}

void FeatureXml::entryBits(const Feature& feature, std::uint64_t offset)
{
    std::uint32_t bit = 0;
    for (const EnumEntry& entry : feature.entries_) {
        if (!entry.available) {
            continue;
        }
        open("MaskedIntReg", feature.name_ + "RegBit" + std::to_string(bit));
        element("Visibility", "Invisible");
        place(feature, offset, 4, "RO", false);
        // Bits of big-endian registers count from the highest one.
        element("Bit", std::to_string(31 - bit));
        element("Endianess", "BigEndian");
        close("MaskedIntReg");
        ++bit;
    }
}

} // namespace features
