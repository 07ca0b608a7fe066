// What must hold for the references of a description before anything follows them.
#pragma once

#include "genapi/description.h"

#include <string>

namespace genapi
{

/// Marks what is reachable from the root category as a feature and what may be kept, and refuses
/// cycles, chains too deep to follow on a stack, and values whose evaluation would never end. False
/// with one line in `why`.
bool checkReferences(Description* description, std::string* why);

} // namespace genapi
