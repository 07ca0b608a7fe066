// The producer as a library: initialised or not, its handles, its one system.
#pragma once

#include "simulator/producer/handle_registry.h"
#include "simulator/producer/system_module.h"

#include <atomic>
#include <memory>
#include <mutex>

namespace simulator::producer
{

/// One per process image; a forked child gets a fresh one, since threads and locks of the parent's
/// do not survive. Never destroyed: calls may come until the very end of the process.
class Library
{
public:
    static Library& instance();

    /// Throws Failure -1004 when initialised.
    void initialise();
    /// Closes everything. Throws Failure -1002.
    void close();
    /// Throws Failure -1002 unless initialised.
    void requireInitialised() const;

    /// Serialises opening and closing of modules.
    std::mutex& tree() { return tree_; }
    HandleRegistry& handles() { return handles_; }

    // These two take the tree lock.
    /// Throws Failure -1004 when the system is open.
    gentl::Handle openSystem();
    /// Throws Failure -1006 when another thread closed it.
    void closeSystem(SystemModule& system);

    /// Ends the threads of all streams.
    void haltStreams();

private:
    Library() = default;

    std::mutex tree_;
    std::atomic<bool> initialised_{false};
    HandleRegistry handles_;
    std::shared_ptr<SystemModule> system_; ///< Under the tree lock.
    Library* parents_ = nullptr;           ///< Before a fork; kept so that it is not a leak.

    static std::atomic<Library*> current_;
    static void afterFork();
};

} // namespace simulator::producer
