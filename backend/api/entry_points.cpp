// The C entry points of the camera SDK.
#include "api/transports.h"
#include "core/system_impl.h"
#include "zel_camera_api.h"

#include <exception>

namespace
{

// Never destroyed: cameras may be streaming while the process ends, and the threads that carry
// their frames use all of it.
core::SystemImpl* makeSystem()
{
    try {
        return new core::SystemImpl(*new api::Transports, ZEL_VERSION);
    } catch (const std::exception&) {
        return nullptr;
    }
}

core::SystemImpl* theSystem()
{
    static core::SystemImpl* const system = makeSystem();
    return system;
}

} // namespace

extern "C" {

ZelCam::System* ZelCam_GetSystem() { return theSystem(); }

ZelCam::Device* ZelCam_CreateDevice(ZelCam::DeviceInfo* info, std::int32_t mode, ZelCamErr* err)
{
    core::SystemImpl* const system = theSystem();
    if (system == nullptr) {
        if (err != nullptr) {
            *err = ZelErr::kGenTLOutOfMemory;
        }
        return nullptr;
    }
    return system->openDevice(info, mode, err);
}
}
