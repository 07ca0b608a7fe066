// The addresses of this host that served cameras may have.
#pragma once

#include "base/mutex.h"
#include "simulator/camera_config.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace simulator::gige
{

/// An address of this host and the adapter that it belongs to.
struct HostAddress {
    std::uint32_t address = 0;
    std::uint32_t mask = 0;
    std::string device;

    std::uint32_t broadcast() const { return address | ~mask; }
};

/// The adapter of this host that has the address, or in whose loopback network it lies; a mask of 0
/// when there is none.
HostAddress hostAddress(std::uint32_t address);

/// One camera an address. Thread safe.
class AddressPool
{
public:
    explicit AddressPool(std::vector<HostAddress> addresses);

    /// Takes an address for a camera; false when it does not belong here or is taken.
    bool claim(std::uint32_t address) ZEL_EXCLUDES(mutex_);
    void release(std::uint32_t address) ZEL_EXCLUDES(mutex_);
    /// The first free one, claimed; 0 when there is none.
    std::uint32_t claimAny() ZEL_EXCLUDES(mutex_);
    HostAddress find(std::uint32_t address) const;

private:
    const std::vector<HostAddress> addresses_;
    base::Mutex mutex_;
    std::map<std::uint32_t, bool> taken_ ZEL_GUARDED_BY(mutex_);
};

} // namespace simulator::gige
