// Which instruction sets this processor and its system have, in Highway's bits.
#pragma once

#include <cstdint>

namespace ZelComponents
{

/// Bits of HWY_SSSE3, HWY_SSE4, HWY_AVX2 and HWY_AVX3 as Highway itself would find them, and on
/// other architectures those that the compiler was allowed to use anyway. Thread safe.
std::int64_t supportedTargets();

} // namespace ZelComponents
