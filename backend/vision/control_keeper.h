// Gives cameras back when the process ends without releasing them.
#pragma once

#include "vision/arv_ptr.h"

#include <mutex>
#include <set>

namespace vision
{

/// A GigE Vision camera whose client went without a word stays taken for its heartbeat time, some
/// seconds; the next run of a script would be refused. At a normal end of the process the cameras
/// listed here are given back. A process that is killed leaves them to their heartbeat. Thread
/// safe.
class ControlKeeper
{
public:
    static ControlKeeper& instance();

    /// `device` is under our control; it must be removed before it is destroyed or when it is lost.
    void add(ArvDevice* device);
    void remove(ArvDevice* device);

private:
    ControlKeeper();
    void giveBack();

    std::mutex mutex_;
    std::set<ArvDevice*> devices_;
};

} // namespace vision
