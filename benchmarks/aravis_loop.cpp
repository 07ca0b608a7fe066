// The rival of the GigE and USB3 benchmarks: Aravis's own loop over a camera, in C.
// aravis_loop ADDRESS|usb WIDTH HEIGHT SECONDS [use|wait] prints figures as JSON. It copies each
// frame, as a script that keeps it would; with "use" it looks at it where it lies; with "wait" it
// takes 100 a second and tells how late they are.
#include "loop_clocks.h"

#include <arv.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace
{

ArvCamera* open(const char* address, GError** error)
{
    if (std::strcmp(address, "usb") != 0) {
        return arv_camera_new(address, error);
    }
    arv_disable_interface("GigEVision");
    return arv_camera_new(nullptr, error);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 5 && argc != 6) {
        return 2;
    }
    const std::string how = argc == 6 ? argv[5] : "copy";
    GError* error = nullptr;
    ArvCamera* camera = open(argv[1], &error);
    if (camera == nullptr) {
        return 1;
    }
    if (arv_camera_is_uv_device(camera)) {
        arv_camera_uv_set_usb_mode(camera, ARV_UV_USB_MODE_ASYNC); // the faster one
    }
    arv_camera_set_region(camera, 0, 0, std::atoi(argv[2]), std::atoi(argv[3]), nullptr);
    arv_camera_set_exposure_time(camera, 10.0, nullptr);
    arv_camera_set_frame_rate(camera, how == "wait" ? 100.0 : 5000.0, nullptr);
    ArvStream* stream = arv_camera_create_stream(camera, nullptr, nullptr, &error);
    const auto payload = static_cast<std::size_t>(arv_camera_get_payload(camera, nullptr));
    for (int i = 0; i < 16; ++i) {
        arv_stream_push_buffer(stream, arv_buffer_new_allocate(payload));
    }
    arv_camera_start_acquisition(camera, nullptr);
    std::vector<char> kept(payload);
    std::vector<double> late;
    const double until = bench::seconds(CLOCK_MONOTONIC) + std::atof(argv[4]);
    const double start = bench::seconds(CLOCK_MONOTONIC);
    const double cpu = bench::processorSeconds();
    unsigned long frames = 0;
    unsigned long bad = 0;
    while (bench::seconds(CLOCK_MONOTONIC) < until) {
        ArvBuffer* buffer = arv_stream_timeout_pop_buffer(stream, 1000000);
        if (buffer == nullptr) {
            continue;
        }
        if (how == "wait") {
            late.push_back(bench::sinceLastByte());
        }
        std::size_t size = 0;
        const auto* data = static_cast<const char*>(arv_buffer_get_data(buffer, &size));
        if (arv_buffer_get_status(buffer) == ARV_BUFFER_STATUS_SUCCESS) {
            if (how == "copy") {
                kept.assign(data, data + size);
            } else {
                kept[0] = static_cast<char>(kept[0] + data[0]);
            }
            ++frames;
        } else {
            ++bad;
        }
        arv_stream_push_buffer(stream, buffer);
    }
    const double elapsed = bench::seconds(CLOCK_MONOTONIC) - start;
    std::printf("{\"frames\": %lu, \"incomplete\": %lu, \"seconds\": %.6f, \"cpu\": %.6f, "
                "\"late\": %.9f}\n",
                frames, bad, elapsed, bench::processorSeconds() - cpu, bench::median(late));
    arv_camera_stop_acquisition(camera, nullptr);
    g_object_unref(stream);
    g_object_unref(camera);
    return 0;
}
