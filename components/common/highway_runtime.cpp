// What compiled kernels need of Highway's library. It is not linked: when it is loaded it measures
// the processor's clock for benchmarks of its own, which takes longer than the rest of an import.
#include "common/cpu_targets.h"
#include "common/vector_targets.h"

#include <hwy/targets.h>

#include <cstdio>
#include <cstdlib>

namespace hwy
{

ChosenTarget& GetChosenTarget()
{
    static ChosenTarget chosen;
    return chosen;
}

std::int64_t SupportedTargets() { return ZelComponents::supportedTargets(); }

/// Failed assertions of builds that have them.
void Abort(const char* file, int line, const char* /*format*/, ...)
{
    std::fprintf(stderr, "%s:%d: assertion failed\n", file, line);
    std::abort();
}

} // namespace hwy
