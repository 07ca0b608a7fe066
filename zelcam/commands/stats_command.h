// `zelcam stats`: how the stream of a camera fares, second by second.
#pragma once

#include "commands/command.h"

namespace commands
{

class StatsCommand : public Command
{
public:
    explicit StatsCommand(CLI::App& parent);
    common::Exit run(const Context& context) override;

private:
    double seconds_ = 0;
};

} // namespace commands
