// `zelcam list`: interfaces and cameras, and why a camera cannot be opened.
#pragma once

#include "commands/command.h"

namespace commands
{

class ListCommand : public Command
{
public:
    explicit ListCommand(CLI::App& parent);
    common::Exit run(const Context& context) override;
};

} // namespace commands
