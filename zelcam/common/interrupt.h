// Ctrl-C as a question that loops ask.
#pragma once

namespace common
{

/// From now on SIGINT and SIGTERM are remembered instead of ending the process; a second one ends
/// it at once with code 130. Call once, before threads are started.
void watchInterrupts();
/// True once such a signal came. Any thread.
bool interrupted();
/// Waits, at most so long or until such a signal comes. Any thread.
void sleepMs(int milliseconds);

} // namespace common
