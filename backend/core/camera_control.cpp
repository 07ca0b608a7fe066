// What an acquisition needs of a camera's standard features.
#include "core/camera_control.h"

#include "core/pixel_format.h"
#include "params/param_array.h"

namespace core
{

genapi::ChangeGate& CameraControl::gate() { return parameters_.gate(); }

void CameraControl::lockTransport(bool locked)
{
    static_cast<void>(parameters_.SetIntegerValue("TLParamsLocked", locked ? 1 : 0));
    // A camera without that feature may follow what the host does all the same.
    params::ParamArray::invalidate();
}

ZelCamErr CameraControl::start() { return execute("AcquisitionStart"); }

ZelCamErr CameraControl::stop(bool atOnce)
{
    if (atOnce && parameters_.ExecuteCommand("AcquisitionAbort") == ZelErr::kOk) {
        return ZelErr::kOk;
    }
    return execute("AcquisitionStop");
}

FrameGeometry CameraControl::geometry()
{
    const auto integer = [this](const char* name) {
        ZelCamErr code = ZelErr::kOk;
        const std::int64_t value = parameters_.GetIntegerValue(name, &code);
        return code == ZelErr::kOk && value > 0 ? value : 0;
    };
    FrameGeometry geometry;
    geometry.width = static_cast<std::uint64_t>(integer("Width"));
    geometry.height = static_cast<std::uint64_t>(integer("Height"));
    geometry.xOffset = integer("OffsetX");
    geometry.yOffset = integer("OffsetY");
    ZelCamErr code = ZelErr::kOk;
    const std::int64_t format = parameters_.GetEnumValue("PixelFormat", &code);
    geometry.pixelFormat = code == ZelErr::kOk ? static_cast<std::uint32_t>(format) : 0;
    return geometry;
}

std::uint64_t CameraControl::payloadSize()
{
    ZelCamErr code = ZelErr::kOk;
    const std::int64_t size = parameters_.GetIntegerValue("PayloadSize", &code);
    if (code == ZelErr::kOk && size > 0) {
        return static_cast<std::uint64_t>(size);
    }
    const FrameGeometry frame = geometry();
    return (frame.width * frame.height * pfncBitsPerPixel(frame.pixelFormat) + 7) / 8;
}

ZelCamErr CameraControl::execute(const char* command)
{
    const ZelCamErr code = parameters_.ExecuteCommand(command);
    return code == ZelErr::kParamUnknown ? ZelErr::kOk : code;
}

} // namespace core
