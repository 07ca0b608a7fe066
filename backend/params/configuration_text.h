// The text of a configuration file, without regard to what a device has.
#pragma once

#include "params/configuration_file.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace params
{

/// One line: a feature, the selector entries that it belongs to (outermost first), its value.
struct ConfigurationLine {
    std::size_t number = 0; ///< In the file, from 1; 0: made here.
    std::string name;
    std::vector<std::pair<std::string, std::string>> selectors;
    std::string value;
};

struct ConfigurationText {
    DeviceIdentity identity;
    std::vector<ConfigurationLine> lines;
};

/// False for what is not a configuration file, with the number of the first line that is none in
/// `place`. Line ends may be CR LF, comment lines may be
/// anything, a byte order mark is skipped.
bool parseConfiguration(std::string_view text, ConfigurationText* configuration,
                        std::size_t* place);

std::string formatConfiguration(const ConfigurationText& configuration);

} // namespace params
