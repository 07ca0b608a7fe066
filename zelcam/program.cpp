#include "program.h"

#include "common/camera_choice.h"
#include "common/interrupt.h"
#include "self_description.h"

#include <cstdio>

namespace zelcam
{

namespace
{

using common::Exit;
using common::Failure;

constexpr const char* kFooter =
    "\nAll commands take -c CAMERA, --set NAME=VALUE, --timeout MS, --provider FILE, --json and "
    "-v:\n"
    "see `zelcam --help`.\n"
    "\nCameras are chosen by serial number, user name, address, display name, model, number in\n"
    "`zelcam list`, or a part of the name; without a choice the first real camera is taken, else "
    "the\n"
    "first simulated one.\n\n"
    "Exit codes: 0 done, 1 the camera or the host refused, 2 wrong command line, 3 no camera or\n"
    "several fit, 4 another program controls the camera, 5 nothing came in time, 6 a file cannot "
    "be\n"
    "read or written, 130 stopped by Ctrl-C.";

} // namespace

Program::Program()
    : app_("Machine-vision cameras: find, set up, grab, record, view", "zelcam"), describe_(nullptr)
{
    app_.footer(kFooter);
    app_.require_subcommand(1);
    app_.fallthrough();
    app_.set_version_flag("--version", "zelcam " ZELCAM_VERSION);
    app_.add_option("-c,--camera", options_.cameras, "camera; some commands take several")
        ->allow_extra_args(false);
    app_.add_option("--timeout", options_.timeoutMs,
                    "milliseconds to wait for cameras to answer (1000) and for frames (5000)")
        ->check(CLI::Range(1U, 86400000U));
    app_.add_option("--provider", options_.providers, "load this GenTL producer (.cti) first")
        ->allow_extra_args(false);
    app_.add_option("--set", options_.settings, "write NAME=VALUE after opening the camera")
        ->allow_extra_args(false);
    app_.add_flag("--json", options_.json, "JSON on standard output");
    app_.add_flag("-v,--verbose", options_.verbose, "say more on standard error");
    commands_ = commands::allCommands(app_);
    for (CLI::App* const command : app_.get_subcommands({})) {
        command->fallthrough();
        for (CLI::App* const inner : command->get_subcommands({})) {
            inner->fallthrough();
        }
    }
    // Hidden: what the build makes the manual page and the completions of.
    describe_ = app_.add_subcommand("describe", "Print the program's own description");
    describe_->group("");
    describe_->add_option("FORM", form_)->required()->check(CLI::IsMember({"man", "bash", "zsh"}));
}

int Program::run(int count, char** arguments)
{
    try {
        app_.parse(count, arguments);
    } catch (const CLI::CallForHelp& help) {
        return app_.exit(help);
    } catch (const CLI::CallForVersion& version) {
        return app_.exit(version);
    } catch (const CLI::ParseError& error) {
        std::fprintf(stderr, "zelcam: %s; `zelcam --help` shows how it is called\n", error.what());
        return static_cast<int>(Exit::Usage);
    }
    return runChosen();
}

int Program::runChosen()
{
    if (describe_->parsed()) {
        std::fputs(describeProgram(app_, form_).c_str(), stdout);
        return 0;
    }
    const common::Printer printer(options_.json, options_.verbose);
    std::string name;
    try {
        common::watchInterrupts();
        common::loadProviders(options_);
        for (const auto& command : commands_) {
            if (command->chosen()) {
                name = command->name();
                return static_cast<int>(command->run({options_, printer}));
            }
        }
        throw Failure(Exit::Usage, "no command was given");
    } catch (const Failure& failure) {
        printer.failure(name, failure);
        return static_cast<int>(failure.exit());
    } catch (const std::exception& error) {
        printer.failure(name, Failure(Exit::Failed, error.what()));
        return static_cast<int>(Exit::Failed);
    }
}

} // namespace zelcam
