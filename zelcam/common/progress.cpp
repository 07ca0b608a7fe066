#include "common/progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace common
{

namespace
{

constexpr int kWidth = 30;
constexpr std::chrono::milliseconds kRedraw{100};
constexpr std::chrono::seconds kLineEvery{5};

std::string bar(double share)
{
    const int filled = static_cast<int>(share * kWidth);
    std::string text = "[";
    for (int i = 0; i < kWidth; ++i) {
        text += i < filled ? '#' : '.';
    }
    return text + "] ";
}

} // namespace

Progress::Progress(bool quiet) : quiet_(quiet), terminal_(isatty(STDERR_FILENO) == 1) {}

Progress::~Progress()
{
    if (drawn_) {
        std::fputs("\r\033[K", stderr);
    }
}

void Progress::show(double share, const std::string& text)
{
    if (quiet_) {
        return;
    }
    const auto now = Clock::now();
    const bool known = share >= 0;
    const double part = std::clamp(share, 0.0, 1.0);
    if (terminal_) {
        if (now - last_ >= kRedraw || part >= 1) {
            std::fprintf(stderr, "\r\033[K%s%s", known ? bar(part).c_str() : "", text.c_str());
            last_ = now;
            drawn_ = true;
        }
        return;
    }
    const int tenth = static_cast<int>(part * 10);
    if (known ? tenth > lastTenth_ : now - last_ >= kLineEvery) {
        if (known) {
            std::fprintf(stderr, "%3d %%  ", tenth * 10);
        }
        std::fprintf(stderr, "%s\n", text.c_str());
        lastTenth_ = tenth;
        last_ = now;
    }
}

} // namespace common
