// Starting the backend's own threads.
#pragma once

#include <pthread.h>
#include <signal.h>

#include <thread>
#include <type_traits>
#include <utility>

namespace base
{

/// Starts a thread with a name (at most 15 characters count) and with all signals blocked, so that
/// signals reach the threads of the user: Ctrl-C must interrupt the script's wait, not our pump.
/// Throws std::system_error when there is no thread to be had.
template <class Function> std::thread startThread(const char* name, Function&& function)
{
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    struct Restore {
        sigset_t* mask;
        ~Restore() { pthread_sigmask(SIG_SETMASK, mask, nullptr); }
    } const restore{&before};
    std::thread thread(std::forward<Function>(function));
    char text[16] = {};
    for (int i = 0; i < 15 && name[i] != '\0'; ++i) {
        text[i] = name[i];
    }
    pthread_setname_np(thread.native_handle(), text);
    return thread;
}

} // namespace base
