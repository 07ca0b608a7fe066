#include "commands/config_command.h"

#include "common/open_camera.h"

namespace commands
{

ConfigCommand::ConfigCommand(CLI::App& parent)
    : Command(parent, "config", "Save the settings of a camera to a file, or load them"),
      save_(app().add_subcommand("save", "Save the settings to FILE")),
      load_(app().add_subcommand("load", "Load FILE into the camera: all of it or nothing"))
{
    app().require_subcommand(1);
    for (CLI::App* which : {save_, load_}) {
        which->add_option("FILE", file_, "settings file")->required();
    }
}

common::Exit ConfigCommand::run(const Context& context)
{
    common::OpenCamera camera(context.options);
    const bool saving = save_->parsed();
    common::check(file_, saving ? camera.device().SaveConfiguration(file_.c_str())
                                : camera.device().LoadConfiguration(file_.c_str()));
    context.printer.line(file_ + (saving ? ": saved" : ": loaded"));
    context.printer.result(name(), {{saving ? "saved" : "loaded", file_}});
    return common::Exit::Ok;
}

} // namespace commands
