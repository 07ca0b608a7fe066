// The file that describes simulated cameras.
#include "input.h"
#include "simulator/camera_config.h"

#include <sys/mman.h>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text = fuzz::Input(data, size).rest();
    // One file in memory for all runs: it is read by its name, as users' files are.
    static const int file = memfd_create("cameras.json", 0);
    fuzz::require(ftruncate(file, 0) == 0 &&
                  pwrite(file, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()));
    std::string error;
    const auto interfaces =
        simulator::interfacesFromFile("/proc/self/fd/" + std::to_string(file), &error);
    fuzz::require(error.empty() || interfaces.empty());
    for (const auto& interface : interfaces) {
        for (const auto& camera : interface.cameras) {
            fuzz::require(camera.sensorWidth > 0 && camera.sensorHeight > 0 &&
                          !camera.pixelFormats.empty());
        }
    }
    return 0;
}
