// Texts that stay valid until the same thread reads the next value of the same parameter.
#pragma once

#include <string>

namespace params
{

/// Keeps `text` for the calling thread in place of the one that it got before for `key`, and
/// returns it. It lives until that, the end of the thread, or forgetValueTexts(owner). Thread safe.
const char* keepValueText(const void* owner, const void* key, std::string text);

/// Drops the texts of all threads for the keys of `owner`.
void forgetValueTexts(const void* owner);

} // namespace params
