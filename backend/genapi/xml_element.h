// Read access to elements of a parsed XML document.
#pragma once

#include <libxml/tree.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace genapi
{

/// First child element of `element`, and its next sibling element; null at the end.
const xmlNode* firstChild(const xmlNode* element);
const xmlNode* nextSibling(const xmlNode* element);

/// Name without prefix. Lives as long as the document.
std::string_view tagOf(const xmlNode* element);

/// All text of an element, trimmed: descriptions are often indented.
std::string textOf(const xmlNode* element);

/// Attribute value, trimmed; empty when absent.
std::string attributeOf(const xmlNode* element, const char* name);

/// Decimal or 0x hexadecimal, signed, or hexadecimal up to 64 bits.
std::optional<std::int64_t> parseInteger(std::string_view text);

/// Decimal with point and exponent, INF, NaN, or anything that parseInteger takes. Does not depend
/// on the locale.
std::optional<double> parseReal(std::string_view text);

std::string_view trim(std::string_view text);

} // namespace genapi
