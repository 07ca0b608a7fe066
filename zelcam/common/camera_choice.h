// Which cameras there are, and the one rule by which they are chosen.
#pragma once

#include "common/options.h"
#include "zel_camera_api.h"

#include <string>
#include <vector>

namespace common
{

struct FoundCamera {
    int index; ///< From 1, in the order of the list.
    ZelCam::Interface* interface;
    ZelCam::DeviceInfo* info;
};

/// Loads the producers that the options name.
void loadProviders(const Options& options);
/// The interfaces, real and simulated.
std::vector<ZelCam::Interface*> allInterfaces();
/// Looks for cameras on all interfaces at once, for at most so many milliseconds.
std::vector<FoundCamera> findCameras(std::uint32_t timeoutMs);

/// The cameras that a choice fits: the text is compared with serial number, user name, address,
/// display name and model, in this order, and the first kind that fits any camera decides; else it
/// is the number in `zelcam list` (`2` or `#2`); else a part of display name or user name, without
/// regard to case.
std::vector<FoundCamera> matching(const std::vector<FoundCamera>& cameras,
                                  const std::string& choice);
/// The one camera that the choice fits; Failure when there is none or more than one.
FoundCamera chooseOne(const std::vector<FoundCamera>& cameras, const std::string& choice);
/// The cameras of the options; without any, the default one: the first real camera that is free,
/// else the first simulated one. Never empty: Failure instead.
std::vector<FoundCamera> chosenCameras(const Options& options);
/// The same for commands that take one camera.
FoundCamera chosenCamera(const Options& options);

/// True for cameras of this SDK's own simulation.
bool isSimulated(const FoundCamera& camera);
/// "USB3 Vision" and so on.
const char* interfaceTypeName(std::int32_t type);
/// Access in words; empty when the camera is free.
std::string accessProblem(const FoundCamera& camera);

} // namespace common
