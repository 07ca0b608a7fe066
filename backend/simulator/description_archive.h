// A description as cameras keep it: zipped.
#pragma once

#include <string>

namespace simulator
{

/// A zip file with one deflated entry; empty when it cannot be made.
std::string zipped(const std::string& entryName, const std::string& contents);

} // namespace simulator
