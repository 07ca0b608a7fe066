// Files that are read and written as a whole.
#pragma once

#include "zel_err.h"

#include <cstddef>
#include <string>

namespace base
{

/// Reads a regular file of at most `limit` bytes. -40007 null or empty name, -40002 no such file,
/// -40003 anything else. Devices, pipes and directories are never opened for good.
ZelCamErr readWholeFile(const char* file, std::size_t limit, std::string* content);

/// Replaces a file or makes it, as base::ReplacedFile does: a reader sees the old content or all of
/// the new one. -40007 null or empty name, -40002 no such directory, -40003 anything else.
ZelCamErr replaceFile(const char* file, const std::string& content);

} // namespace base
