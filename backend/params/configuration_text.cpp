#include "params/configuration_text.h"

#include <charconv>

namespace params
{

namespace
{

constexpr std::string_view kMagic = "# {05D8C294-F295-4dfb-9D01-096BD04049F4}";
constexpr std::string_view kFormat = "# GenApi persistence file (version ";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

struct IdentityRow {
    std::string_view key;
    std::string DeviceIdentity::*field;
};

constexpr IdentityRow kIdentity[] = {
    {"# Vendor = ", &DeviceIdentity::vendor},
    {"# Model = ", &DeviceIdentity::model},
    {"# SerialNumber = ", &DeviceIdentity::serialNumber},
    {"# InterfaceType = ", &DeviceIdentity::interfaceType},
    {"# InterfaceID = ", &DeviceIdentity::interfaceId},
    {"# DeviceID = ", &DeviceIdentity::deviceId},
};

bool startsWith(std::string_view text, std::string_view beginning)
{
    return text.substr(0, beginning.size()) == beginning;
}

/// Characters that would end a value early, and the mark of the escape itself.
bool needsEscape(std::string_view value, std::size_t position)
{
    const char c = value[position];
    return c == '\n' || c == '\r' || c == '\t' || (c == '{' && position == 0) ||
           (c == '&' && position + 1 < value.size() && value[position + 1] == '#');
}

std::string escaped(std::string_view value)
{
    std::string result;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (needsEscape(value, i))
            result += "&#" + std::to_string(static_cast<int>(value[i])) + ";";
        else
            result += value[i];
    }
    return result;
}

std::string unescaped(std::string_view value)
{
    std::string result;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (startsWith(value.substr(i), "&#")) {
            int code = 0;
            const char* const first = value.data() + i + 2;
            const char* const end = value.data() + value.size();
            const auto number = std::from_chars(first, end, code);
            if (number.ec == std::errc() && number.ptr != end && *number.ptr == ';' && code > 0 &&
                code < 128) {
                result += static_cast<char>(code);
                i = static_cast<std::size_t>(number.ptr - value.data());
                continue;
            }
        }
        result += value[i];
    }
    return result;
}

/// `{Selector=Entry}` once or more, nothing else.
bool parseSelectors(std::string_view text,
                    std::vector<std::pair<std::string, std::string>>* selectors)
{
    while (!text.empty()) {
        const std::size_t end = text.find('}');
        const std::size_t equals = text.find('=');
        if (text[0] != '{' || end == std::string_view::npos || equals == std::string_view::npos ||
            equals < 2 || equals + 1 >= end)
            return false;
        selectors->emplace_back(text.substr(1, equals - 1),
                                text.substr(equals + 1, end - equals - 1));
        text.remove_prefix(end + 1);
    }
    return true;
}

bool parseLine(std::string_view text, ConfigurationLine* line)
{
    const std::size_t tab = text.find('\t');
    if (tab == std::string_view::npos || tab == 0)
        return false;
    const std::string_view name = text.substr(0, tab);
    if (name.find(' ') != std::string_view::npos)
        return false;
    line->name = name;
    std::string_view value = text.substr(tab + 1);
    const std::size_t second = value.find('\t');
    if (!value.empty() && value[0] == '{' && second != std::string_view::npos) {
        if (!parseSelectors(value.substr(0, second), &line->selectors))
            return false;
        value.remove_prefix(second + 1);
    }
    line->value = unescaped(value);
    return true;
}

void parseComment(std::string_view text, DeviceIdentity* identity)
{
    for (const IdentityRow& row : kIdentity) {
        if (startsWith(text, row.key))
            identity->*row.field = text.substr(row.key.size());
    }
}

std::string onOneLine(std::string text)
{
    for (char& c : text) {
        if (static_cast<unsigned char>(c) < ' ')
            c = ' ';
    }
    return text;
}

} // namespace

bool parseConfiguration(std::string_view text, ConfigurationText* configuration, std::size_t* place)
{
    *place = 0;
    if (startsWith(text, kByteOrderMark))
        text.remove_prefix(kByteOrderMark.size());
    if (text.find('\0') != std::string_view::npos)
        return false;
    bool isFirst = true;
    bool hasFormat = false;
    while (!text.empty()) {
        ++*place;
        const std::size_t length = text.find('\n');
        std::string_view current = text.substr(0, length);
        text.remove_prefix(length == std::string_view::npos ? text.size() : length + 1);
        if (!current.empty() && current.back() == '\r')
            current.remove_suffix(1);
        if (isFirst && current != kMagic)
            return false;
        isFirst = false;
        if (current.empty())
            continue;
        if (current[0] == '#') {
            hasFormat = hasFormat || startsWith(current, kFormat);
            parseComment(current, &configuration->identity);
            continue;
        }
        ConfigurationLine line;
        if (!hasFormat || !parseLine(current, &line))
            return false;
        line.number = *place;
        configuration->lines.push_back(std::move(line));
    }
    return hasFormat;
}

std::string formatConfiguration(const ConfigurationText& configuration)
{
    std::string text(kMagic);
    text.append("\n").append(kFormat).append("3.1.0)\n");
    for (const IdentityRow& row : kIdentity) {
        const std::string& value = configuration.identity.*row.field;
        if (!value.empty())
            text.append(row.key).append(onOneLine(value)).append("\n");
    }
    for (const ConfigurationLine& line : configuration.lines) {
        text.append(line.name).append("\t");
        for (const auto& [selector, entry] : line.selectors)
            text.append("{").append(selector).append("=").append(entry).append("}");
        if (!line.selectors.empty())
            text.append("\t");
        text.append(escaped(line.value)).append("\n");
    }
    return text;
}

} // namespace params
