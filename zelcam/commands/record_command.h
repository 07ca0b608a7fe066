// `zelcam record`: a movie.
#pragma once

#include "commands/command.h"

namespace commands
{

class RecordCommand : public Command
{
public:
    explicit RecordCommand(CLI::App& parent);
    common::Exit run(const Context& context) override;

private:
    std::string output_;
    double seconds_ = 10;
    double rate_ = 0;
    std::string codec_;
};

} // namespace commands
