// Copies of whole frames.
#pragma once

#include <cstddef>

namespace binding
{

/// memcpy() for blocks that may be larger than the processor's caches: those are written past them,
/// which spares reading the target first and leaves what others have in the caches.
void copyLarge(void* to, const void* from, std::size_t size);

} // namespace binding
