// Giving the interpreter lock away around a wait, and taking it on threads of the SDK.
#pragma once

#include "module/binding/pycxx.h"

namespace binding
{

/// Arranges that nobody waits for the interpreter lock once the interpreter goes away: a thread
/// that asked for it then would be ended in the middle of C++ code. From its exit handler on,
/// LockHold refuses, other threads that come back from withoutLock stay where they are, and the
/// handler lets those finish that were waiting already. What the interpreter still runs on its own
/// thread (exit handlers registered earlier, finalizers) goes on; it cannot join a thread that is
/// in withoutLock. Call once, with the lock held; throws
/// Py::BaseException.
void watchInterpreterExit();

/// True once the exit handler ran: nothing of this module may be used any more.
bool interpreterGone();

/// The interpreter lock on a thread that may or may not hold it, for the life of the object. False
/// when the interpreter is going away; the thread then must not touch Python.
class LockHold
{
public:
    LockHold();
    ~LockHold();
    LockHold(const LockHold&) = delete;
    LockHold& operator=(const LockHold&) = delete;

    explicit operator bool() const { return entered_; }

private:
    bool entered_;
    PyGILState_STATE state_{};
};

/// For threads that are being ended (abi::__forced_unwind): does not return when the interpreter
/// ends them because it went away. Unwinding on, they would release objects and, through whoever
/// catches everything on the way, end the process.
void stayIfInterpreterGone();

/// Takes the lock back for a thread that gave it away with PyEval_SaveThread; never returns when
/// the interpreter is going away.
void retakeLock(PyThreadState* state);

/// Runs `wait` without the interpreter lock; it must not touch Python objects.
template <class Wait> void withoutLock(Wait&& wait)
{
    PyThreadState* state = PyEval_SaveThread();
    try {
        wait();
    } catch (...) {
        retakeLock(state);
        throw;
    }
    retakeLock(state);
}

} // namespace binding
