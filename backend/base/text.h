// Texts that cross the boundary: valid UTF-8, numbers without a locale, pointers that stay good.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace base
{

/// The text itself when it is valid UTF-8, else a copy whose offending bytes are taken as
/// Latin-1 characters (what old cameras put into their strings). Ends at the first NUL.
std::string toUtf8(std::string_view text);

bool isValidUtf8(std::string_view text);

/// A copy in which every byte that is not part of a valid sequence is U+FFFD.
std::string toValidUtf8(std::string_view text);

/// Without the blanks and line ends at both ends.
std::string_view trim(std::string_view text);

/// Decimal or 0x hexadecimal, signed, or hexadecimal up to 64 bits; nothing behind it.
std::optional<std::int64_t> parseInteger(std::string_view text);

/// Decimal with point and exponent, INF, NaN, or anything that parseInteger takes. Does not depend
/// on the locale.
std::optional<double> parseReal(std::string_view text);

/// The shortest text that parseReal turns into the same value. Does not depend on the locale.
std::string formatReal(double value);

/// The text as content or attribute of an XML element.
std::string escapeXml(std::string_view text);
void appendEscapedXml(std::string_view text, std::string* to);

/// A copy of the text that lives as long as the process; equal texts share one copy, so handing
/// out the same text for ever does not grow memory. Thread safe.
const char* intern(const std::string& text);

} // namespace base
