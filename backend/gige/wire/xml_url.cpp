#include "gige/wire/xml_url.h"

#include <cctype>
#include <cstdio>

namespace gige::wire
{

namespace
{

std::string_view trimmed(std::string_view text)
{
    const auto blank = [](char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; };
    while (!text.empty() && blank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && blank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

bool startsWithIgnoringCase(std::string_view text, std::string_view lower)
{
    if (text.size() < lower.size()) {
        return false;
    }
    for (std::size_t i = 0; i < lower.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(text[i])) != lower[i]) {
            return false;
        }
    }
    return true;
}

bool parseHex(std::string_view text, std::uint32_t* value)
{
    text = trimmed(text);
    if (startsWithIgnoringCase(text, "0x")) {
        text.remove_prefix(2);
    }
    if (text.empty() || text.size() > 16) {
        return false;
    }
    std::uint64_t result = 0;
    for (const char c : text) {
        if (std::isxdigit(static_cast<unsigned char>(c)) == 0) {
            return false;
        }
        const int digit =
            c <= '9' ? c - '0' : std::tolower(static_cast<unsigned char>(c)) - 'a' + 10;
        result = result << 4U | static_cast<unsigned>(digit);
    }
    *value = static_cast<std::uint32_t>(result);
    return result <= 0xFFFFFFFFU;
}

} // namespace

XmlUrl parseXmlUrl(std::string_view text)
{
    XmlUrl url;
    text = trimmed(text.substr(0, text.find('\0')));
    if (text.empty()) {
        return url;
    }
    url.kind = UrlKind::Foreign;
    constexpr std::string_view kScheme = "local:";
    if (!startsWithIgnoringCase(text, kScheme)) {
        return url;
    }
    text = text.substr(kScheme.size());
    text = text.substr(0, text.find('?'));
    const std::size_t first = text.find(';');
    const std::size_t second = first == text.npos ? text.npos : text.find(';', first + 1);
    if (second == text.npos) {
        return url;
    }
    url.name = trimmed(text.substr(0, first));
    url.name.remove_prefix(std::min(url.name.find_first_not_of('/'), url.name.size()));
    if (parseHex(text.substr(first + 1, second - first - 1), &url.address) &&
        parseHex(text.substr(second + 1), &url.length) && url.length > 0 &&
        url.length - 1 <= 0xFFFFFFFFU - url.address) {
        url.kind = UrlKind::Local;
    }
    return url;
}

std::string makeXmlUrl(std::string_view name, std::uint32_t address, std::uint32_t length)
{
    char numbers[32];
    std::snprintf(numbers, sizeof numbers, ";%x;%x", address, length);
    return "Local:" + std::string(name) + numbers;
}

} // namespace gige::wire
