#include "commands/serve_command.h"

#include "common/interrupt.h"
#include "zel_camera_serve.h"

#include <algorithm>
#include <array>
#include <chrono>

namespace commands
{

namespace
{

/// Pointers to texts, which must outlive them.
std::vector<const char*> pointersTo(const std::vector<std::string>& texts)
{
    std::vector<const char*> pointers;
    std::transform(texts.begin(), texts.end(), std::back_inserter(pointers),
                   [](const std::string& text) { return text.c_str(); });
    return pointers;
}

} // namespace

ServeCommand::ServeCommand(CLI::App& parent)
    : Command(parent, "serve", "Serve simulated cameras as GigE Vision devices, for any software")
{
    app()
        .add_option("--address", addresses_,
                    "address of this host for a camera, such as 127.0.0.2; one camera each")
        ->required()
        ->check(CLI::ValidIPV4);
    app()
        .add_option("--config", config_, "JSON description of cameras; default: the built-in ones")
        ->check(CLI::ExistingFile);
    app().add_option("--settings", settings_,
                     "file that keeps names and persistent addresses over a restart");
    app()
        .add_option("-t,--seconds", seconds_, "how long; default: until Ctrl-C")
        ->check(CLI::PositiveNumber);
}

common::Exit ServeCommand::run(const Context& context)
{
    const auto addresses = pointersTo(addresses_);
    const auto cameras = pointersTo(context.options.cameras);
    ZelServeOptions options = {};
    options.size = sizeof options;
    options.addresses = addresses.data();
    options.addressCount = static_cast<std::uint32_t>(addresses.size());
    options.configFile = config_.empty() ? nullptr : config_.c_str();
    options.cameras = cameras.empty() ? nullptr : cameras.data();
    options.cameraCount = static_cast<std::uint32_t>(cameras.size());
    options.settingsFile = settings_.empty() ? nullptr : settings_.c_str();
    std::array<char, 512> text{};
    const std::unique_ptr<ZelServe, void (*)(ZelServe*)> served(
        ZelServe_Start(&options, text.data(), static_cast<std::uint32_t>(text.size())),
        ZelServe_Stop);
    if (served == nullptr) {
        throw common::Failure(common::Exit::Failed, std::string("cannot serve: ") + text.data());
    }
    for (std::uint32_t i = 0; i < ZelServe_GetCount(served.get()); ++i) {
        ZelServe_Describe(served.get(), i, text.data(), static_cast<std::uint32_t>(text.size()));
        context.printer.line(text.data());
        context.printer.item({{"camera", text.data()}});
    }
    context.printer.line("Ctrl-C ends it");
    const auto begin = std::chrono::steady_clock::now();
    const auto elapsed = [&] {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    };
    while (!common::interrupted() && (seconds_ <= 0 || elapsed() < seconds_)) {
        common::sleepMs(50);
    }
    context.printer.result(name(), {{"seconds", elapsed()}});
    return common::Exit::Ok;
}

} // namespace commands
