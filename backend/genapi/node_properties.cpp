#include "genapi/node_properties.h"

#include "genapi/xml_element.h"

#include <algorithm>
#include <charconv>

namespace genapi
{

std::int32_t visibilityOf(std::string_view text)
{
    constexpr std::string_view kLevels[] = {"Beginner", "Expert", "Guru", "Invisible"};
    for (std::int32_t level = 0; level < 4; ++level) {
        if (text == kLevels[level])
            return level;
    }
    return 0;
}

namespace
{

unsigned accessModeOf(std::string_view text)
{
    if (text == "RO")
        return kReadable;
    if (text == "WO")
        return kWritable;
    return text == "RW" ? kReadable | kWritable : 0;
}

/// Ids of events and chunks are hexadecimal without a prefix.
bool parseId(std::string_view text, std::uint64_t* id)
{
    if (text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X")
        text.remove_prefix(2);
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, *id, 16);
    return result.ec == std::errc() && result.ptr == end;
}

/// Texts and marks.
bool readText(Description* description, NodeDescription* node, std::string_view tag,
              const std::string& text)
{
    if (tag == "ToolTip") {
        node->toolTip = text;
    } else if (tag == "Description") {
        node->text = text;
    } else if (tag == "DisplayName") {
        node->displayName = text;
    } else if (tag == "Visibility") {
        node->visibility = visibilityOf(text);
    } else if (tag == "Unit") {
        node->unit = text;
    } else if (tag == "AccessMode") {
        node->accessMode = accessModeOf(text);
    } else if (tag == "ImposedAccessMode") {
        const unsigned imposed = accessModeOf(text);
        node->imposedAccess = imposed != 0 ? imposed : node->imposedAccess;
    } else if (tag == "Streamable") {
        node->isStreamable = text == "Yes";
        description->marksStreamable = true;
    } else if (tag == "Cachable") {
        node->isCachable = text != "NoCache";
    } else if (tag == "PollingTime") {
        node->isPolled = true;
    } else if (tag == "IsSelfClearing") {
        node->isSelfClearing = text != "No";
    } else if (tag == "Sign") {
        node->isSigned = text == "Signed";
    } else if (node->kind == NodeKind::kPort && (tag == "EventID" || tag == "ChunkID")) {
        Overlay overlay;
        overlay.isEvent = tag == "EventID";
        if (!parseId(text, &overlay.id))
            return false;
        node->overlaySlot = static_cast<std::int32_t>(description->overlays.size());
        description->overlays.push_back(overlay);
    }
    return true;
}

/// Numbers between semicolons.
bool readValidValues(NodeDescription* node, std::string_view text)
{
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(';'), text.size());
        const std::string_view item = trim(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (item.empty())
            continue;
        const auto integer = parseInteger(item);
        const auto real = parseReal(item);
        if (!real || (!integer && !isFloatKind(node->kind)))
            return false;
        node->validValues.push_back({integer.value_or(0), *real});
    }
    return true;
}

bool readNumber(NodeDescription* node, std::string_view tag, const std::string& text)
{
    if (tag == "ValidValueSet")
        return readValidValues(node, text);
    const bool isFloat = isFloatKind(node->kind);
    const bool isBound = tag == "Min" || tag == "Max" || tag == "Inc";
    const bool isWhole = tag == "CommandValue" || tag == "OnValue" || tag == "OffValue" ||
                         tag == "Length" || tag == "Address" || tag == "LSB" || tag == "MSB" ||
                         tag == "Bit" || (tag == "Value" && isIntegerKind(node->kind));
    const bool isReal = tag == "Value" && isFloat;
    if (!isBound && !isWhole && !isReal)
        return true;
    const auto integer = parseInteger(text);
    const auto real = parseReal(text);
    if (!real || (!integer && (isWhole || !isFloat)))
        return false;
    const Number number{integer.value_or(0), *real};
    if (tag == "Min") {
        node->min = number;
    } else if (tag == "Max") {
        node->max = number;
    } else if (tag == "Inc") {
        node->increment = number;
    } else if (tag == "CommandValue") {
        node->commandValue = number;
    } else if (tag == "OnValue") {
        node->onValue = number;
    } else if (tag == "OffValue") {
        node->offValue = number;
    } else if (tag == "Length") {
        node->length = number.integer;
        return number.integer > 0;
    } else if (tag == "LSB" || tag == "Bit") {
        node->lowBit = number.integer;
    }
    if (tag == "MSB" || tag == "Bit")
        node->highBit = number.integer;
    return true;
}

} // namespace

bool readProperty(Description* description, NodeDescription* node, std::string_view tag,
                  const std::string& text)
{
    return readText(description, node, tag, text) && readNumber(node, tag, text);
}

} // namespace genapi
