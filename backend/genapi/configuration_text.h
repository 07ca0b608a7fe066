// The text of a configuration file, without regard to what a device has.
#pragma once

#include "genapi/configuration_file.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace genapi
{

/// One line: a feature, the selector entries that it belongs to (outermost first), its value.
struct ConfigurationLine {
    std::string name;
    std::vector<std::pair<std::string, std::string>> selectors;
    std::string value;
};

struct ConfigurationText {
    DeviceIdentity identity;
    std::vector<ConfigurationLine> lines;
};

/// False for what is not a configuration file. Line ends may be CR LF, comment lines may be
/// anything, a byte order mark is skipped.
bool parseConfiguration(std::string_view text, ConfigurationText* configuration);

std::string formatConfiguration(const ConfigurationText& configuration);

} // namespace genapi
