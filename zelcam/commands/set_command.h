// `zelcam set`: writes features.
#pragma once

#include "commands/command.h"

namespace commands
{

class SetCommand : public Command
{
public:
    explicit SetCommand(CLI::App& parent);
    common::Exit run(const Context& context) override;

private:
    std::vector<std::string> assignments_;
};

} // namespace commands
