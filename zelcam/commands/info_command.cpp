#include "commands/info_command.h"

#include "common/feature.h"
#include "common/open_camera.h"

namespace commands
{

using common::Json;

namespace
{

/// Numbers of the stream; nothing when it cannot be opened.
Json streamOf(ZelCam::Device& device)
{
    ZelCam::Stream* const stream = device.GetStreamByIndex(0);
    if (stream == nullptr) {
        return Json::object();
    }
    Json result = {{"payload_bytes", stream->GetBufferSize()},
                   {"least_buffers", stream->GetMinNumBuffers()},
                   {"alignment", stream->GetBufferAlignment()}};
    stream->Release();
    return result;
}

} // namespace

InfoCommand::InfoCommand(CLI::App& parent)
    : Command(parent, "info", "Show who a camera is and what its pictures look like")
{
}

common::Exit InfoCommand::run(const Context& context)
{
    common::OpenCamera camera(context.options);
    ZelCam::DeviceInfo& info = *camera.found().info;
    Json result = {{"display", info.GetDisplayName()},
                   {"vendor", info.GetVendor()},
                   {"model", info.GetModel()},
                   {"serial", info.GetSerialNumber()},
                   {"name", info.GetUserDefinedName()},
                   {"version", info.GetVersion()},
                   {"address", info.GetIPAddress()},
                   {"interface", camera.found().interface->GetDescription()},
                   {"features", camera.features().GetCount()},
                   {"streams", camera.device().GetNumStreams()}};
    result.update(streamOf(camera.device()));
    for (const char* name : {"Width", "Height", "PixelFormat", "ExposureTime", "Gain",
                             "AcquisitionFrameRate", "AcquisitionResultingFrameRate", "TriggerMode",
                             "DeviceTemperature", "DeviceFirmwareVersion", "GevSCPSPacketSize"}) {
        if (ZelGenParam::Param* const found = camera.features().GetParam(name, nullptr)) {
            if (const Json value = common::valueOf(*found); !value.is_null()) {
                result[name] = value;
            }
        }
    }
    std::vector<std::vector<std::string>> rows;
    for (const auto& [key, value] : result.items()) {
        rows.push_back({key, common::valueText(value)});
    }
    context.printer.table(rows);
    context.printer.result(name(), result);
    return common::Exit::Ok;
}

} // namespace commands
