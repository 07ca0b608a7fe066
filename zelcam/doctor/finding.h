// What the doctor found, and how it is told.
#pragma once

#include "common/printer.h"

#include <string>
#include <vector>

namespace doctor
{

enum class Level { Good, Hint, Problem };

struct Finding {
    Level level;
    std::string topic; ///< Short and stable: "receive buffers".
    std::string found; ///< What was seen.
    std::string why;   ///< Why it matters; empty where all is well.
    std::string mend;  ///< A command for the shell that mends it; empty where there is none.
};

using Findings = std::vector<Finding>;

common::Json toJson(const Finding& finding);
/// Prints a finding as two to four lines.
void print(const common::Printer& printer, const Finding& finding);
/// Asks on the terminal for each finding that can be mended and runs its command; only with the
/// answer "y". Returns how many commands failed.
int mend(const Findings& findings);

} // namespace doctor
