// What surrounds every function of the producer: errors become codes, and are remembered.
#pragma once

#include "gentl_abi/gentl_abi.h"
#include "simulator/producer/failure.h"
#include "simulator/producer/library.h"

#include <exception>
#include <new>
#include <string>

namespace simulator::producer
{

/// The calling thread's last failure; later successes leave it.
struct LastError {
    gentl::Error code = gentl::err::kSuccess;
    std::string text = "no error";
};

LastError& lastError();

/// Remembers the failure and returns its code.
gentl::Error remember(gentl::Error code, const char* text) noexcept;

/// Runs `body`, which gets the library and throws Failure for errors.
template <class Body> gentl::Error guardedUninitialised(Body&& body) noexcept
{
    try {
        body(Library::instance());
        return gentl::err::kSuccess;
    } catch (const Failure& failure) {
        return remember(failure.code(), failure.what());
    } catch (const std::bad_alloc&) {
        return remember(gentl::err::kOutOfMemory, "out of memory");
    } catch (const std::exception& error) {
        return remember(gentl::err::kError, error.what());
    } catch (...) {
        return remember(gentl::err::kError, "unknown error");
    }
}

/// As above, for all functions but GCInitLib: -1002 unless the library is initialised.
template <class Body> gentl::Error guarded(Body&& body) noexcept
{
    return guardedUninitialised([&body](Library& library) {
        library.requireInitialised();
        body(library);
    });
}

/// Throws Failure -1006 for a module that another thread closed meanwhile; for use under the tree
/// lock.
inline void requireOpen(const Module& module)
{
    if (module.isClosed()) {
        throw Failure(gentl::err::kInvalidHandle, "the module was closed");
    }
}

} // namespace simulator::producer
