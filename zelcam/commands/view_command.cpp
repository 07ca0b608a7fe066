#include "commands/view_command.h"

#include "common/interrupt.h"
#include "view/view_server.h"

#include <malloc.h>

#include <chrono>
#include <thread>

namespace commands
{

ViewCommand::ViewCommand(CLI::App& parent)
    : Command(parent, "view", "Show live pictures and features in the browser")
{
    app()
        .add_option("--address", address_,
                    "where to serve; other than 127.0.0.1 the link holds a token")
        ->check(CLI::ValidIPV4)
        ->capture_default_str();
    app()
        .add_option("--port", port_, "0 takes any")
        ->check(CLI::Range(0, 65535))
        ->capture_default_str();
    app()
        .add_option("-o,--output", output_, "folder for snapshots and movies")
        ->check(CLI::ExistingDirectory)
        ->capture_default_str();
    app()
        .add_option("-t,--seconds", seconds_, "how long; default: until Ctrl-C")
        ->check(CLI::PositiveNumber);
}

common::Exit ViewCommand::run(const Context& context)
{
    // One arena for all threads of connections: what a burst of clients took is used again.
    mallopt(M_ARENA_MAX, 2);
    view::Sessions sessions;
    for (const common::FoundCamera& camera : common::chosenCameras(context.options)) {
        sessions.push_back(
            std::make_unique<view::CameraSession>(camera, context.options.settings, output_));
        context.printer.line(std::string("camera: ") + camera.info->GetDisplayName());
    }
    view::ViewServer server(sessions, address_, port_);
    context.printer.line("open " + server.link());
    context.printer.line("Ctrl-C ends it");
    context.printer.item({{"link", server.link()}});
    const auto begin = std::chrono::steady_clock::now();
    std::thread serving([&server] { server.serve(); });
    while (!common::interrupted()) {
        const double elapsed =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
        if (seconds_ > 0 && elapsed >= seconds_) {
            break;
        }
        common::sleepMs(50);
    }
    server.stop();
    serving.join();
    common::Json states = common::Json::array();
    for (const auto& session : sessions) {
        states.push_back(session->state());
    }
    context.printer.result(name(), {{"cameras", states}});
    return common::Exit::Ok;
}

} // namespace commands
