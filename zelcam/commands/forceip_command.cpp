#include "commands/forceip_command.h"

#include "common/camera_choice.h"

namespace commands
{

ForceIpCommand::ForceIpCommand(CLI::App& parent)
    : Command(parent, "forceip", "Give a GigE Vision camera an address until it is switched off")
{
    app()
        .add_option("ADDRESS", address_, "such as 192.168.1.20")
        ->required()
        ->check(CLI::ValidIPV4);
    app().add_option("MASK", mask_)->check(CLI::ValidIPV4)->capture_default_str();
    app().add_option("GATEWAY", gateway_)->check(CLI::ValidIPV4)->capture_default_str();
}

common::Exit ForceIpCommand::run(const Context& context)
{
    if (context.options.cameras.empty()) {
        throw common::Failure(common::Exit::Usage, "say which camera with --camera");
    }
    const auto camera = common::chosenCamera(context.options);
    common::check(std::string("the address of ") + camera.info->GetDisplayName(),
                  camera.info->ForceIP(address_.c_str(), mask_.c_str(), gateway_.c_str()));
    context.printer.line(std::string(camera.info->GetDisplayName()) + ": " + address_);
    context.printer.result(name(), {{"serial", camera.info->GetSerialNumber()},
                                    {"address", address_},
                                    {"mask", mask_},
                                    {"gateway", gateway_}});
    return common::Exit::Ok;
}

} // namespace commands
