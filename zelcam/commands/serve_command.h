// `zelcam serve`: simulated cameras as GigE Vision devices on the network.
#pragma once

#include "commands/command.h"

namespace commands
{

class ServeCommand : public Command
{
public:
    explicit ServeCommand(CLI::App& parent);
    common::Exit run(const Context& context) override;

private:
    std::vector<std::string> addresses_;
    std::string config_;
    std::string settings_;
    double seconds_ = 0;
};

} // namespace commands
