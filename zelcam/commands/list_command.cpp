#include "commands/list_command.h"

#include "common/camera_choice.h"

namespace commands
{

using common::FoundCamera;
using common::Json;

ListCommand::ListCommand(CLI::App& parent)
    : Command(parent, "list", "Show interfaces and cameras, and why a camera cannot be opened")
{
}

common::Exit ListCommand::run(const Context& context)
{
    const auto cameras = common::findCameras(context.options.discoveryMs());
    Json list = Json::array();
    std::vector<std::vector<std::string>> rows = {
        {"#", "MODEL", "SERIAL", "NAME", "ADDRESS", "INTERFACE", "ACCESS"}};
    for (const FoundCamera& camera : cameras) {
        const std::string problem = common::accessProblem(camera);
        const std::string access = problem.empty() ? "free" : problem;
        const char* const kind = common::interfaceTypeName(camera.interface->GetType());
        rows.push_back(
            {std::to_string(camera.index), camera.info->GetModel(), camera.info->GetSerialNumber(),
             camera.info->GetUserDefinedName(), camera.info->GetIPAddress(),
             std::string(kind) + (common::isSimulated(camera) ? " (simulated)" : ""), access});
        list.push_back({{"index", camera.index},
                        {"display", camera.info->GetDisplayName()},
                        {"vendor", camera.info->GetVendor()},
                        {"model", camera.info->GetModel()},
                        {"serial", camera.info->GetSerialNumber()},
                        {"name", camera.info->GetUserDefinedName()},
                        {"version", camera.info->GetVersion()},
                        {"address", camera.info->GetIPAddress()},
                        {"mask", camera.info->GetIPMask()},
                        {"gateway", camera.info->GetIPGateway()},
                        {"interface", camera.interface->GetDescription()},
                        {"interface_type", kind},
                        {"simulated", common::isSimulated(camera)},
                        {"free", problem.empty()},
                        {"access", access}});
    }
    Json interfaces = Json::array();
    for (ZelCam::Interface* interface : common::allInterfaces()) {
        interfaces.push_back({{"type", common::interfaceTypeName(interface->GetType())},
                              {"description", interface->GetDescription()}});
        context.printer.note(std::string("interface: ") + interface->GetDescription());
    }
    if (cameras.empty()) {
        context.printer.line("no camera was found: `zelcam doctor` looks for the reason");
    } else {
        context.printer.table(rows);
    }
    context.printer.result(name(), {{"interfaces", interfaces}, {"cameras", list}});
    return common::Exit::Ok;
}

} // namespace commands
