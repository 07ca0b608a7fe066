// A camera that is open as long as the object lives.
#pragma once

#include "common/camera_choice.h"
#include "zel_gen_param_api.h"

#include <memory>

namespace common
{

/// One owner. Its operations may be called from any thread.
class OpenCamera
{
public:
    /// Opens and writes the settings ("NAME=VALUE"); Failure with the reason.
    explicit OpenCamera(const FoundCamera& camera, const std::vector<std::string>& settings = {});
    /// The one camera that the options choose, with their settings.
    explicit OpenCamera(const Options& options);
    ~OpenCamera() = default;
    OpenCamera(const OpenCamera&) = delete;
    OpenCamera& operator=(const OpenCamera&) = delete;

    ZelCam::Device& device() { return *device_; }
    /// Features of the camera; Failure when its description cannot be used.
    ZelGenParam::Array& features();
    /// Features of the host's side; null when there are none.
    ZelGenParam::Array* transport();
    const FoundCamera& found() const { return found_; }

private:
    struct Releaser {
        void operator()(ZelCam::Device* device) const { device->Release(); }
    };

    FoundCamera found_;
    std::unique_ptr<ZelCam::Device, Releaser> device_;
};

} // namespace common
