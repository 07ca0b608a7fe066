#include "commands/run_command.h"

#include "common/feature.h"
#include "common/open_camera.h"

namespace commands
{

RunCommand::RunCommand(CLI::App& parent)
    : Command(parent, "run", "Run commands of the camera and wait until they are done")
{
    app().add_option("COMMAND", names_, "commands of the camera")->required();
}

common::Exit RunCommand::run(const Context& context)
{
    common::OpenCamera camera(context.options);
    for (const std::string& name : names_) {
        common::runCommand(camera.features(), name, context.options.frameMs());
        context.printer.line(name + ": done");
    }
    context.printer.result(name(), {{"done", names_}});
    return common::Exit::Ok;
}

} // namespace commands
