#include "doctor/finding.h"

#include <cstdio>
#include <cstdlib>
#include <iostream>

namespace doctor
{

namespace
{

const char* nameOf(Level level)
{
    switch (level) {
    case Level::Good:
        return "good";
    case Level::Hint:
        return "hint";
    default:
        return "problem";
    }
}

} // namespace

common::Json toJson(const Finding& finding)
{
    return {{"level", nameOf(finding.level)},
            {"topic", finding.topic},
            {"found", finding.found},
            {"why", finding.why},
            {"mend", finding.mend}};
}

void print(const common::Printer& printer, const Finding& finding)
{
    printer.line(std::string(finding.level == Level::Good   ? "good     "
                             : finding.level == Level::Hint ? "hint     "
                                                            : "PROBLEM  ") +
                 finding.topic + ": " + finding.found);
    if (!finding.why.empty()) {
        printer.line("         " + finding.why);
    }
    if (!finding.mend.empty()) {
        printer.line("         $ " + finding.mend);
    }
}

int mend(const Findings& findings)
{
    int failed = 0;
    for (const Finding& finding : findings) {
        if (finding.mend.empty()) {
            continue;
        }
        std::fprintf(stderr, "%s: run `%s`? [y/N] ", finding.topic.c_str(), finding.mend.c_str());
        std::string answer;
        if (!std::getline(std::cin, answer)) {
            break;
        }
        if (answer == "y" || answer == "Y") {
            // The command is ours but for names of adapters and of a camera's addresses, which the
            // checks let through only when they are made of harmless characters.
            failed += std::system(finding.mend.c_str()) == 0 ? 0 : 1;
        }
    }
    return failed;
}

} // namespace doctor
