// The one place where what goes wrong inside an SDK operation becomes a code.
#pragma once

#include "base/fork_guard.h"
#include "base/log.h"
#include "zel_err.h"

#include <exception>
#include <new>

namespace core
{

/// Runs the body of an operation that answers with a code. In a forked child nothing runs: the
/// objects belong to the parent, and the answer is -40051.
template <class Body> ZelCamErr guarded(Body&& body)
{
    if (base::inForkedChild()) {
        return ZelErr::kInvalidState;
    }
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return ZelErr::kGenTLOutOfMemory;
    } catch (const std::exception& error) {
        base::log(base::LogChannel::Backend, "unexpected: %s", error.what());
        return ZelErr::kUnknown;
    }
}

/// Runs the body of an operation that answers with a value, and gives `fallback` when it cannot.
template <class Value, class Body> Value guardedValue(Value fallback, Body&& body)
{
    Value value = fallback;
    const ZelCamErr code = guarded([&] {
        value = body();
        return ZelErr::kOk;
    });
    return code == ZelErr::kOk ? value : fallback;
}

/// Stores a code where the caller wants it.
inline void report(ZelCamErr* err, ZelCamErr code)
{
    if (err != nullptr) {
        *err = code;
    }
}

} // namespace core
