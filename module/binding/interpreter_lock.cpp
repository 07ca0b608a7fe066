#include "module/binding/interpreter_lock.h"

#include <cxxabi.h>
#include <pthread.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace binding
{

namespace
{

/// How long the end of the interpreter waits for event callbacks that are running.
constexpr std::chrono::milliseconds kExitPatience{500};

/// Counts the threads that are about to take the interpreter lock or hold it through us.
class Gate
{
public:
    bool enter()
    {
        const std::lock_guard<std::mutex> hold(mutex_);
        if (closed_) {
            return false;
        }
        ++inside_;
        return true;
    }

    void leave()
    {
        const std::lock_guard<std::mutex> hold(mutex_);
        --inside_;
        left_.notify_all();
    }

    /// Refuses from now on and waits until everybody left. Call without the interpreter lock.
    void close()
    {
        std::unique_lock<std::mutex> hold(mutex_);
        closed_ = true;
        closer_ = std::this_thread::get_id();
        left_.wait_for(hold, kExitPatience, [this] { return inside_ == 0; });
    }

    bool closed()
    {
        const std::lock_guard<std::mutex> hold(mutex_);
        return closed_;
    }

    /// True on the thread that ends the interpreter: it alone goes on in Python after that.
    bool closedHere()
    {
        const std::lock_guard<std::mutex> hold(mutex_);
        return closed_ && closer_ == std::this_thread::get_id();
    }

    void beforeFork() { mutex_.lock(); }
    void afterForkInParent() { mutex_.unlock(); }
    /// The threads that were inside do not exist in the child.
    void afterForkInChild()
    {
        inside_ = 0;
        mutex_.unlock();
    }

private:
    std::mutex mutex_;
    std::condition_variable left_;
    int inside_ = 0;
    bool closed_ = false;
    std::thread::id closer_;
};

/// Never destroyed: threads of the SDK may come by until the process is gone.
Gate& gate()
{
    static Gate& instance = *new Gate;
    return instance;
}

PyObject* onExit(PyObject* /*self*/, PyObject* /*none*/)
{
    PyThreadState* state = PyEval_SaveThread();
    gate().close();
    PyEval_RestoreThread(state);
    return Py::new_reference_to(Py::None());
}

PyMethodDef onExitMethod{"zelcam_exit", onExit, METH_NOARGS, nullptr};

} // namespace

void watchInterpreterExit()
{
    pthread_atfork([] { gate().beforeFork(); }, [] { gate().afterForkInParent(); },
                   [] { gate().afterForkInChild(); });
    const Py::Object handler(PyCFunction_New(&onExitMethod, nullptr), true);
    const Py::Object atexit(PyImport_ImportModule("atexit"), true);
    if (handler.isNull() || atexit.isNull()) {
        throw Py::Exception();
    }
    const Py::Object registered(PyObject_CallMethod(atexit.ptr(), "register", "O", handler.ptr()),
                                true);
    if (registered.isNull()) {
        throw Py::Exception();
    }
}

bool interpreterGone() { return gate().closed(); }

// A thread that is being ended unwinds without an object: the reference is bound to none.
[[gnu::no_sanitize("null")]] LockHold::LockHold() : entered_(gate().enter())
{
    if (!entered_) {
        return;
    }
    try {
        state_ = PyGILState_Ensure();
    } catch (const abi::__forced_unwind&) {
        stayIfInterpreterGone();
        throw;
    }
}

LockHold::~LockHold()
{
    if (entered_) {
        PyGILState_Release(state_);
        gate().leave();
    }
}

void stayIfInterpreterGone()
{
    while (gate().closed()) {
        pause();
    }
}

[[gnu::no_sanitize("null")]] void retakeLock(PyThreadState* state)
{
    if (gate().closedHere()) {
        PyEval_RestoreThread(state);
        return;
    }
    while (!gate().enter()) {
        pause();
    }
    try {
        PyEval_RestoreThread(state);
    } catch (const abi::__forced_unwind&) {
        stayIfInterpreterGone();
        throw;
    }
    gate().leave();
}

} // namespace binding
