#include "genapi/change_gate.h"

namespace genapi
{

int& ChangeGate::Change::depth()
{
    thread_local int depth = 0;
    return depth;
}

void ChangeGate::close()
{
    const base::Lock lock(mutex_);
    ++closed_;
}

void ChangeGate::open()
{
    const base::Lock lock(mutex_);
    --closed_;
    opened_.notify_all();
}

void ChangeGate::wait()
{
    if (Change::depth() != 0) {
        return;
    }
    base::Lock lock(mutex_);
    opened_.wait_for(lock.native(), kPatience, [this] { return closed_ == 0; });
}

} // namespace genapi
