// `zelcam config`: the settings of a camera in a file.
#pragma once

#include "commands/command.h"

namespace commands
{

class ConfigCommand : public Command
{
public:
    explicit ConfigCommand(CLI::App& parent);
    common::Exit run(const Context& context) override;

private:
    CLI::App* save_;
    CLI::App* load_;
    std::string file_;
};

} // namespace commands
