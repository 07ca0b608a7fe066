// What the modules of the producer share: a handle, features in registers, events, an end.
#pragma once

#include "features/feature_table.h"
#include "simulator/producer/event_source.h"
#include "simulator/producer/port.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace simulator::producer
{

using features::Feature;
using features::FeatureTable;
using features::FeatureValue;
using features::IntLimits;
using features::ModuleIdentity;

/// System, interface, device or data stream. A module is made with open() of its class, which gives
/// it its handle, and ends with close(); calls that found it before see isClosed(). Opening and
/// closing of all modules is serialised by the library's tree lock.
class Module : public Port, public std::enable_shared_from_this<Module>
{
public:
    gentl::Handle handle() const { return handle_; }
    bool isClosed() const { return closed_; }
    EventSource& events() { return events_; }

    void read(std::uint64_t address, void* data, std::size_t size) override;
    void write(std::uint64_t address, const void* data, std::size_t size) override;
    std::string xml() const override { return table_.xml(); }
    std::size_t xmlSize() const override { return table_.xmlSize(); }
    std::uint64_t xmlAddress() const override { return kXmlAddress; }

    /// Closes the children, ends the events, frees the handle. The tree lock is held.
    void close();

protected:
    Module(HandleRegistry& handles, ModuleIdentity identity, std::vector<gentl::EventType> events,
           EventSource::Factory factory = {});
    ~Module() override = default;

    /// Gives a new module its handle.
    void publish() { handle_ = handles_.add(shared_from_this()); }
    /// Called once, before events and handle end.
    virtual void closeChildren() = 0;

    HandleRegistry& handles() { return handles_; }
    /// Filled and finished by the constructor of the subclass; afterwards under tableMutex().
    FeatureTable& table() { return table_; }

private:
    static constexpr std::uint64_t kFeatureAddress = 0x10000;
    static constexpr std::uint64_t kXmlAddress = 0x40000000;

    HandleRegistry& handles_;
    std::mutex tableMutex_;
    FeatureTable table_;
    EventSource events_;
    gentl::Handle handle_ = nullptr;
    std::atomic<bool> closed_{false};
};

/// Vendor and version of the producer and its modules.
constexpr const char* kVendor = "ZelCam";
constexpr const char* kVersion = "1.0.0";

} // namespace simulator::producer
