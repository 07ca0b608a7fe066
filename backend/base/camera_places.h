// Where real cameras are looked for.
#pragma once

#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

namespace base
{

/// The names in ZELCAM_VISION when it is a list; "off" is one without a match.
inline std::vector<std::string> namedCameraPlaces()
{
    std::vector<std::string> names;
    const char* const setting = std::getenv("ZELCAM_VISION");
    std::istringstream list(setting != nullptr ? setting : "");
    for (std::string name; std::getline(list, name, ',');) {
        if (!name.empty() && name != "on" && name != "off") {
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
    const std::string list = std::string(",") + setting + ",";
    return list.find("," + name + ",") != std::string::npos;
}

} // namespace base
