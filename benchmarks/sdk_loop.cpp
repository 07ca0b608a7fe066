// Our loop in C++ over the first camera, beside which aravis_loop stands.
// sdk_loop WIDTH HEIGHT SECONDS use|wait prints figures as JSON: "use" looks at each frame where it
// lies, as fast as they come; "wait" takes 100 a second and tells how late they are.
#include "loop_clocks.h"
#include "zel_camera_api.h"
#include "zel_gen_param_api.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace
{

ZelCam::Device* openFirst()
{
    ZelCam::InterfaceList* const interfaces = ZelCam_GetSystem()->GetInterfaceList(255);
    for (ZelCam::Interface* interface = interfaces->GetFirst(); interface != nullptr;
         interface = interfaces->GetNext()) {
        bool changed = false;
        interface->ReEnumerateDevices(&changed, 1000);
    }
    interfaces->Release();
    ZelCamErr err = 0;
    return ZelCam_CreateDevice(nullptr, 2, &err);
}

} // namespace

int main(int argc, char** argv)
{
    ZelCam::Device* const device = argc == 5 ? openFirst() : nullptr;
    if (device == nullptr) {
        return 1;
    }
    const bool waits = std::string(argv[4]) == "wait";
    ZelCamErr err = 0;
    ZelGenParam::Array* const camera = device->GetCameraParameters(&err);
    camera->SetIntegerValue("Width", std::atoi(argv[1]));
    camera->SetIntegerValue("Height", std::atoi(argv[2]));
    if (waits) {
        camera->SetFloatValue("ExposureTime", 100.0);
        camera->SetBooleanValue("AcquisitionFrameRateEnable", true);
        camera->SetFloatValue("AcquisitionFrameRate", 100.0);
    }
    ZelCam::Stream* const stream = device->GetStreamByIndex(0);
    stream->AllocBufferQueue(nullptr, 16);
    stream->StartAcquisition(~std::uint64_t{0}, 0);
    const double start = bench::seconds(CLOCK_MONOTONIC);
    const double cpu = bench::processorSeconds();
    const double until = start + std::atof(argv[3]);
    unsigned long frames = 0;
    unsigned long sum = 0;
    std::vector<double> late;
    while (bench::seconds(CLOCK_MONOTONIC) < until) {
        ZelCam::Buffer* const buffer = stream->GetBuffer(1000, &err);
        if (buffer == nullptr) {
            continue;
        }
        if (waits) {
            late.push_back(bench::sinceLastByte());
        }
        frames += buffer->IsIncomplete() ? 0 : 1;
        sum += *static_cast<const unsigned char*>(buffer->GetBufferPtr());
        stream->QueueBuffer(buffer);
    }
    const double elapsed = bench::seconds(CLOCK_MONOTONIC) - start;
    std::printf(
        "{\"frames\": %lu, \"seconds\": %.6f, \"cpu\": %.6f, \"late\": %.9f, \"sum\": %lu}\n",
        frames, elapsed, bench::processorSeconds() - cpu, bench::median(late), sum);
    stream->StopAcquisition(0);
    device->Release();
    return 0;
}
