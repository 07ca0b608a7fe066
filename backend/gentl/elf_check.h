// Whether a file can be a shared library at all, before the loader touches it.
#pragma once

#include <string>

namespace gentl
{

/// Why a file must not be given to the loader, or empty. The loader maps what the headers promise
/// and dies of a signal when the file ends before (a copy under way, a full disk); a pipe or an
/// endless device would keep it for ever. Reads the headers only, never blocks.
std::string whyNotLoadable(const std::string& path);

} // namespace gentl
