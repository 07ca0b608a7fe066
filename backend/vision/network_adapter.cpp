#include "vision/network_adapter.h"

#include "base/camera_places.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <netpacket/packet.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace vision
{

namespace
{

std::uint32_t hostAddress(const sockaddr* address)
{
    if (address == nullptr || address->sa_family != AF_INET) {
        return 0;
    }
    sockaddr_in in{};
    std::memcpy(&in, address, sizeof(in));
    return ntohl(in.sin_addr.s_addr);
}

std::uint32_t mtuOf(const std::string& name)
{
    const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        return 1500;
    }
    ifreq request{};
    name.copy(request.ifr_name, sizeof(request.ifr_name) - 1);
    const bool ok = ::ioctl(fd, SIOCGIFMTU, &request) == 0;
    ::close(fd);
    return ok ? static_cast<std::uint32_t>(request.ifr_mtu) : 1500;
}

gvcp::MacAddress macOf(const ifaddrs* list, const char* name)
{
    gvcp::MacAddress mac{};
    for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr != nullptr && entry->ifa_addr->sa_family == AF_PACKET &&
            std::strcmp(entry->ifa_name, name) == 0) {
            sockaddr_ll link{};
            std::memcpy(&link, entry->ifa_addr, sizeof(link));
            std::copy(link.sll_addr, link.sll_addr + 6, mac.begin());
        }
    }
    return mac;
}

} // namespace

std::vector<NetworkAdapter> networkAdapters()
{
    std::vector<NetworkAdapter> adapters;
    ifaddrs* raw = nullptr;
    if (::getifaddrs(&raw) != 0) {
        return adapters;
    }
    const std::unique_ptr<ifaddrs, decltype(&::freeifaddrs)> list(raw, ::freeifaddrs);
    for (const ifaddrs* entry = raw; entry != nullptr; entry = entry->ifa_next) {
        if ((entry->ifa_flags & IFF_UP) == 0 || hostAddress(entry->ifa_addr) == 0 ||
            !base::camerasAllowedAt(entry->ifa_name)) {
            continue;
        }
        NetworkAdapter adapter;
        adapter.name = entry->ifa_name;
        adapter.address = hostAddress(entry->ifa_addr);
        adapter.mask = hostAddress(entry->ifa_netmask);
        adapter.loopback = (entry->ifa_flags & IFF_LOOPBACK) != 0;
        if ((entry->ifa_flags & IFF_BROADCAST) != 0) {
            adapter.broadcast = adapter.address | ~adapter.mask;
        }
        adapter.mac = macOf(raw, entry->ifa_name);
        adapter.mtu = mtuOf(adapter.name);
        adapters.push_back(adapter);
    }
    std::stable_sort(
        adapters.begin(), adapters.end(),
        [](const NetworkAdapter& a, const NetworkAdapter& b) { return a.loopback < b.loopback; });
    return adapters;
}

bool usbAllowed() { return base::camerasAllowedAt("usb"); }

std::string ipText(std::uint32_t address)
{
    const in_addr in{htonl(address)};
    char text[INET_ADDRSTRLEN] = {};
    ::inet_ntop(AF_INET, &in, text, sizeof(text));
    return text;
}

} // namespace vision
