// `zelcam view`: live pictures and features in the browser.
#pragma once

#include "commands/command.h"

namespace commands
{

class ViewCommand : public Command
{
public:
    explicit ViewCommand(CLI::App& parent);
    common::Exit run(const Context& context) override;

private:
    std::string address_ = "127.0.0.1";
    int port_ = 8470;
    std::string output_ = ".";
    double seconds_ = 0;
};

} // namespace commands
