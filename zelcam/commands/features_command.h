// `zelcam features`: the tree of features, or those that fit a pattern.
#pragma once

#include "commands/command.h"

namespace commands
{

class FeaturesCommand : public Command
{
public:
    explicit FeaturesCommand(CLI::App& parent);
    common::Exit run(const Context& context) override;

private:
    std::string pattern_;
    std::string visibility_ = "expert";
    std::string module_ = "camera";
};

} // namespace commands
