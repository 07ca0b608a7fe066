// The one catch point between C++ exceptions and Python.
#pragma once

#include "module/binding/pycxx.h"

namespace binding
{

/// Call inside a catch block. Leaves the exception under way as a Py::BaseException with the Python
/// error set, the only kind that the object layer turns into a Python error; any other would end
/// the process. A thread that is being cancelled goes on unwinding.
[[noreturn]] void rethrowAsPython();

/// Runs a method body; whatever it throws arrives in Python as an exception.
template <class Body> Py::Object guarded(Body&& body)
{
    try {
        return body();
    } catch (...) {
        rethrowAsPython();
    }
}

} // namespace binding
