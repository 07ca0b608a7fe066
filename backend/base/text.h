// Texts that cross the boundary: always valid UTF-8, and pointers that stay good.
#pragma once

#include <string>
#include <string_view>

namespace base
{

/// The text itself when it is valid UTF-8, else a copy whose offending bytes are taken as
/// Latin-1 characters (what old cameras put into their strings). Ends at the first NUL.
std::string toUtf8(std::string_view text);

/// A copy of the text that lives as long as the process; equal texts share one copy, so handing
/// out the same text for ever does not grow memory. Thread safe.
const char* intern(const std::string& text);

} // namespace base
