// Serves simulated cameras for the tests:
//     zel_test_serve [--config FILE] [--settings FILE] [--camera NAME]... ADDRESS...
// Prints a line for each camera and "ready", and runs until its standard input is closed, so that
// it never outlives its user. A line on its standard input is answered by the cameras' lines.
#include "zel_camera_serve.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <vector>

namespace
{

void list(const ZelServe* serve)
{
    for (uint32_t i = 0; i < ZelServe_GetCount(serve); ++i) {
        char line[256] = {};
        ZelServe_Describe(serve, i, line, sizeof line);
        std::puts(line);
    }
    std::puts("ready");
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv)
{
    ZelServeOptions options = {};
    std::vector<const char*> addresses;
    std::vector<const char*> cameras;
    for (int i = 1; i < argc; ++i) {
        const bool hasValue = i + 1 < argc;
        if (std::strcmp(argv[i], "--config") == 0 && hasValue) {
            options.configFile = argv[++i];
        } else if (std::strcmp(argv[i], "--settings") == 0 && hasValue) {
            options.settingsFile = argv[++i];
        } else if (std::strcmp(argv[i], "--camera") == 0 && hasValue) {
            cameras.push_back(argv[++i]);
        } else {
            addresses.push_back(argv[i]);
        }
    }
    options.size = sizeof options;
    options.addresses = addresses.data();
    options.addressCount = static_cast<uint32_t>(addresses.size());
    options.cameras = cameras.data();
    options.cameraCount = static_cast<uint32_t>(cameras.size());
    char error[512] = {};
    ZelServe* const serve = ZelServe_Start(&options, error, sizeof error);
    if (serve == nullptr) {
        std::fprintf(stderr, "%s\n", error);
        return 1;
    }
    list(serve);
    char byte = 0;
    while (::read(STDIN_FILENO, &byte, 1) > 0) {
        if (byte == '\n') {
            list(serve);
        }
    }
    ZelServe_Stop(serve);
    return 0;
}
