// Lists the cameras, grabs one frame from the first one and saves it as a picture.
#include "zel_camera_api.h"
#include "zel_gen_param_api.h"
#include "zel_image_api.h"

#include <cstdio>

namespace
{

void listCameras(ZelCam::System& system)
{
    ZelCam::InterfaceList* const interfaces = system.GetInterfaceList(255);
    if (interfaces == nullptr) {
        return;
    }
    for (ZelCam::Interface* each = interfaces->GetFirst(); each != nullptr;
         each = interfaces->GetNext()) {
        bool changed = false;
        each->ReEnumerateDevices(&changed, 1000);
        ZelCam::DeviceInfoList* const infos = each->GetDeviceInfoList();
        if (infos == nullptr) {
            continue;
        }
        for (ZelCam::DeviceInfo* info = infos->GetFirst(); info != nullptr;
             info = infos->GetNext()) {
            std::printf("%s, serial %s\n", info->GetDisplayName(), info->GetSerialNumber());
        }
        infos->Release();
    }
    interfaces->Release();
}

// Mono8 lets every camera's frame be saved without demosaicing.
bool grabAndSave(ZelCam::Device& device, const char* fileName)
{
    ZelCamErr err = 0;
    if (ZelGenParam::Array* const camera = device.GetCameraParameters(&err)) {
        camera->SetEnumValueStr("PixelFormat", "Mono8");
    }
    ZelCam::Stream* const stream = device.GetStreamByIndex(0);
    if (stream == nullptr) {
        return false;
    }
    bool saved = false;
    if (stream->AllocBufferQueue(nullptr, 4) == 0 &&
        stream->StartAcquisition(ZelCam::kInfinite, 0) == 0) {
        if (ZelCam::Buffer* const frame = stream->GetBuffer(2000, &err)) {
            ZelImageSerializer* const serializer = ZelImageSerializer_CreateComponent(0);
            saved = ZelImageSerializer_Save(serializer, frame->GetImage(), fileName) == 0;
            ZelImageSerializer_DeleteComponent(serializer);
            stream->QueueBuffer(frame);
        }
        stream->StopAcquisition(0);
    }
    stream->Release();
    return saved;
}

} // namespace

int main(int argc, char** argv)
{
    const char* const fileName = argc > 1 ? argv[1] : "first_frame.png";
    ZelCam::System* const system = ZelCam_GetSystem();
    if (system == nullptr) {
        std::fprintf(stderr, "no camera system\n");
        return 1;
    }
    listCameras(*system);
    ZelCamErr err = 0;
    ZelCam::Device* const device = ZelCam_CreateDevice(nullptr, 2, &err);
    if (device == nullptr) {
        std::fprintf(stderr, "no camera could be opened: code %d\n", err);
        return 1;
    }
    const bool saved = grabAndSave(*device, fileName);
    device->Release();
    std::printf(saved ? "saved %s\n" : "%s could not be saved\n", fileName);
    return saved ? 0 : 1;
}
