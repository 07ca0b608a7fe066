// Where a module's description is, as its port tells it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace gentl
{

/// `local:name.xml;address;length` (in the register space) or `file:path`. Hexadecimal numbers, any
/// letter case of the scheme, a `?SchemaVersion=` at the end.
struct PortUrl {
    enum class Scheme { Local, File };
    Scheme scheme = Scheme::Local;
    std::string path; ///< Local: the name; file: the path, decoded.
    std::uint64_t address = 0;
    std::uint64_t length = 0;
};

/// Nothing for other schemes (http) and for what does not parse.
std::optional<PortUrl> parsePortUrl(const std::string& url);

} // namespace gentl
