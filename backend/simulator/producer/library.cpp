// Start, end, fork and exit of the producer.
#include "simulator/producer/library.h"

#include "simulator/producer/failure.h"
#include "simulator/producer/stream_module.h"

#include <pthread.h>

#include <cstdlib>
#include <utility>
#include <vector>

namespace simulator::producer
{

std::atomic<Library*> Library::current_{nullptr};

Library& Library::instance()
{
    Library* library = current_.load();
    if (library != nullptr) {
        return *library;
    }
    auto* fresh = new Library;
    if (current_.compare_exchange_strong(library, fresh)) {
        pthread_atfork(nullptr, nullptr, &Library::afterFork);
        return *fresh;
    }
    delete fresh;
    return *library;
}

void Library::afterFork()
{
    auto* fresh = new Library;
    fresh->parents_ = current_.load();
    current_.store(fresh);
}

void Library::initialise()
{
    const std::lock_guard lock(tree_);
    if (initialised_.exchange(true)) {
        throw Failure(gentl::err::kResourceInUse, "the library is initialised already");
    }
}

void Library::close()
{
    const std::lock_guard lock(tree_);
    requireInitialised();
    if (system_) {
        system_->close();
        system_.reset();
    }
    initialised_ = false;
}

void Library::requireInitialised() const
{
    if (!initialised_) {
        throw Failure(gentl::err::kNotInitialized, "the library is not initialised");
    }
}

gentl::Handle Library::openSystem()
{
    const std::lock_guard lock(tree_);
    requireInitialised();
    if (system_) {
        throw Failure(gentl::err::kResourceInUse, "the system is open already");
    }
    system_ = SystemModule::open(handles_);
    // Registered after everything that the streams use was made, hence run before that goes: a
    // program may leave main() with its streams running.
    static const int registered = std::atexit([] {
        if (Library* library = current_.load()) {
            library->haltStreams();
        }
    });
    static_cast<void>(registered);
    return system_->handle();
}

void Library::closeSystem(SystemModule& system)
{
    const std::lock_guard lock(tree_);
    if (system_.get() != &system) {
        throw Failure(gentl::err::kInvalidHandle, "the system was closed");
    }
    system.close();
    system_.reset();
}

void Library::haltStreams()
{
    std::vector<std::shared_ptr<StreamModule>> streams;
    for (const auto& object : handles_.all()) {
        if (auto stream = std::dynamic_pointer_cast<StreamModule>(object)) {
            stream->endSoon();
            streams.push_back(std::move(stream));
        }
    }
    for (const auto& stream : streams) {
        stream->halt();
    }
}

} // namespace simulator::producer
