// What an acquisition needs of a camera's standard features.
#pragma once

#include "core/buffer_pool.h"
#include "zel_err.h"

#include <cstdint>

namespace genapi
{
class ChangeGate;
} // namespace genapi

namespace params
{
class ParamArray;
} // namespace params

namespace core
{

/// The camera's side of an acquisition, through its parameters. A feature that a camera lacks is
/// passed over: a frame grabber's camera may have no AcquisitionStart. Holds no lock.
class CameraControl
{
public:
    explicit CameraControl(params::ParamArray& parameters) : parameters_(parameters) {}

    /// Of the camera's parameters.
    genapi::ChangeGate& gate();
    /// TLParamsLocked: keeps what must not change during an acquisition.
    void lockTransport(bool locked);
    ZelCamErr start();
    /// AcquisitionStop; `atOnce`: AcquisitionAbort where the camera has it.
    ZelCamErr stop(bool atOnce);
    FrameGeometry geometry();
    /// PayloadSize, else what the geometry needs, else 0.
    std::uint64_t payloadSize();

private:
    ZelCamErr execute(const char* command);

    params::ParamArray& parameters_;
};

} // namespace core
