// The one place where what goes wrong inside an operation becomes a code.
//
// Every function that somebody else's code calls stands in one of these: operations of the boundary
// in guarded() or guardedValue(), C callbacks and thread bodies in contained().
#pragma once

#include "base/fork_guard.h"
#include "zel_err.h"

#include <type_traits>
#include <utility>

namespace base
{

/// The code of the exception under way; logs what no code can tell (channel "backend"). Out of
/// memory (and a size that no memory could have) is -1021, no thread or descriptor to be had
/// -1020, everything else -40001. Call inside a catch block. A thread that is being ended goes on
/// unwinding.
ZelCamErr codeOfException();

/// As codeOfException(), for callbacks and threads that have nobody to tell: warns.
void reportException(const char* where);

/// Runs the body of an operation that answers with a code; a body without a result answers 0. In a
/// forked child nothing runs: the objects belong to the parent, and the answer is -40051.
template <class Body> ZelCamErr guarded(Body&& body)
{
    if (inForkedChild()) {
        return ZelErr::kInvalidState;
    }
    try {
        if constexpr (std::is_void_v<decltype(body())>) {
            body();
            return ZelErr::kOk;
        } else {
            return body();
        }
    } catch (...) {
        return codeOfException();
    }
}

/// Runs the body of an operation that answers with a value, and gives `fallback` when it cannot.
template <class Value, class Body> Value guardedValue(Value fallback, Body&& body)
{
    Value value = fallback;
    const ZelCamErr code = guarded([&] { value = body(); });
    return code == ZelErr::kOk ? value : fallback;
}

/// Runs a C callback or the body of a thread: what it throws ends there, with a line that names
/// `where`. A thread that is being ended goes on unwinding.
template <class Body> void contained(const char* where, Body&& body)
{
    try {
        body();
    } catch (...) {
        reportException(where);
    }
}

/// Stores a code where the caller wants it.
inline void report(ZelCamErr* err, ZelCamErr code)
{
    if (err != nullptr) {
        *err = code;
    }
}

} // namespace base
