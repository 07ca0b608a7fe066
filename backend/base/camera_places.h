// Where real cameras are looked for.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

namespace base
{

/// The names in ZELCAM_VISION as they stand there, "on" and "off" too.
inline std::vector<std::string> namedCameraPlaces()
{
    std::vector<std::string> names;
    const char* const setting = std::getenv("ZELCAM_VISION");
    std::istringstream list(setting != nullptr ? setting : "");
    for (std::string name; std::getline(list, name, ',');) {
        if (!name.empty()) {
            names.push_back(name);
        }
    }
    return names;
}

/// What ZELCAM_VISION says of a network adapter's name, or of "usb": everything is allowed when it
/// is unset, empty or "on", else the names in the list ("off" is a list without a match).
/// Header-only.
inline bool camerasAllowedAt(const std::string& name)
{
    const char* const setting = std::getenv("ZELCAM_VISION");
    if (setting == nullptr || *setting == '\0' || std::strcmp(setting, "on") == 0) {
        return true;
    }
    const std::vector<std::string> names = namedCameraPlaces();
    return std::find(names.begin(), names.end(), name) != names.end();
}

} // namespace base
