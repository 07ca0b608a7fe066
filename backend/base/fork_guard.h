// Tells a forked child from the process that owns the cameras.
#pragma once

namespace base
{

/// Call once before the first device or thread exists: a child forked after that is marked.
void watchForks();

/// True in a process that was forked after watchForks(): the threads and sessions behind our
/// objects belong to the parent, and the child must not touch them. One relaxed load.
bool inForkedChild();

} // namespace base
