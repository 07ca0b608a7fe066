// A GigE Vision camera on loopback for the tests: gige_camera ADDRESS SERIAL [LOST_PER_THOUSAND].
// Prints "ready" and runs until its standard input is closed, so that it never outlives its user.
#include <arv.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv)
{
    if (argc < 3) {
        return 2;
    }
    ArvGvFakeCamera* camera = arv_gv_fake_camera_new(argv[1], argv[2]);
    if (!arv_gv_fake_camera_is_running(camera)) {
        std::fprintf(stderr, "no camera at %s\n", argv[1]);
        return 1;
    }
    if (argc > 3) {
        g_object_set(camera, "gvsp-lost-ratio", std::atof(argv[3]) / 1000.0, nullptr);
    }
    std::puts("ready");
    std::fflush(stdout);
    char byte = 0;
    while (::read(STDIN_FILENO, &byte, 1) > 0) {
    }
    g_object_unref(camera);
    return 0;
}
