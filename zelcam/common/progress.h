// How far long work is: a bar on a terminal, now and then a line in a pipe; on standard error.
#pragma once

#include <chrono>
#include <string>

namespace common
{

/// One thread. The bar is wiped when the object goes.
class Progress
{
public:
    /// `quiet`: says nothing at all.
    explicit Progress(bool quiet);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// `share` from 0 to 1 (below 0: nobody knows how much there is), and a text behind the bar.
    /// Cheap enough to be called for every frame.
    void show(double share, const std::string& text);

private:
    using Clock = std::chrono::steady_clock;

    bool quiet_;
    bool terminal_;
    bool drawn_ = false;
    int lastTenth_ = 0;
    Clock::time_point last_{};
};

} // namespace common
