// Registers, description and end of a module.
#include "simulator/producer/module.h"

#include "simulator/producer/failure.h"

#include <utility>

namespace simulator::producer
{

namespace
{

void check(gentl::Error code, std::uint64_t address)
{
    if (code != gentl::err::kSuccess) {
        throw Failure(code, "register access failed at address " + std::to_string(address));
    }
}

} // namespace

Module::Module(HandleRegistry& handles, ModuleIdentity identity,
               std::vector<gentl::EventType> events, EventSource::Factory factory)
    : handles_(handles), table_(std::move(identity), kFeatureAddress),
      events_(handles, std::move(events), std::move(factory))
{
}

void Module::read(std::uint64_t address, void* data, std::size_t size)
{
    if (address >= kXmlAddress) {
        const std::uint64_t offset = address - kXmlAddress;
        if (offset > xmlSize() || size > xmlSize() - offset) {
            check(gentl::err::kInvalidAddress, address);
        }
        return table_.readXml(offset, data, size);
    }
    const std::lock_guard lock(tableMutex_);
    check(table_.read(address, data, size), address);
}

void Module::write(std::uint64_t address, const void* data, std::size_t size)
{
    if (address >= kXmlAddress && address - kXmlAddress < xmlSize()) {
        check(gentl::err::kAccessDenied, address);
    }
    const std::lock_guard lock(tableMutex_);
    check(table_.write(address, data, size), address);
}

void Module::close()
{
    if (closed_.exchange(true)) {
        return;
    }
    closeChildren();
    events_.close();
    handles_.remove(handle_);
}

} // namespace simulator::producer
