// Reads a GenICam description, checks it as a whole and makes the model of it.
#pragma once

#include "genapi/description.h"
#include "zel_err.h"

#include <cstddef>
#include <string>

namespace genapi
{

/// Makes the model of a document: XML, or a zip archive that holds it; the document is used up. All
/// or nothing: 0, or -40201 with one line in `why`, `*place` (-1, or the byte of the XML text where
/// the trouble is, for lineAt()) and `*description` untouched; -1021 without memory. What stands
/// before the first `<` and zeros behind the end are no trouble. Refused are: text that is not
/// well-formed, a document type, another root element, no root category, two nodes of one name,
/// references to nodes that do not exist, values that depend on themselves, numbers that are none,
/// registers of impossible sizes, chains and sums of references that no camera needs, and documents
/// above 16 MB. Thread safe.
ZelCamErr parseDescription(std::string document, Description* description, std::string* why,
                           std::ptrdiff_t* place);

/// "line N: " for a place in the text of the same document; empty for none. Thread safe.
std::string lineAt(std::string document, std::ptrdiff_t place);

} // namespace genapi
