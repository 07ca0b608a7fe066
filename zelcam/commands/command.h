// A command of the program: how it is called and what it does.
#pragma once

#include "common/failure.h"
#include "common/options.h"
#include "common/printer.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <string>
#include <vector>

namespace commands
{

/// What a command works with.
struct Context {
    const common::Options& options;
    const common::Printer& printer;
};

/// One command. Its constructor declares the arguments at `app`, which outlives it; they are filled
/// in by the parser before run().
class Command
{
public:
    Command(CLI::App& parent, const std::string& name, const std::string& description)
        : app_(parent.add_subcommand(name, description))
    {
    }
    virtual ~Command() = default;
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    bool chosen() const { return app_->parsed(); }
    std::string name() const { return app_->get_name(); }
    /// Does it. Failure (and any other exception) ends it.
    virtual common::Exit run(const Context& context) = 0;

protected:
    CLI::App& app() { return *app_; }

private:
    CLI::App* app_;
};

/// Every command, in the order in which help shows them; declared at `parent`.
std::vector<std::unique_ptr<Command>> allCommands(CLI::App& parent);

} // namespace commands
