// Operations whose caller does not wait for them for ever.
#pragma once

#include "zel_err.h"

#include <chrono>
#include <functional>

namespace core
{

/// Runs an operation on a thread of its own and waits for it, but no longer than `patience`.
/// Answers its code, or 0 when it is still under way then: it goes on behind the caller's back, so
/// what it uses must live as long as the process. Where no thread or memory is to be had it runs
/// here, to its end.
ZelCamErr runErrand(std::chrono::milliseconds patience,
                    const std::function<ZelCamErr()>& operation);

} // namespace core
