// Simulated cameras as GigE Vision devices on this host's addresses.
#pragma once

#include "simulator/camera_config.h"
#include "simulator/gige/served_camera.h"

#include <memory>
#include <string>
#include <vector>

namespace simulator::gige
{

struct ServerOptions {
    std::vector<std::string> addresses; ///< Dotted; the first ones get the cameras.
    std::string configFile;             ///< Description of cameras; empty: the built-in ones.
    std::vector<std::string> cameras;   ///< Serial numbers or models; empty: all GigE ones.
    std::string settingsFile;           ///< What outlives a restart; empty: nothing.
};

/// Serves from construction to destruction. Addresses beyond the number of cameras are spare:
/// cameras can be moved to them.
class CameraServer
{
public:
    /// Throws std::runtime_error with a text for people.
    explicit CameraServer(const ServerOptions& options);

    const std::vector<std::unique_ptr<ServedCamera>>& cameras() const { return cameras_; }

private:
    std::unique_ptr<AddressPool> pool_;
    std::unique_ptr<SettingsFile> file_;
    std::vector<std::unique_ptr<ServedCamera>> cameras_; // last: they use the rest
};

} // namespace simulator::gige
