#include "commands/doctor_command.h"

#include "doctor/checks.h"

#include <unistd.h>

#include <algorithm>

namespace commands
{

using doctor::Finding;
using doctor::Findings;

namespace
{

/// The administrator needs no sudo, and a container has none.
std::string withoutSudo(std::string command)
{
    constexpr std::string_view kSudo = "sudo ";
    for (auto at = command.find(kSudo); at != std::string::npos; at = command.find(kSudo, at)) {
        command.erase(at, kSudo.size());
    }
    return command;
}

} // namespace

DoctorCommand::DoctorCommand(CLI::App& parent)
    : Command(parent, "doctor", "Look for what is wrong with this host and say how to mend it")
{
    app().add_flag("--fix", fix_, "offer to run each command that mends something; asks first");
    app().add_flag("--link", link_, "also take frames for two seconds and count what is lost");
    app().add_flag("--udev-rule", udevRule_, "only print the rule for USB3 Vision cameras");
    app().add_option("--root", root_, "look at this copy of /proc and /sys, not at this host");
}

common::Exit DoctorCommand::run(const Context& context)
{
    if (udevRule_) {
        context.printer.line(doctor::udevRule());
        context.printer.result(name(), {{"udev_rule", doctor::udevRule()}});
        return common::Exit::Ok;
    }
    if (fix_ && !root_.empty()) {
        throw common::Failure(common::Exit::Usage, "--fix mends this host only: leave --root out");
    }
    const doctor::HostFiles host(root_);
    Findings all;
    const auto add = [&](const Findings& more) {
        for (Finding finding : more) {
            if (host.isThisHost() && geteuid() == 0) {
                finding.mend = withoutSudo(finding.mend);
            }
            doctor::print(context.printer, finding);
            all.push_back(std::move(finding));
        }
    };
    add(doctor::checkNetwork(host));
    add(doctor::checkSystem(host));
    if (host.isThisHost()) {
        add(doctor::checkProducers());
        add(doctor::checkCameras(context.options));
        if (link_) {
            add(doctor::checkLink(context.options));
        }
    }
    common::Json list = common::Json::array();
    std::transform(all.begin(), all.end(), std::back_inserter(list), doctor::toJson);
    context.printer.result(name(), {{"findings", list}});
    const int failed = fix_ ? doctor::mend(all) : 0;
    const bool problem = std::any_of(all.begin(), all.end(), [](const Finding& finding) {
        return finding.level == doctor::Level::Problem;
    });
    return problem || failed > 0 ? common::Exit::Failed : common::Exit::Ok;
}

} // namespace commands
