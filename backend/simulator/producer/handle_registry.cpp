// Numbers instead of pointers.
#include "simulator/producer/handle_registry.h"

#include <atomic>
#include <mutex>
#include <utility>

namespace simulator::producer
{

namespace
{

// One counter for all registries: after fork() the child's handles differ from its parent's.
std::uintptr_t nextNumber()
{
    // Steps keep the numbers apart from small integers and from each other's neighbourhood.
    constexpr std::uintptr_t kStep = 0x100;
    static std::atomic<std::uintptr_t> last{0x5a0000000000};
    return last.fetch_add(kStep) + kStep;
}

} // namespace

gentl::Handle HandleRegistry::add(std::shared_ptr<HandleObject> object)
{
    const std::uintptr_t number = nextNumber();
    const std::unique_lock lock(mutex_);
    objects_.emplace(number, std::move(object));
    return reinterpret_cast<gentl::Handle>(number);
}

void HandleRegistry::remove(gentl::Handle handle)
{
    std::shared_ptr<HandleObject> last; // destroyed after the lock is gone
    const std::unique_lock lock(mutex_);
    const auto found = objects_.find(reinterpret_cast<std::uintptr_t>(handle));
    if (found != objects_.end()) {
        last = std::move(found->second);
        objects_.erase(found);
    }
}

std::shared_ptr<HandleObject> HandleRegistry::find(gentl::Handle handle) const
{
    const std::shared_lock lock(mutex_);
    const auto found = objects_.find(reinterpret_cast<std::uintptr_t>(handle));
    return found == objects_.end() ? nullptr : found->second;
}

std::vector<std::shared_ptr<HandleObject>> HandleRegistry::all() const
{
    const std::shared_lock lock(mutex_);
    std::vector<std::shared_ptr<HandleObject>> objects;
    objects.reserve(objects_.size());
    for (const auto& [number, object] : objects_) {
        objects.push_back(object);
    }
    return objects;
}

} // namespace simulator::producer
