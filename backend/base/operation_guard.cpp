// The one place where what goes wrong inside an operation becomes a code.
#include "base/operation_guard.h"

#include "base/log.h"

#include <cxxabi.h>

#include <exception>
#include <new>
#include <stdexcept>
#include <system_error>

namespace base
{

namespace
{

bool isExhaustion(const std::error_code& code)
{
    return code == std::errc::resource_unavailable_try_again ||
           code == std::errc::too_many_files_open ||
           code == std::errc::too_many_files_open_in_system;
}

// Finds the code of the exception under way and hands its text to `tell`.
template <class Tell> ZelCamErr classify(const Tell& tell)
{
    try {
        throw;
    } catch (const abi::__forced_unwind&) {
        // An interpreter that has shut down ends threads so; swallowing that ends the process.
        throw;
    } catch (const std::bad_alloc&) {
        tell("out of memory");
        return ZelErr::kGenTLOutOfMemory;
    } catch (const std::length_error& error) {
        tell(error.what());
        return ZelErr::kGenTLOutOfMemory;
    } catch (const std::system_error& error) {
        tell(error.what());
        return isExhaustion(error.code()) ? ZelErr::kGenTLResourceExhausted : ZelErr::kUnknown;
    } catch (const std::exception& error) {
        tell(error.what());
    } catch (...) {
        tell("an exception of unknown type");
    }
    return ZelErr::kUnknown;
}

} // namespace

ZelCamErr codeOfException()
{
    return classify([](const char* what) { log(LogChannel::Backend, "unexpected: %s", what); });
}

void reportException(const char* where)
{
    static_cast<void>(
        classify([where](const char* what) { warn(LogChannel::Backend, "%s: %s", where, what); }));
}

} // namespace base
