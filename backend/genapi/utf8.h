// UTF-8: what is handed out is always valid.
#pragma once

#include <string>
#include <string_view>

namespace genapi
{

bool isValidUtf8(std::string_view text);

/// A copy in which every byte that is not part of a valid sequence is U+FFFD.
std::string toValidUtf8(std::string_view text);

} // namespace genapi
