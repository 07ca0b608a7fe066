// Operations whose caller does not wait for them for ever.
#include "core/errand.h"

#include "base/mutex.h"
#include "base/thread.h"

#include <memory>
#include <new>
#include <optional>
#include <thread>
#include <utility>

namespace core
{

namespace
{

/// Held by both threads, since either may be the last.
struct Errand {
    explicit Errand(std::function<ZelCamErr()> theOperation) : operation(std::move(theOperation)) {}

    void run()
    {
        const ZelCamErr code = base::guarded(operation);
        const base::Lock lock(mutex);
        result = code;
        ended.notify_all();
    }

    const std::function<ZelCamErr()> operation;
    base::Mutex mutex;
    std::condition_variable ended;
    std::optional<ZelCamErr> result ZEL_GUARDED_BY(mutex);
};

} // namespace

ZelCamErr runErrand(std::chrono::milliseconds patience, const std::function<ZelCamErr()>& operation)
{
    std::shared_ptr<Errand> errand;
    try {
        errand = std::make_shared<Errand>(operation);
    } catch (const std::bad_alloc&) {
        return base::guarded(operation); // The operation has to run, come what may.
    }
    std::thread thread = base::tryStartThread("zel-errand", [errand] { errand->run(); });
    if (!thread.joinable()) {
        return base::guarded(errand->operation);
    }
    thread.detach();
    const auto end = std::chrono::steady_clock::now() + patience;
    base::Lock lock(errand->mutex);
    while (!errand->result &&
           errand->ended.wait_until(lock.native(), end) != std::cv_status::timeout) {
    }
    return errand->result.value_or(ZelErr::kOk);
}

} // namespace core
