// What ends a command early, and the exit codes of the program.
#pragma once

#include "zel_err.h"

#include <stdexcept>
#include <string>

namespace common
{

/// Exit codes of the program; part of its documented face.
enum class Exit : int {
    Ok = 0,
    Failed = 1,   ///< The camera or the host refused.
    Usage = 2,    ///< The command line is wrong.
    NoCamera = 3, ///< No camera was found, or the choice fits several.
    Busy = 4,     ///< The camera is there but another program controls it.
    TimeOut = 5,  ///< Nothing came in time.
    File = 6,     ///< A file cannot be read or written.
    Stopped = 130 ///< Ctrl-C before the work was done; what was written is whole.
};

/// Thrown by commands. The text is one line that says what to do.
class Failure : public std::runtime_error
{
public:
    Failure(Exit exit, const std::string& text, ZelCamErr code = ZelErr::kOk);

    Exit exit() const { return exit_; }
    /// The code of the SDK, or 0.
    ZelCamErr code() const { return code_; }

private:
    Exit exit_;
    ZelCamErr code_;
};

/// What a code of the SDK means and what to do about it; never empty.
std::string adviceFor(ZelCamErr code);
/// "<what>: <advice> (code <code>)", with the exit code that fits.
Failure sdkFailure(const std::string& what, ZelCamErr code);
/// Throws sdkFailure unless the code is 0.
void check(const std::string& what, ZelCamErr code);

} // namespace common
