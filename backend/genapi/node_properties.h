// What a description says of a single node in plain text: names, marks, numbers.
#pragma once

#include "genapi/description.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace genapi
{

/// Takes over the element `tag` with the text `text`; elements without meaning for us are passed
/// over. False when the text is no value of the element. `node` may not yet be in `description`,
/// to which ports add their data.
bool readProperty(Description* description, NodeDescription* node, std::string_view tag,
                  const std::string& text);

/// Beginner 0, Expert 1, Guru 2, Invisible 3; what is none of these is for everybody.
std::int32_t visibilityOf(std::string_view text);

} // namespace genapi
