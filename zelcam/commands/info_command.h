// `zelcam info`: who a camera is, how it is reached, what its stream needs.
#pragma once

#include "commands/command.h"

namespace commands
{

class InfoCommand : public Command
{
public:
    explicit InfoCommand(CLI::App& parent);
    common::Exit run(const Context& context) override;
};

} // namespace commands
