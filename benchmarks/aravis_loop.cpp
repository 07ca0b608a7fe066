// The rival of the GigE and USB3 benchmarks: Aravis's own loop over a camera, in C.
// aravis_loop ADDRESS|usb WIDTH HEIGHT SECONDS prints frames, bytes and CPU seconds as JSON.
#include <arv.h>
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <vector>

namespace
{

double seconds(clockid_t clock)
{
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

/// Processor time of this process without that of the camera's threads, where the libusb of the
/// tests has them in it.
double processorSeconds()
{
    using Get = long (*)(int, const char*);
    static const auto get = reinterpret_cast<Get>(dlsym(RTLD_DEFAULT, "zel_usb3_get"));
    const double bus = get != nullptr ? 1e-9 * static_cast<double>(get(0, "nanoseconds")) : 0.0;
    return seconds(CLOCK_PROCESS_CPUTIME_ID) - bus;
}

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
    if (argc != 5) {
        return 2;
    }
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
    arv_camera_set_frame_rate(camera, 5000.0, nullptr);
    ArvStream* stream = arv_camera_create_stream(camera, nullptr, nullptr, &error);
    const auto payload = static_cast<std::size_t>(arv_camera_get_payload(camera, nullptr));
    for (int i = 0; i < 16; ++i) {
        arv_stream_push_buffer(stream, arv_buffer_new_allocate(payload));
    }
    arv_camera_start_acquisition(camera, nullptr);
    // Copies each frame, as a script that keeps it would.
    std::vector<char> kept(payload);
    const double until = seconds(CLOCK_MONOTONIC) + std::atof(argv[4]);
    const double start = seconds(CLOCK_MONOTONIC);
    const double cpu = processorSeconds();
    unsigned long frames = 0;
    unsigned long bad = 0;
    while (seconds(CLOCK_MONOTONIC) < until) {
        ArvBuffer* buffer = arv_stream_timeout_pop_buffer(stream, 1000000);
        if (buffer == nullptr) {
            continue;
        }
        std::size_t size = 0;
        const auto* data = static_cast<const char*>(arv_buffer_get_data(buffer, &size));
        if (arv_buffer_get_status(buffer) == ARV_BUFFER_STATUS_SUCCESS) {
            kept.assign(data, data + size);
            ++frames;
        } else {
            ++bad;
        }
        arv_stream_push_buffer(stream, buffer);
    }
    const double elapsed = seconds(CLOCK_MONOTONIC) - start;
    std::printf("{\"frames\": %lu, \"incomplete\": %lu, \"seconds\": %.6f, \"cpu\": %.6f}\n",
                frames, bad, elapsed, processorSeconds() - cpu);
    arv_camera_stop_acquisition(camera, nullptr);
    g_object_unref(stream);
    g_object_unref(camera);
    return 0;
}
