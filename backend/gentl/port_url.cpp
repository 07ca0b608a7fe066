// Where a module's description is, as its port tells it.
#include "gentl/port_url.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>

namespace gentl
{

namespace
{

std::string lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

std::optional<std::uint64_t> parseHex(std::string text)
{
    text.erase(0, text.find_first_not_of(" \t"));
    text.erase(text.find_last_not_of(" \t") + 1);
    if (text.compare(0, 2, "0x") == 0 || text.compare(0, 2, "0X") == 0) {
        text.erase(0, 2);
    }
    const bool digits = !text.empty() && text.size() <= 16 &&
                        std::all_of(text.begin(), text.end(),
                                    [](unsigned char c) { return std::isxdigit(c) != 0; });
    if (!digits) {
        return std::nullopt;
    }
    return std::strtoull(text.c_str(), nullptr, 16);
}

std::string percentDecoded(const std::string& text)
{
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool escape = text[i] == '%' && i + 2 < text.size() &&
                            std::isxdigit(static_cast<unsigned char>(text[i + 1])) != 0 &&
                            std::isxdigit(static_cast<unsigned char>(text[i + 2])) != 0;
        if (escape) {
            result += static_cast<char>(std::strtoul(text.substr(i + 1, 2).c_str(), nullptr, 16));
            i += 2;
        } else {
            result += text[i];
        }
    }
    return result;
}

std::optional<PortUrl> parseLocal(const std::string& rest)
{
    const std::size_t first = rest.find(';');
    const std::size_t second = rest.find(';', first == std::string::npos ? first : first + 1);
    if (second == std::string::npos) {
        return std::nullopt;
    }
    const auto address = parseHex(rest.substr(first + 1, second - first - 1));
    const auto length = parseHex(rest.substr(second + 1));
    if (!address || !length) {
        return std::nullopt;
    }
    PortUrl url;
    url.path = rest.substr(0, first);
    url.path.erase(0, url.path.find_first_not_of('/'));
    url.address = *address;
    url.length = *length;
    return url;
}

// file:///path, file://localhost/path, file:/path, file:name.
std::optional<PortUrl> parseFile(std::string rest)
{
    if (rest.compare(0, 2, "//") == 0) {
        rest.erase(0, std::min(rest.find('/', 2), rest.size()));
    }
    PortUrl url;
    url.scheme = PortUrl::Scheme::File;
    url.path = percentDecoded(rest);
    return url.path.empty() ? std::nullopt : std::optional(url);
}

} // namespace

std::optional<PortUrl> parsePortUrl(const std::string& url)
{
    const std::size_t colon = url.find(':');
    if (colon == std::string::npos) {
        return std::nullopt;
    }
    const std::string scheme = lower(url.substr(0, colon));
    std::string rest = url.substr(colon + 1);
    const std::size_t query = rest.find('?');
    if (query != std::string::npos && lower(rest.substr(query)).find("schemaversion") == 1) {
        rest.erase(query);
    }
    if (scheme == "local") {
        return parseLocal(rest);
    }
    return scheme == "file" ? parseFile(rest) : std::nullopt;
}

} // namespace gentl
