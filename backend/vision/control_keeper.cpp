#include "vision/control_keeper.h"

#include "base/fork_guard.h"
#include "base/log.h"

#include <cstdlib>

namespace vision
{

ControlKeeper& ControlKeeper::instance()
{
    static auto* const keeper = new ControlKeeper; // Threads may use it while the process ends.
    return *keeper;
}

ControlKeeper::ControlKeeper()
{
    std::atexit([] { instance().giveBack(); });
}

void ControlKeeper::add(ArvDevice* device)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    devices_.insert(device);
}

void ControlKeeper::remove(ArvDevice* device)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    devices_.erase(device);
}

void ControlKeeper::giveBack()
{
    if (base::inForkedChild()) {
        return; // They are the parent's.
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    for (ArvDevice* device : devices_) {
        ArvError error;
        arv_gv_device_leave_control(ARV_GV_DEVICE(device), error.out());
        base::log(base::LogChannel::Vision, "control given back at exit %s", error.text());
    }
}

} // namespace vision
