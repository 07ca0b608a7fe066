#include "module/binding/report.h"

#include "module/error_messages.h"

#include <cstdint>
#include <cstdio>

namespace binding
{

void report(const char* line) { std::fputs(line, stderr); }

void reportFailure(const char* what, ZelCamErr code)
{
    std::fprintf(stderr, "%s: %d %s\n", what, code, GetZelCamErrString(code));
}

void reportComponentFailure(const char* what, ZelCamErr code)
{
    std::fprintf(stderr, "%s: 0x%X\n", what, static_cast<std::uint32_t>(code));
}

} // namespace binding
