// Features of a camera as JSON and as text.
#pragma once

#include "common/printer.h"
#include "zel_gen_param_api.h"

#include <functional>
#include <string>

namespace common
{

/// What there is to know about a feature now: name, display, type, visibility, access ("RW", "RO",
/// "WO", "NA"), description, and where they apply value, min, max, increment, unit, entries (those
/// that can be chosen now), max_length. What cannot be read is left out.
Json describe(ZelGenParam::Param& feature);
/// Only the value; null when it cannot be read.
Json valueOf(ZelGenParam::Param& feature);
/// A value as people write it, the reverse of setValue.
std::string valueText(const Json& value);

/// The feature of this name; Failure when there is none.
ZelGenParam::Param& feature(ZelGenParam::Array& features, const std::string& name);
/// Writes a value given as text: decimal or 0x numbers, true/false/1/0/on/off, names of entries.
/// Failure when the text does not fit the type or the camera refuses.
void setValue(ZelGenParam::Array& features, const std::string& name, const std::string& text);
/// Writes "NAME=VALUE" and returns NAME; Failure also for texts of another form.
std::string assign(ZelGenParam::Array& features, const std::string& assignment);
/// Runs a command and waits until the camera has done it; Failure otherwise.
void runCommand(ZelGenParam::Array& features, const std::string& name, std::uint32_t timeoutMs);

/// Calls `visit(feature, depth)` for the tree below the root, categories before what they hold,
/// each place at most 20 deep. Features above the level (a kVis value) are left out.
void walk(ZelGenParam::Array& features, std::int64_t level,
          const std::function<void(ZelGenParam::Param&, int)>& visit);

/// The value of a number or 0/false when the feature is not there or cannot be read.
double numberOr(ZelGenParam::Array* features, const char* name, double otherwise);

} // namespace common
