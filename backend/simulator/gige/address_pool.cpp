#include "simulator/gige/address_pool.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>

#include <utility>

namespace simulator::gige
{

HostAddress hostAddress(std::uint32_t address)
{
    const auto number = [](const sockaddr* socket) {
        return ntohl(reinterpret_cast<const sockaddr_in*>(socket)->sin_addr.s_addr);
    };
    HostAddress found;
    ifaddrs* list = nullptr;
    if (::getifaddrs(&list) != 0) {
        return found;
    }
    for (const ifaddrs* each = list; each != nullptr; each = each->ifa_next) {
        if (each->ifa_addr == nullptr || each->ifa_netmask == nullptr ||
            each->ifa_addr->sa_family != AF_INET) {
            continue;
        }
        const std::uint32_t mask = number(each->ifa_netmask);
        const std::uint32_t own = number(each->ifa_addr);
        const bool loops = (each->ifa_flags & IFF_LOOPBACK) != 0;
        if (own == address || (loops && (own & mask) == (address & mask))) {
            found = {address, mask, each->ifa_name};
            if (own == address) {
                break;
            }
        }
    }
    ::freeifaddrs(list);
    return found;
}

AddressPool::AddressPool(std::vector<HostAddress> addresses) : addresses_(std::move(addresses))
{
    for (const HostAddress& each : addresses_) {
        taken_[each.address] = false;
    }
}

bool AddressPool::claim(std::uint32_t address)
{
    const base::Lock lock(mutex_);
    const auto it = taken_.find(address);
    return it != taken_.end() && !std::exchange(it->second, true);
}

void AddressPool::release(std::uint32_t address)
{
    const base::Lock lock(mutex_);
    const auto it = taken_.find(address);
    if (it != taken_.end()) {
        it->second = false;
    }
}

std::uint32_t AddressPool::claimAny()
{
    for (const HostAddress& each : addresses_) {
        if (claim(each.address)) {
            return each.address;
        }
    }
    return 0;
}

HostAddress AddressPool::find(std::uint32_t address) const
{
    for (const HostAddress& each : addresses_) {
        if (each.address == address) {
            return each;
        }
    }
    return {};
}

} // namespace simulator::gige
