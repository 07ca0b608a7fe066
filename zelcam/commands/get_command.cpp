#include "commands/get_command.h"

#include "common/feature.h"
#include "common/open_camera.h"

namespace commands
{

namespace
{

common::Failure unreadable(const std::string& name)
{
    return {common::Exit::Failed,
            name + " cannot be read now: `zelcam features " + name + "` shows its access"};
}

} // namespace

GetCommand::GetCommand(CLI::App& parent) : Command(parent, "get", "Print values of features")
{
    app().add_option("NAME", names_, "features")->required();
}

common::Exit GetCommand::run(const Context& context)
{
    common::OpenCamera camera(context.options);
    common::Json values = common::Json::object();
    for (const std::string& name : names_) {
        const common::Json value = common::valueOf(common::feature(camera.features(), name));
        if (value.is_null()) {
            throw unreadable(name);
        }
        values[name] = value;
        std::string line;
        if (names_.size() > 1) {
            line.append(name).append("=");
        }
        context.printer.line(line.append(common::valueText(value)));
    }
    context.printer.result(name(), {{"values", values}});
    return common::Exit::Ok;
}

} // namespace commands
