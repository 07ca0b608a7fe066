// Takes the description out of the zip archive in which cameras keep it.
#pragma once

#include "zel_err.h"

#include <cstddef>
#include <string>

namespace genapi
{

/// Documents above this size are refused, packed or not.
constexpr std::size_t kMaxDocumentSize = std::size_t{16} << 20;

/// True for what begins like a zip archive.
bool isZip(const std::string& document);

/// The first .xml member (else the first member), stored or deflated. -40201 for a broken archive,
/// other methods, encryption, or more than kMaxDocumentSize bytes. Throws std::bad_alloc.
ZelCamErr unzip(const std::string& archive, std::string* member);

} // namespace genapi
