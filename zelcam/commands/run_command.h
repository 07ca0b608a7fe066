// `zelcam run`: starts commands of the camera.
#pragma once

#include "commands/command.h"

namespace commands
{

class RunCommand : public Command
{
public:
    explicit RunCommand(CLI::App& parent);
    common::Exit run(const Context& context) override;

private:
    std::vector<std::string> names_;
};

} // namespace commands
