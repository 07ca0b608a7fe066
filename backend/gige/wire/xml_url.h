// Where a device's description lies, as its URL registers tell.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace gige::wire
{

enum class UrlKind {
    Empty,
    Local,   ///< In the device's memory.
    Foreign, ///< A file of the host, a web address, or something unknown: never followed.
};

struct XmlUrl {
    UrlKind kind = UrlKind::Empty;
    std::string_view name;     ///< Of the file; borrowed.
    std::uint32_t address = 0; ///< Local only.
    std::uint32_t length = 0;  ///< Local only; as told, to be limited by the reader.
};

/// Reads "Local:name;hex address;hex length", case of the scheme ignored; blanks, "0x", slashes
/// before the name and "?…" behind are put up with. A local one whose numbers do not fit 32 bits
/// or lead beyond the address space counts as foreign.
XmlUrl parseXmlUrl(std::string_view text);

/// The text of a local one; at most 512 bytes as long as the name is short enough.
std::string makeXmlUrl(std::string_view name, std::uint32_t address, std::uint32_t length);

} // namespace gige::wire
