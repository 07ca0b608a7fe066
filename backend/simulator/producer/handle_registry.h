// Handles that a foreigner may pass in any shape: numbers that are looked up, never pointers.
#pragma once

#include "gentl_abi/gentl_abi.h"
#include "simulator/producer/failure.h"

#include <cstdint>
#include <memory>
#include <shared_mutex>
#include <unordered_map>
#include <vector>

namespace simulator::producer
{

class Port;

/// Anything that has a handle.
class HandleObject
{
public:
    virtual ~HandleObject() = default;
    /// The object as a port, which registers are reached by; null: it is none. Asked for at every
    /// access, and sooner answered than a cast.
    virtual Port* port() { return nullptr; }
};

/// Gives out handles and finds their objects again. A number is used once in the life of a process,
/// so that a dead handle never means somebody else's object. Thread safe.
class HandleRegistry
{
public:
    gentl::Handle add(std::shared_ptr<HandleObject> object);
    /// The object lives on while a call that found it before is under way.
    void remove(gentl::Handle handle);
    /// Null for handles that are dead, foreign or null.
    std::shared_ptr<HandleObject> find(gentl::Handle handle) const;
    std::vector<std::shared_ptr<HandleObject>> all() const;

    /// As find(), for one kind of object; everything else throws Failure -1006.
    template <class Kind> std::shared_ptr<Kind> get(gentl::Handle handle) const
    {
        auto object = std::dynamic_pointer_cast<Kind>(find(handle));
        if (!object) {
            throw Failure(gentl::err::kInvalidHandle, "invalid handle");
        }
        return object;
    }

private:
    mutable std::shared_mutex mutex_;
    std::unordered_map<std::uintptr_t, std::shared_ptr<HandleObject>> objects_;
};

} // namespace simulator::producer
