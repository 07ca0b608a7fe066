// Keeps signals away from threads that are started meanwhile. Header-only.
#pragma once

#include <pthread.h>

#include <csignal>
#include <initializer_list>

namespace base
{

/// Blocks signals in the calling thread for its lifetime. Threads started meanwhile inherit that,
/// so Ctrl-C reaches the threads of the script and interrupts their waits. Faults stay open.
class SignalMask
{
public:
    SignalMask()
    {
        sigset_t blocked;
        sigfillset(&blocked);
        for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS}) {
            sigdelset(&blocked, fault);
        }
        pthread_sigmask(SIG_BLOCK, &blocked, &earlier_);
    }
    ~SignalMask() { pthread_sigmask(SIG_SETMASK, &earlier_, nullptr); }
    SignalMask(const SignalMask&) = delete;
    SignalMask& operator=(const SignalMask&) = delete;

private:
    sigset_t earlier_ = {};
};

} // namespace base
