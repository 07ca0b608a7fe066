// How the producer's inside reports an error to the C functions around it.
#pragma once

#include "gentl_abi/gentl_abi.h"

#include <stdexcept>
#include <string>

namespace simulator::producer
{

/// A GenTL error code with the text that GCGetLastError gives. Thrown inside the producer only;
/// every C function catches it.
class Failure : public std::runtime_error
{
public:
    Failure(gentl::Error code, const std::string& text) : std::runtime_error(text), code_(code) {}
    gentl::Error code() const { return code_; }

private:
    gentl::Error code_;
};

/// Throws -1009 with `text` unless `condition` holds.
inline void requireParameter(bool condition, const char* text)
{
    if (!condition) {
        throw Failure(gentl::err::kInvalidParameter, text);
    }
}

} // namespace simulator::producer
