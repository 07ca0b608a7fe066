#include "genapi/xml_element.h"

#include <charconv>

namespace genapi
{

namespace
{

const xmlNode* elementFrom(const xmlNode* node)
{
    while (node != nullptr && node->type != XML_ELEMENT_NODE)
        node = node->next;
    return node;
}

std::string_view viewOf(const xmlChar* text)
{
    return text != nullptr ? std::string_view(reinterpret_cast<const char*>(text))
                           : std::string_view();
}

void appendText(const xmlNode* node, std::string* text)
{
    for (; node != nullptr; node = node->next) {
        if (node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE)
            *text += viewOf(node->content);
    }
}

} // namespace

const xmlNode* firstChild(const xmlNode* element) { return elementFrom(element->children); }

const xmlNode* nextSibling(const xmlNode* element) { return elementFrom(element->next); }

std::string_view tagOf(const xmlNode* element) { return viewOf(element->name); }

std::string textOf(const xmlNode* element)
{
    std::string text;
    appendText(element->children, &text);
    return std::string(trim(text));
}

std::string attributeOf(const xmlNode* element, const char* name)
{
    for (const xmlAttr* attribute = element->properties; attribute != nullptr;
         attribute = attribute->next) {
        if (viewOf(attribute->name) == name) {
            std::string text;
            appendText(attribute->children, &text);
            return std::string(trim(text));
        }
    }
    return {};
}

std::string_view trim(std::string_view text)
{
    constexpr std::string_view kBlank = " \t\r\n\v\f";
    const std::size_t first = text.find_first_not_of(kBlank);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

std::optional<std::int64_t> parseInteger(std::string_view text)
{
    bool isNegative = false;
    if (!text.empty() && (text[0] == '-' || text[0] == '+')) {
        isNegative = text[0] == '-';
        text.remove_prefix(1);
    }
    int base = 10;
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        base = 16;
        text.remove_prefix(2);
    }
    std::uint64_t magnitude = 0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, magnitude, base);
    if (result.ec != std::errc() || result.ptr != end)
        return std::nullopt;
    constexpr std::uint64_t kMinimum = std::uint64_t{1} << 63U;
    const bool fits = isNegative ? magnitude <= kMinimum : base == 16 || magnitude < kMinimum;
    if (!fits)
        return std::nullopt;
    return static_cast<std::int64_t>(isNegative ? ~magnitude + 1 : magnitude);
}

std::optional<double> parseReal(std::string_view text)
{
    if (const auto integer = parseInteger(text))
        return static_cast<double>(*integer);
    if (!text.empty() && text[0] == '+')
        text.remove_prefix(1);
    double value = 0.0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    if (result.ec != std::errc() || result.ptr != end)
        return std::nullopt;
    return value;
}

} // namespace genapi
