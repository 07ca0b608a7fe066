// Starting the backend's own threads.
#pragma once

#include "base/operation_guard.h"
#include "base/signal_mask.h"

#include <pthread.h>

#include <exception>
#include <thread>
#include <utility>

namespace base
{

/// Starts a thread with a name (at most 15 characters count, a literal) and with all signals
/// blocked, so that signals reach the threads of the user: Ctrl-C must interrupt the script's wait,
/// not our pump. What the function throws ends the thread with a warning, not the process. Throws
/// std::system_error when there is no thread to be had.
template <class Function> std::thread startThread(const char* name, Function&& function)
{
    const SignalMask mask;
    std::thread thread(
        [name, body = std::forward<Function>(function)]() mutable { contained(name, body); });
    char text[16] = {};
    for (int i = 0; i < 15 && name[i] != '\0'; ++i) {
        text[i] = name[i];
    }
    pthread_setname_np(thread.native_handle(), text);
    return thread;
}

/// As startThread(), for places that cannot fail, such as destructors: without a thread to be had
/// the result is not joinable.
template <class Function> std::thread tryStartThread(const char* name, Function&& function) noexcept
{
    try {
        return startThread(name, std::forward<Function>(function));
    } catch (const std::exception&) {
        return std::thread();
    }
}

} // namespace base
