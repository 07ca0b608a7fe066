// One of the two loops of the receiver's benchmark, over a GigE Vision camera that is set up:
//     gige_loop ours|aravis ADDRESS ADAPTER SECONDS [OPTION=VALUE ...]
// Options: buffer (bytes of the socket; 0: as the system has it), ring (1: packet socket), nap
// (microseconds; ours), stops (1: tells the frames that no stop of a core disturbed apart).
// Prints frames, incomplete ones, seconds, processor seconds and lags as JSON.
#include "frame_lags.h"
#include "loop_clocks.h"
#include "zel_camera_api.h"
#include "zel_gen_param_api.h"

#include <arv.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace
{

constexpr int kBuffers = 16;
constexpr int kMostDescriptors = 1024;

struct Options {
    long long buffer = 16 << 20;
    bool ring = false;
    long long nap = -1;
    bool stops = false;
    double seconds = 2.0;
};

struct Figures {
    unsigned long frames = 0;
    unsigned long bad = 0;
};

/// The value at a part (0 to 1) of sorted ones; negative: there are none.
double at(const std::vector<double>& sorted, double part)
{
    return sorted.empty()
               ? -1.0
               : sorted[static_cast<std::size_t>(part * static_cast<double>(sorted.size() - 1))];
}

/// Calls take() until the time is over and prints what it added up.
template <class Take>
void measure(const Options& options, FrameLags& lags, Figures& figures, Take&& take)
{
    for (int i = 0; i < 2 * kBuffers; ++i) {
        take(); // Until all memory was touched.
    }
    figures = {};
    lags.clear();
    const double start = bench::seconds(CLOCK_MONOTONIC);
    const double cpu = bench::seconds(CLOCK_PROCESS_CPUTIME_ID);
    while (bench::seconds(CLOCK_MONOTONIC) < start + options.seconds) {
        take();
    }
    const double used = bench::seconds(CLOCK_PROCESS_CPUTIME_ID) - cpu;
    std::printf("{\"frames\": %lu, \"incomplete\": %lu, \"seconds\": %.6f, \"cpu\": %.6f, ",
                figures.frames, figures.bad, bench::seconds(CLOCK_MONOTONIC) - start, used);
    const std::vector<double> all = lags.all();
    const std::vector<double> undisturbed = lags.undisturbed();
    std::printf("\"lag50\": %.7f, \"lag99\": %.7f, ", at(all, 0.5), at(all, 0.99));
    std::printf("\"undisturbed\": %zu, \"undisturbed99\": %.7f}\n", undisturbed.size(),
                at(undisturbed, 0.99));
}

ZelCam::DeviceInfo* find(const char* address)
{
    ZelCam::InterfaceList* const list =
        ZelCam_GetSystem()->GetInterfaceList(ZelCam::kAllInterfaces);
    for (ZelCam::Interface* one = list->GetFirst(); one != nullptr; one = list->GetNext()) {
        one->ReEnumerateDevices(nullptr, 1000);
        ZelCam::DeviceInfoList* const devices = one->GetDeviceInfoList();
        for (ZelCam::DeviceInfo* info = devices->GetFirst(); info != nullptr;
             info = devices->GetNext()) {
            if (std::strcmp(info->GetIPAddress(), address) == 0) {
                return info;
            }
        }
    }
    return nullptr;
}

int ours(const char* address, const Options& options, FrameLags& lags)
{
    ZelCamErr err = 0;
    ZelCam::DeviceInfo* const info = find(address);
    ZelCam::Device* const device = info != nullptr ? ZelCam_CreateDevice(info, 2, &err) : nullptr;
    ZelCam::Stream* const stream = device != nullptr ? device->GetStreamByIndex(0) : nullptr;
    ZelGenParam::Array* const settings =
        stream != nullptr ? device->GetTransportParameters(&err) : nullptr;
    if (settings == nullptr) {
        std::fprintf(stderr, "no stream: %d\n", err);
        return 1;
    }
    // The system doubles what it is asked for.
    settings->SetIntegerValue("StreamSocketBufferSize",
                              options.buffer != 0 ? options.buffer : 212992 / 2);
    if (options.nap >= 0) {
        settings->SetIntegerValue("StreamReceiveNap", options.nap);
    }
    if (options.ring) {
        settings->SetEnumValueStr("StreamReceiveMethod", "Ring");
    }
    stream->AllocBufferQueue(nullptr, kBuffers);
    err = stream->StartAcquisition(~std::uint64_t{0}, 0);
    if (err != 0) {
        std::fprintf(stderr, "no start: %d\n", err);
        return 1;
    }
    Figures figures;
    measure(options, lags, figures, [&] {
        ZelCam::Buffer* const buffer = stream->GetBuffer(1000, &err);
        if (buffer != nullptr) {
            lags.frame(buffer->GetFrameID());
            ++(buffer->IsIncomplete() ? figures.bad : figures.frames);
            stream->QueueBuffer(buffer);
        }
    });
    stream->StopAcquisition(0);
    stream->Release();
    device->Release();
    return 0;
}

/// As ours: what the system grants to who has the right to ask.
void enlargeSockets(int bytes)
{
    for (int fd = 0; fd < kMostDescriptors; ++fd) {
        int type = 0;
        socklen_t size = sizeof type;
        if (::getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && type == SOCK_DGRAM) {
            ::setsockopt(fd, SOL_SOCKET, SO_RCVBUFFORCE, &bytes, sizeof bytes);
        }
    }
}

int aravis(const char* address, const Options& options, FrameLags& lags)
{
    GError* error = nullptr;
    ArvCamera* const camera = arv_camera_new(address, &error);
    if (camera == nullptr) {
        return 1;
    }
    arv_camera_gv_set_stream_options(camera, options.ring
                                                 ? ARV_GV_STREAM_OPTION_NONE
                                                 : ARV_GV_STREAM_OPTION_PACKET_SOCKET_DISABLED);
    arv_camera_gv_auto_packet_size(camera, nullptr);
    ArvStream* const stream = arv_camera_create_stream(camera, nullptr, nullptr, &error);
    const auto payload = static_cast<std::size_t>(arv_camera_get_payload(camera, nullptr));
    for (int i = 0; i < kBuffers; ++i) {
        arv_stream_push_buffer(stream, arv_buffer_new_allocate(payload));
    }
    if (options.buffer != 0 && !options.ring) {
        enlargeSockets(static_cast<int>(options.buffer));
    }
    arv_camera_start_acquisition(camera, nullptr);
    Figures figures;
    measure(options, lags, figures, [&] {
        ArvBuffer* const buffer = arv_stream_timeout_pop_buffer(stream, 1000000);
        if (buffer != nullptr) {
            lags.frame(arv_buffer_get_frame_id(buffer));
            ++(arv_buffer_get_status(buffer) == ARV_BUFFER_STATUS_SUCCESS ? figures.frames
                                                                          : figures.bad);
            arv_stream_push_buffer(stream, buffer);
        }
    });
    arv_camera_stop_acquisition(camera, nullptr);
    g_object_unref(stream);
    g_object_unref(camera);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 5) {
        return 2;
    }
    Options options;
    options.seconds = std::atof(argv[4]);
    for (int i = 5; i < argc; ++i) {
        const std::string text = argv[i];
        const std::size_t equals = text.find('=');
        const std::string name = text.substr(0, equals);
        const long long value = std::atoll(text.substr(equals + 1).c_str());
        if (name == "buffer") {
            options.buffer = value;
        } else if (name == "ring") {
            options.ring = value != 0;
        } else if (name == "nap") {
            options.nap = value;
        } else if (name == "stops") {
            options.stops = value != 0;
        } else {
            return 2;
        }
    }
    FrameLags lags(argv[3], options.stops);
    return std::strcmp(argv[1], "ours") == 0 ? ours(argv[2], options, lags)
                                             : aravis(argv[2], options, lags);
}
