// The manual page and the completions, made from what the parser knows.
#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace zelcam
{

/// `form` is "man", "bash" or "zsh".
std::string describeProgram(const CLI::App& app, const std::string& form);

} // namespace zelcam
