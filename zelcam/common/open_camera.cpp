#include "common/open_camera.h"

#include "common/failure.h"
#include "common/feature.h"

namespace common
{

namespace
{

constexpr std::int32_t kReadWrite = 2;

} // namespace

OpenCamera::OpenCamera(const FoundCamera& camera, const std::vector<std::string>& settings)
    : found_(camera)
{
    ZelCamErr err = ZelErr::kOk;
    device_.reset(ZelCam_CreateDevice(camera.info, kReadWrite, &err));
    if (device_ == nullptr) {
        throw sdkFailure(std::string("cannot open ") + camera.info->GetDisplayName(), err);
    }
    for (const std::string& assignment : settings) {
        assign(features(), assignment);
    }
}

OpenCamera::OpenCamera(const Options& options) : OpenCamera(chosenCamera(options), options.settings)
{
}

ZelGenParam::Array& OpenCamera::features()
{
    ZelCamErr err = ZelErr::kOk;
    ZelGenParam::Array* const array = device_->GetCameraParameters(&err);
    if (array == nullptr) {
        throw sdkFailure("the features of the camera", err);
    }
    return *array;
}

ZelGenParam::Array* OpenCamera::transport() { return device_->GetTransportParameters(nullptr); }

} // namespace common
