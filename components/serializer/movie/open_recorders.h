// The movies that are being recorded, so that a process that ends finishes them.
#pragma once

namespace movie
{

class Recorder;

/// Has `recorder` finished when the process ends with exit() or by returning from main(), until it
/// is removed. Any thread. May throw bad_alloc.
void addOpenRecorder(Recorder* recorder);

/// Before the recorder is destroyed; waits if the end of the process is finishing it. Any thread.
void removeOpenRecorder(Recorder* recorder);

} // namespace movie
