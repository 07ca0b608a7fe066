// Which instruction sets kernels are compiled for. To be included before Highway.
#pragma once

/// Kernels keep vectors in structures, which needs sizes known when compiling. Machines with
/// scalable vectors (SVE) have NEON too.
#define HWY_DISABLED_TARGETS (HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128)
