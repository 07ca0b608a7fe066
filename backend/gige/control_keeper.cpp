#include "gige/control_keeper.h"

#include "base/fork_guard.h"
#include "base/log.h"
#include "base/operation_guard.h"
#include "gige/wire/bootstrap.h"

#include <cstdlib>

namespace gige
{

ControlKeeper& ControlKeeper::instance()
{
    static auto* const keeper = new ControlKeeper; // Threads may use it while the process ends.
    return *keeper;
}

HeldControl::HeldControl(ControlChannel& control) : control_(&control)
{
    ControlKeeper::instance().add(control_);
}

HeldControl::~HeldControl()
{
    ControlChannel* const control = control_;
    drop();
    if (control != nullptr && !control->isLost() && !base::inForkedChild()) {
        static_cast<void>(
            base::guarded([&] { return control->writeRegister(wire::reg::kControlPrivilege, 0); }));
    }
}

void HeldControl::drop()
{
    if (control_ != nullptr && !base::inForkedChild()) {
        ControlKeeper::instance().remove(control_);
    }
    control_ = nullptr;
}

ControlKeeper::ControlKeeper()
{
    std::atexit([] { instance().giveBack(); });
}

void ControlKeeper::add(ControlChannel* control)
{
    const base::Lock lock(mutex_);
    channels_.insert(control);
}

void ControlKeeper::remove(ControlChannel* control)
{
    const base::Lock lock(mutex_);
    channels_.erase(control);
}

void ControlKeeper::giveBack()
{
    if (base::inForkedChild()) {
        return; // They are the parent's.
    }
    const base::Lock lock(mutex_);
    for (ControlChannel* control : channels_) {
        if (!control->isLost()) {
            const ZelCamErr code = control->writeRegister(wire::reg::kControlPrivilege, 0);
            base::log(base::LogChannel::Gige, "control given back at exit: %d", code);
        }
    }
}

} // namespace gige
