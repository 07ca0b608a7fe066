// Calls into a producer: one place that logs them and that knows what to do without a function.
#pragma once

#include "base/log.h"
#include "gentl_abi/functions.h"

#include <string>
#include <utility>

namespace gentl
{

/// A producer's functions under a name. Lives for the life of the process, as the producer does.
class Api
{
public:
    Api(const FunctionTable& table, std::string name) : table_(table), name_(std::move(name)) {}

    const std::string& name() const { return name_; }
    const FunctionTable& table() const { return table_; }

    /// Calls a function of the table; -1003 when the producer has none. What a producer must never
    /// answer becomes -1001: codes above 0. Each call is a line in the log, but for waits that
    /// merely ran out.
    template <auto Function, class... Arguments>
    Error call(const char* name, Arguments... arguments) const
    {
        const auto function = table_.*Function;
        Error result = function != nullptr ? function(arguments...) : err::kNotImplemented;
        if (base::logEnabled(base::LogChannel::GenTL) && result != err::kTimeout) {
            base::log(base::LogChannel::GenTL, "%s %s: %d", name_.c_str(), name, result);
        }
        return result <= err::kSuccess ? result : err::kError;
    }

private:
    FunctionTable table_;
    const std::string name_;
};

} // namespace gentl
