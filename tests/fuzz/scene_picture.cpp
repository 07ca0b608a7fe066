// Pictures that simulated cameras replay: PGM, PPM and PNG of any content.
#include "input.h"
#include "simulator/scene.h"

#include <sys/mman.h>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text = fuzz::Input(data, size).rest();
    static const int file = memfd_create("picture", 0);
    fuzz::require(ftruncate(file, 0) == 0 &&
                  pwrite(file, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()));
    std::string error;
    const auto scenes = simulator::loadScenes("/proc/self/fd/" + std::to_string(file), &error);
    fuzz::require(scenes.empty() != error.empty());
    for (const auto& scene : scenes) {
        fuzz::require(scene->width() > 0 && scene->height() > 0);
        // A sanitizer looks at the last value.
        volatile std::uint16_t last =
            scene->row(simulator::Scene::kLuma, scene->height() - 1)[scene->width() - 1];
        static_cast<void>(last);
    }
    return 0;
}
