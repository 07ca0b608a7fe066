#include "common/cpu_targets.h"

#include "common/vector_targets.h"

#include <hwy/targets.h>

#if HWY_ARCH_X86
#include <cpuid.h>
#endif

namespace ZelComponents
{

#if HWY_ARCH_X86

namespace
{

/// What the compiler's own query has no name for: F16C and LZCNT, which come with AVX2 elsewhere.
bool hasHalvesAndLeadingZeros()
{
    constexpr unsigned kF16c = 1U << 29U;
    constexpr unsigned kLzcnt = 1U << 5U;
    unsigned a = 0;
    unsigned b = 0;
    unsigned c = 0;
    unsigned d = 0;
    const bool half = __get_cpuid(1, &a, &b, &c, &d) != 0 && (c & kF16c) != 0;
    return half && __get_cpuid(0x80000001U, &a, &b, &c, &d) != 0 && (c & kLzcnt) != 0;
}

} // namespace

std::int64_t supportedTargets()
{
    // The query counts a register as there only when the system saves it.
    __builtin_cpu_init();
    std::int64_t bits = HWY_STATIC_TARGET;
    if (!__builtin_cpu_supports("ssse3")) {
        return bits;
    }
    bits |= HWY_SSSE3;
    if (!__builtin_cpu_supports("sse4.1") || !__builtin_cpu_supports("sse4.2") ||
        !__builtin_cpu_supports("pclmul") || !__builtin_cpu_supports("aes")) {
        return bits;
    }
    bits |= HWY_SSE4;
    if (!__builtin_cpu_supports("avx") || !__builtin_cpu_supports("avx2") ||
        !__builtin_cpu_supports("fma") || !__builtin_cpu_supports("bmi") ||
        !__builtin_cpu_supports("bmi2") || !hasHalvesAndLeadingZeros()) {
        return bits;
    }
    bits |= HWY_AVX2;
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vl") &&
        __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512bw") &&
        __builtin_cpu_supports("avx512cd")) {
        bits |= HWY_AVX3;
    }
    return bits;
}

#else

std::int64_t supportedTargets() { return HWY_STATIC_TARGET; }

#endif

} // namespace ZelComponents
