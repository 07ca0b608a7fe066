#include "open_recorders.h"

#include "recorder.h"

#include <atomic>
#include <cstdlib>
#include <mutex>
#include <set>

namespace movie
{

namespace
{

// Of one process: a forked child has its own, because the parent's may have been locked.
struct Open {
    base::ForkStamp made;
    std::mutex mutex; // Guards the set; held while the recorders of an ending process are finished.
    std::set<Recorder*> recorders;
    Open* parents = nullptr; // Cannot be freed, nor what it holds.
};

Open& open()
{
    // Never destroyed: recorders may be removed after the end of the process has begun.
    static std::atomic<Open*> current{new Open};
    Open* known = current.load();
    if (known->made.isInherited()) {
        auto fresh = std::make_unique<Open>();
        fresh->parents = known;
        if (current.compare_exchange_strong(known, fresh.get())) {
            known = fresh.release();
        }
    }
    return *known;
}

void finishAll()
{
    Open& here = open();
    const std::lock_guard<std::mutex> lock(here.mutex);
    for (Recorder* recorder : here.recorders) {
        recorder->finish();
    }
}

} // namespace

void addOpenRecorder(Recorder* recorder)
{
    static const int registered = std::atexit(finishAll);
    static_cast<void>(registered);
    Open& here = open();
    const std::lock_guard<std::mutex> lock(here.mutex);
    here.recorders.insert(recorder);
}

void removeOpenRecorder(Recorder* recorder)
{
    Open& here = open();
    const std::lock_guard<std::mutex> lock(here.mutex);
    here.recorders.erase(recorder);
}

} // namespace movie
