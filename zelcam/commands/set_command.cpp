#include "commands/set_command.h"

#include "common/feature.h"
#include "common/open_camera.h"

namespace commands
{

SetCommand::SetCommand(CLI::App& parent)
    : Command(parent, "set", "Write features, one after the other; the first refusal ends it")
{
    app().add_option("NAME=VALUE", assignments_, "what to write")->required();
}

common::Exit SetCommand::run(const Context& context)
{
    common::OpenCamera camera(context.options);
    common::Json values = common::Json::object();
    for (const std::string& assignment : assignments_) {
        const std::string name = common::assign(camera.features(), assignment);
        // What the camera made of it, which need not be what was written.
        const auto value = common::valueOf(common::feature(camera.features(), name));
        values[name] = value;
        context.printer.line(name + "=" + common::valueText(value));
    }
    context.printer.result(name(), {{"values", values}});
    return common::Exit::Ok;
}

} // namespace commands
