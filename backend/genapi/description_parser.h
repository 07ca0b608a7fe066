// Reads a GenICam description, checks it as a whole and makes the model of it.
#pragma once

#include "genapi/description.h"
#include "zel_err.h"

#include <string>

namespace genapi
{

/// Makes the model of a document: XML, or a zip archive that holds it. All or nothing: 0, or -40201
/// with one line in `why` (which names the line of the document where there is one) and
/// `*description` untouched; -1021 without memory. What stands before the first `<` and zeros
/// behind the end are no trouble. Refused are: text that is not well-formed, a document type,
/// another root element, no root category, two nodes of one name, references to nodes that do not
/// exist, values that depend on themselves, numbers that are none, registers of impossible sizes,
/// chains and sums of references that no camera needs, and documents above 16 MB. Thread safe.
ZelCamErr parseDescription(const std::string& document, Description* description, std::string* why);

} // namespace genapi
