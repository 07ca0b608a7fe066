// Texts that cross the boundary: always valid UTF-8, and pointers that stay good.
#include "base/text.h"

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

const char* intern(const std::string& text)
{
    // Never destroyed: texts are read while the process exits.
    static std::mutex* const mutex = new std::mutex;
    static auto* const texts = new std::unordered_set<std::string>;
    const std::lock_guard<std::mutex> lock(*mutex);
    return texts->insert(text).first->c_str();
}

} // namespace base
