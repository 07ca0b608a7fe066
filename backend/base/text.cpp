// Texts that cross the boundary: valid UTF-8, numbers without a locale, pointers that stay good.
#include "base/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <mutex>
#include <unordered_set>

namespace base
{

namespace
{

// Length of the well-formed UTF-8 sequence at `position`, 0 when it is malformed, overlong, a
// surrogate, or above U+10FFFF.
std::size_t sequenceLength(std::string_view text, std::size_t position)
{
    const auto byte = [&](std::size_t offset) {
        return position + offset < text.size() ? static_cast<unsigned char>(text[position + offset])
                                               : 0U;
    };
    const auto continues = [&](std::size_t offset) { return (byte(offset) & 0xC0U) == 0x80U; };
    const unsigned first = byte(0);
    if (first < 0x80) {
        return 1;
    }
    if (first >= 0xC2 && first <= 0xDF) {
        return continues(1) ? 2 : 0;
    }
    if (first >= 0xE0 && first <= 0xEF) {
        const unsigned low = first == 0xE0 ? 0xA0U : 0x80U;
        const unsigned high = first == 0xED ? 0x9FU : 0xBFU;
        return byte(1) >= low && byte(1) <= high && continues(2) ? 3 : 0;
    }
    if (first >= 0xF0 && first <= 0xF4) {
        const unsigned low = first == 0xF0 ? 0x90U : 0x80U;
        const unsigned high = first == 0xF4 ? 0x8FU : 0xBFU;
        return byte(1) >= low && byte(1) <= high && continues(2) && continues(3) ? 4 : 0;
    }
    return 0;
}

} // namespace

std::string toUtf8(std::string_view text)
{
    text = text.substr(0, text.find('\0'));
    std::string result;
    result.reserve(text.size());
    for (std::size_t position = 0; position < text.size();) {
        const std::size_t length = sequenceLength(text, position);
        if (length > 0) {
            result.append(text, position, length);
            position += length;
            continue;
        }
        const auto latin1 = static_cast<unsigned char>(text[position]);
        result.push_back(static_cast<char>(0xC0U | (latin1 >> 6U)));
        result.push_back(static_cast<char>(0x80U | (latin1 & 0x3FU)));
        ++position;
    }
    return result;
}

bool isValidUtf8(std::string_view text)
{
    for (std::size_t position = 0; position < text.size();) {
        // Nearly all of it is ASCII, which shows in 32 bytes at a time.
        std::array<std::uint64_t, 4> words;
        if (text.size() - position >= sizeof words) {
            std::memcpy(words.data(), text.data() + position, sizeof words);
            if (((words[0] | words[1] | words[2] | words[3]) & 0x8080808080808080U) == 0) {
                position += sizeof words;
                continue;
            }
        }
        const std::size_t length = sequenceLength(text, position);
        if (length == 0) {
            return false;
        }
        position += length;
    }
    return true;
}

std::string toValidUtf8(std::string_view text)
{
    std::string valid;
    valid.reserve(text.size());
    for (std::size_t position = 0; position < text.size();) {
        const std::size_t length = sequenceLength(text, position);
        valid += length > 0 ? text.substr(position, length) : std::string_view("\xEF\xBF\xBD");
        position += length > 0 ? length : 1;
    }
    return valid;
}

std::string_view trim(std::string_view text)
{
    const auto isBlank = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
    while (!text.empty() && isBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
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
    if (result.ec != std::errc() || result.ptr != end) {
        return std::nullopt;
    }
    constexpr std::uint64_t kMinimum = std::uint64_t{1} << 63U;
    const bool fits = isNegative ? magnitude <= kMinimum : base == 16 || magnitude < kMinimum;
    if (!fits) {
        return std::nullopt;
    }
    return static_cast<std::int64_t>(isNegative ? ~magnitude + 1 : magnitude);
}

std::optional<double> parseReal(std::string_view text)
{
    if (const auto integer = parseInteger(text)) {
        return static_cast<double>(*integer);
    }
    if (!text.empty() && text[0] == '+') {
        text.remove_prefix(1);
    }
    double value = 0.0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    if (result.ec != std::errc() || result.ptr != end) {
        return std::nullopt;
    }
    return value;
}

std::string formatReal(double value)
{
    std::array<char, 32> digits{};
    const auto end = std::to_chars(digits.begin(), digits.end(), value);
    return std::string(digits.data(), end.ptr);
}

namespace
{

/// How many characters from the first on need no escape.
std::size_t plainXml(std::string_view text)
{
    static constexpr auto kSpecial = [] {
        std::array<bool, 256> special{};
        special['&'] = special['<'] = special['>'] = special['"'] = true;
        return special;
    }();
    const auto* const special = std::find_if(
        text.begin(), text.end(), [](char c) { return kSpecial[static_cast<unsigned char>(c)]; });
    return static_cast<std::size_t>(special - text.begin());
}

} // namespace

void appendEscapedXml(std::string_view text, std::string* to)
{
    for (;;) {
        const std::size_t plain = plainXml(text);
        to->append(text.data(), plain);
        if (plain == text.size()) {
            return;
        }
        switch (text[plain]) {
        case '&':
            *to += "&amp;";
            break;
        case '<':
            *to += "&lt;";
            break;
        case '>':
            *to += "&gt;";
            break;
        default:
            *to += "&quot;";
        }
        text.remove_prefix(plain + 1);
    }
}

std::string escapeXml(std::string_view text)
{
    std::string escaped;
    appendEscapedXml(text, &escaped);
    return escaped;
}

const char* intern(const std::string& text)
{
    // Never destroyed: texts are read while the process exits.
    static std::mutex* const mutex = new std::mutex;
    static auto* const texts = new std::unordered_set<std::string>;
    const std::lock_guard<std::mutex> lock(*mutex);
    return texts->insert(text).first->c_str();
}

} // namespace base
