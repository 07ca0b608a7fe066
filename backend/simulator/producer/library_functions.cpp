// GCInitLib to GCGetLastError.
#include "simulator/producer/api_guard.h"
#include "simulator/producer/producer_functions.h"

namespace simulator::producer
{

LastError& lastError()
{
    thread_local LastError error;
    return error;
}

gentl::Error remember(gentl::Error code, const char* text) noexcept
{
    try {
        lastError().code = code;
        lastError().text = text;
    } catch (...) { // the code matters more than its text
    }
    return code;
}

namespace api
{

gentl::Error GCInitLib()
{
    return guardedUninitialised([](Library& library) { library.initialise(); });
}

gentl::Error GCCloseLib()
{
    return guarded([](Library& library) { library.close(); });
}

gentl::Error GCGetInfo(std::int32_t command, std::int32_t* type, void* data, std::size_t* size)
{
    return guarded([&](Library&) { producerInfo(command).answer(type, data, size); });
}

gentl::Error GCGetLastError(gentl::Error* code, char* text, std::size_t* size)
{
    // Its own mistakes are returned, not remembered: they would hide what is asked for.
    try {
        Library::instance().requireInitialised();
        requireParameter(code != nullptr, "the code pointer is null");
        *code = lastError().code;
        InfoValue::text(lastError().text).answer(nullptr, text, size);
        return gentl::err::kSuccess;
    } catch (const Failure& failure) {
        return failure.code();
    } catch (...) {
        return gentl::err::kError;
    }
}

} // namespace api

} // namespace simulator::producer
