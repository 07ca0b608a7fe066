#include "genapi/utf8.h"

#include <cstddef>

namespace genapi
{

namespace
{

unsigned char byteAt(std::string_view text, std::size_t position)
{
    return position < text.size() ? static_cast<unsigned char>(text[position]) : 0;
}

bool isContinuation(unsigned char byte) { return (byte & 0xC0U) == 0x80U; }

/// Bytes of the valid sequence at `position`; 0 when there is none.
std::size_t sequenceLength(std::string_view text, std::size_t position)
{
    const unsigned char first = byteAt(text, position);
    const unsigned char second = byteAt(text, position + 1);
    if (first < 0x80)
        return 1;
    if (first >= 0xC2 && first <= 0xDF)
        return isContinuation(second) ? 2 : 0;
    const bool tail = isContinuation(second) && isContinuation(byteAt(text, position + 2));
    if ((first & 0xF0U) == 0xE0U) {
        const bool overlong = first == 0xE0 && second < 0xA0;
        const bool surrogate = first == 0xED && second > 0x9F;
        return tail && !overlong && !surrogate ? 3 : 0;
    }
    if (first >= 0xF0 && first <= 0xF4) {
        const bool overlong = first == 0xF0 && second < 0x90;
        const bool beyond = first == 0xF4 && second > 0x8F;
        const bool complete = tail && isContinuation(byteAt(text, position + 3));
        return complete && !overlong && !beyond ? 4 : 0;
    }
    return 0;
}

} // namespace

bool isValidUtf8(std::string_view text)
{
    for (std::size_t position = 0; position < text.size();) {
        const std::size_t length = sequenceLength(text, position);
        if (length == 0)
            return false;
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
        if (length == 0) {
            valid += "\xEF\xBF\xBD";
            ++position;
        } else {
            valid += text.substr(position, length);
            position += length;
        }
    }
    return valid;
}

} // namespace genapi
