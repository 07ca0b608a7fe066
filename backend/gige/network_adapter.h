// Network adapters of this machine, and which of them reaches an address.
#pragma once

#include "gige/wire/discovery.h"

#include <cstdint>
#include <string>
#include <vector>

namespace gige
{

/// One adapter that is up. Addresses are host integers.
struct NetworkAdapter {
    std::string name;
    int index = 0; ///< The system's number of the adapter.
    std::uint32_t address = 0;
    std::uint32_t mask = 0;
    std::uint32_t broadcast = 0; ///< Directed broadcast, or the other end; 0 where there is none.
    wire::MacAddress mac{};
    std::uint32_t mtu = 0;
    bool loopback = false;

    bool contains(std::uint32_t other) const { return (other & mask) == (address & mask); }
};

/// The adapters that ZELCAM_VISION lets us use (base/camera_places.h) that are up and have an IPv4
/// address, physical ones first; one entry for each address.
std::vector<NetworkAdapter> networkAdapters();

/// Writes a line for each name in ZELCAM_VISION that no adapter of this machine has now.
void reportUnknownAdapters();

/// Number of the adapter that the routing table names for packets to `address`; 0: it names none,
/// or only the default route.
int adapterTowards(std::uint32_t address);

} // namespace gige
