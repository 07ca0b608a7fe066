// What single elements of a description say about their node.
#include "base/text.h"
#include "genapi/node_reader.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace genapi
{

namespace
{

AccessMode accessModeOf(std::string_view text, AccessMode otherwise)
{
    if (text == "RO")
        return AccessMode::kReadOnly;
    if (text == "WO")
        return AccessMode::kWriteOnly;
    return text == "RW" ? AccessMode::kAll : otherwise;
}

std::uint8_t visibilityOf(std::string_view text)
{
    constexpr std::string_view kLevels[] = {"Beginner", "Expert", "Guru", "Invisible"};
    const auto* const found = std::find(std::begin(kLevels), std::end(kLevels), text);
    return static_cast<std::uint8_t>(found != std::end(kLevels) ? found - kLevels : 0);
}

Slope slopeOf(std::string_view text)
{
    if (text == "Increasing")
        return Slope::kIncreasing;
    if (text == "Decreasing")
        return Slope::kDecreasing;
    return text == "Varying" ? Slope::kVarying : Slope::kAutomatic;
}

/// False for what is no number, or none that this node can have.
bool readNumber(const Node& node, Link* link, std::string_view text)
{
    const auto integer = base::parseInteger(text);
    link->hasNumber = true;
    if (integer) {
        link->integer = *integer;
        link->real = static_cast<double>(*integer);
        return true;
    }
    const auto real = base::parseReal(text);
    link->real = real.value_or(0.0);
    if (!real || !(isFloatKind(node.kind) || isFormulaKind(node.kind) ||
                   link->kind == LinkKind::kNumericValue || std::trunc(*real) == *real))
        return false;
    if (std::abs(*real) < 9.2e18)
        link->integer = static_cast<std::int64_t>(*real);
    return true;
}

} // namespace

std::string_view attributeOf(const pugi::xml_node& element, const char* name)
{
    return base::trim(element.attribute(name).value());
}

bool NodeReader::readValue(const Node& node, Link* link, std::string_view text)
{
    const bool isValue = link->kind == LinkKind::kValue;
    if (isValue && node.kind == NodeKind::kString) {
        link->text = keep(text);
        return true;
    }
    if (isValue && node.kind == NodeKind::kBoolean && (text == "true" || text == "false")) {
        link->hasNumber = true;
        link->integer = text == "true" ? 1 : 0;
        return true;
    }
    return readNumber(node, link, text);
}

bool NodeReader::readIndexed(Link* link, const pugi::xml_node& child)
{
    const auto index = base::parseInteger(attributeOf(child, "Index"));
    link->extra = static_cast<std::int32_t>(index.value_or(-1));
    return index && link->extra == *index;
}

bool NodeReader::readReference(Link* link, const pugi::xml_node& child)
{
    if (!findNode(textOf(child), &link->target))
        return false;
    if (link->kind != LinkKind::kIndex)
        return true;
    const std::string_view node = attributeOf(child, "pOffset");
    const std::string_view number = attributeOf(child, "Offset");
    if (!node.empty() && !findNode(node, &link->extra))
        return false;
    const auto offset = base::parseInteger(number);
    link->hasNumber = offset.has_value();
    link->integer = offset.value_or(0);
    return offset || number.empty();
}

bool NodeReader::readVariable(Link* link, std::string_view name)
{
    constexpr struct {
        std::string_view suffix;
        Aspect aspect;
    } kAspects[] = {
        {".Min", Aspect::kMin},
        {".Max", Aspect::kMax},
        {".Inc", Aspect::kIncrement},
        {".AccessMode", Aspect::kAccessMode},
        {".Visibility", Aspect::kVisibility},
        {".CachingMode", Aspect::kCachingMode},
    };
    link->text = keep(name);
    for (const auto& row : kAspects) {
        if (name.size() > row.suffix.size() &&
            name.substr(name.size() - row.suffix.size()) == row.suffix)
            link->aspect = row.aspect;
    }
    for (const std::string_view infix : {".Entry.", ".Enum."}) {
        const std::size_t at = name.find(infix);
        if (at == std::string_view::npos)
            continue;
        link->aspect = Aspect::kEntry;
        link->extra = entryOf(link->target, name.substr(at + infix.size()));
        if (link->extra < 0)
            return false;
    }
    return !name.empty();
}

std::int32_t NodeReader::entryOf(std::int32_t enumeration, std::string_view name)
{
    if (entries_.empty()) {
        // Entries follow their enumeration.
        std::int32_t owner = -1;
        for (std::size_t i = 0; i < description_.nodes.size(); ++i) {
            const Node& node = description_.nodes[i];
            if (node.kind != NodeKind::kEnumEntry)
                owner = static_cast<std::int32_t>(i);
            else
                entries_[{owner, node.name}] = static_cast<std::int32_t>(i);
        }
    }
    const auto found = entries_.find({enumeration, name});
    return found != entries_.end() ? found->second : -1;
}

bool NodeReader::readProperty(Node* node, Property property, std::string_view text)
{
    switch (property) {
    case Property::kToolTip:
        node->toolTip = text;
        break;
    case Property::kDescription:
        node->text = text;
        break;
    case Property::kDisplayName:
        node->displayName = text;
        break;
    case Property::kVisibility:
        node->visibility = visibilityOf(text);
        node->hasVisibility = true;
        break;
    case Property::kUnit:
        node->unit = text;
        break;
    case Property::kAccessMode:
        node->accessMode = accessModeOf(text, node->accessMode);
        break;
    case Property::kImposedAccessMode:
        node->imposedAccess = accessModeOf(text, node->imposedAccess);
        break;
    case Property::kStreamable:
        node->isStreamable = text == "Yes";
        description_.marksStreamable = true;
        break;
    case Property::kCachable:
        node->caching = text == "NoCache" ? 0 : text == "WriteAround" ? 2 : 1;
        break;
    case Property::kPollingTime:
        node->isPolled = true;
        break;
    case Property::kIsSelfClearing:
        node->isSelfClearing = node->kind == NodeKind::kCommand ? text != "No" : text == "Yes";
        break;
    case Property::kSign:
        node->isSigned = text == "Signed";
        break;
    case Property::kEndianess:
        node->isBigEndian = text == "BigEndian";
        break;
    case Property::kSlope:
        node->slope = slopeOf(text);
        break;
    case Property::kSymbolic:
        node->name = node->kind == NodeKind::kEnumEntry ? text : node->name;
        break;
    default:
        return readShape(node, property, text);
    }
    return true;
}

bool NodeReader::readShape(Node* node, Property property, std::string_view text)
{
    switch (property) {
    case Property::kValidValues:
        return readValidValues(node, text);
    case Property::kPortId:
        return node->kind != NodeKind::kPort ||
               readPortId(node, std::string_view(current_.name()) == "EventID", text);
    case Property::kLength:
        node->length = base::parseInteger(text).value_or(0);
        return node->length > 0;
    case Property::kLsb:
    case Property::kMsb:
    case Property::kBit: {
        const std::int64_t bit = base::parseInteger(text).value_or(-1);
        if (property != Property::kMsb)
            node->lowBit = static_cast<std::uint8_t>(bit);
        if (property != Property::kLsb)
            node->highBit = static_cast<std::uint8_t>(bit);
        return bit >= 0 && bit <= 63;
    }
    default:
        return true;
    }
}

bool NodeReader::readPortId(Node* node, bool isEvent, std::string_view text)
{
    Overlay overlay;
    overlay.isEvent = isEvent;
    if (text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X")
        text.remove_prefix(2);
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, overlay.id, 16);
    overlay.hasId = result.ec == std::errc() && result.ptr == end;
    node->overlay = static_cast<std::int32_t>(description_.overlays.size());
    description_.overlays.push_back(overlay);
    return true;
}

bool NodeReader::readValidValues(Node* node, std::string_view text)
{
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(';'), text.size());
        const std::string_view item = base::trim(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        Link link;
        link.kind = LinkKind::kValidValue;
        if (item.empty())
            continue;
        if (!readNumber(*node, &link, item) || !add(node, link))
            return false;
    }
    return true;
}

bool NodeReader::findNode(std::string_view name, std::int32_t* index) const
{
    *index = description_.named(name);
    return *index >= 0;
}

const char* NodeReader::faultOf(const Node& node) const
{
    if (node.kind == NodeKind::kEnumEntry)
        return description_.find(node, LinkKind::kValue) == nullptr ? "has no value" : nullptr;
    const bool isNumber = node.kind == NodeKind::kIntReg || node.kind == NodeKind::kMaskedIntReg ||
                          node.kind == NodeKind::kStructEntry;
    const bool isReal = node.kind == NodeKind::kFloatReg;
    if (!isNumber && !isReal && node.kind != NodeKind::kStringReg)
        return nullptr;
    if ((isNumber && node.length > 8) ||
        (isReal && node.length != 0 && node.length != 4 && node.length != 8) ||
        node.length > static_cast<std::int64_t>(kMaxTextRegister))
        return "has an impossible length";
    if (node.length == 0 && description_.target(node, LinkKind::kLength) < 0)
        return "has no length";
    return description_.target(node, LinkKind::kPort) < 0 ? "has no port" : nullptr;
}

} // namespace genapi
