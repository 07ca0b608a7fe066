// `zelcam doctor`: what is wrong with this host, why it matters and how to mend it.
#pragma once

#include "commands/command.h"

namespace commands
{

class DoctorCommand : public Command
{
public:
    explicit DoctorCommand(CLI::App& parent);
    common::Exit run(const Context& context) override;

private:
    std::string root_;
    bool fix_ = false;
    bool udevRule_ = false;
    bool link_ = false;
};

} // namespace commands
