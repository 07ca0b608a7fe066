// `zelcam forceip`: gives a GigE Vision camera an address.
#pragma once

#include "commands/command.h"

namespace commands
{

class ForceIpCommand : public Command
{
public:
    explicit ForceIpCommand(CLI::App& parent);
    common::Exit run(const Context& context) override;

private:
    std::string address_;
    std::string mask_ = "255.255.255.0";
    std::string gateway_ = "0.0.0.0";
};

} // namespace commands
