// `zelcam events`: what the camera reports by itself.
#pragma once

#include "commands/command.h"

namespace commands
{

class EventsCommand : public Command
{
public:
    explicit EventsCommand(CLI::App& parent);
    common::Exit run(const Context& context) override;

private:
    std::vector<std::string> names_;
    double seconds_ = 0;
    bool acquire_ = false;
};

} // namespace commands
