// Gives cameras back when the process ends without releasing them.
#pragma once

#include "base/mutex.h"
#include "gige/control_channel.h"

#include <set>
#include <utility>

namespace gige
{

/// Control of a camera, from before it is taken: the end of the holder gives it back, however that
/// comes. Movable; an empty one holds nothing.
class HeldControl
{
public:
    HeldControl() = default;
    /// Throws bad_alloc, and holds nothing then.
    explicit HeldControl(ControlChannel& control);
    HeldControl(HeldControl&& other) noexcept : control_(std::exchange(other.control_, nullptr)) {}
    ~HeldControl();
    HeldControl(const HeldControl&) = delete;
    HeldControl& operator=(const HeldControl&) = delete;
    HeldControl& operator=(HeldControl&&) = delete;

    /// It was not taken: there is nothing to give back.
    void drop();

private:
    ControlChannel* control_ = nullptr;
};

/// A camera whose client went without a word stays taken for its heartbeat time, some seconds; the
/// next run of a script would be refused. At a normal end of the process the cameras listed here
/// are given back. A process that is killed leaves them to their heartbeat. Thread safe.
class ControlKeeper
{
public:
    static ControlKeeper& instance();

    /// `control` is the controlling one; it must be removed before it is destroyed.
    void add(ControlChannel* control);
    void remove(ControlChannel* control);

private:
    ControlKeeper();
    void giveBack();

    base::Mutex mutex_;
    std::set<ControlChannel*> channels_ ZEL_GUARDED_BY(mutex_);
};

} // namespace gige
