// `zelcam get`: values of features.
#pragma once

#include "commands/command.h"

namespace commands
{

class GetCommand : public Command
{
public:
    explicit GetCommand(CLI::App& parent);
    common::Exit run(const Context& context) override;

private:
    std::vector<std::string> names_;
};

} // namespace commands
