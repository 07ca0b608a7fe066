// The argument-count guard of positional methods.
#pragma once

#include "module/binding/pycxx.h"
#include "module/binding/report.h"
#include "zel_err.h"

namespace binding
{

/// How many positional arguments a method needs, and the line that it writes when it got fewer
/// (null: none). More than needed are ignored.
struct Needs {
    Py_ssize_t count;
    const char* message;
};

/// True when there are too few arguments; the line is then written.
inline bool tooFew(const Py::Tuple& args, const Needs& needs)
{
    if (args.length() >= needs.count) {
        return false;
    }
    if (needs.message != nullptr) {
        report(needs.message);
    }
    return true;
}

/// The same for an object with a last error, which then becomes -40121.
inline bool tooFew(const Py::Tuple& args, const Needs& needs, ZelCamErr& lastError)
{
    if (!tooFew(args, needs)) {
        return false;
    }
    lastError = ZelErr::kNotEnoughArguments;
    return true;
}

} // namespace binding
