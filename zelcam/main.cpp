// Entry point of the program zelcam.
#include "program.h"

#include <cstdio>
#include <exception>

int main(int count, char** arguments)
{
    try {
        return zelcam::Program().run(count, arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "zelcam: %s\n", error.what());
    }
    return 1;
}
