// The program as a whole: options, commands, help, exit codes.
#pragma once

#include "commands/command.h"

namespace zelcam
{

class Program
{
public:
    Program();

    /// Parses and runs; returns the exit code. Throws nothing.
    int run(int count, char** arguments);

    const CLI::App& app() const { return app_; }

private:
    int runChosen();

    CLI::App app_;
    common::Options options_;
    std::vector<std::unique_ptr<commands::Command>> commands_;
    CLI::App* describe_;
    std::string form_;
};

} // namespace zelcam
