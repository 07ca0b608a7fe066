#include "gige/network_adapter.h"

#include "base/camera_places.h"
#include "base/log.h"
#include "base/unique_fd.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <netinet/in.h>
#include <netpacket/packet.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>

namespace gige
{

namespace
{

constexpr std::uint32_t kUsualMtu = 1500;

std::uint32_t hostAddress(const sockaddr* address)
{
    if (address == nullptr || address->sa_family != AF_INET) {
        return 0;
    }
    sockaddr_in in{};
    std::memcpy(&in, address, sizeof in);
    return ntohl(in.sin_addr.s_addr);
}

std::uint32_t mtuOf(const std::string& name)
{
    const base::UniqueFd fd(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    ifreq request{};
    name.copy(request.ifr_name, sizeof request.ifr_name - 1);
    return fd && ::ioctl(fd.get(), SIOCGIFMTU, &request) == 0
               ? static_cast<std::uint32_t>(request.ifr_mtu)
               : kUsualMtu;
}

wire::MacAddress macOf(const ifaddrs* list, const char* name)
{
    wire::MacAddress mac{};
    for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr != nullptr && entry->ifa_addr->sa_family == AF_PACKET &&
            std::strcmp(entry->ifa_name, name) == 0) {
            sockaddr_ll link{};
            std::memcpy(&link, entry->ifa_addr, sizeof link);
            std::copy(link.sll_addr, link.sll_addr + 6, mac.begin());
        }
    }
    return mac;
}

NetworkAdapter describe(const ifaddrs* list, const ifaddrs& entry)
{
    NetworkAdapter adapter;
    adapter.name = entry.ifa_name;
    adapter.index = static_cast<int>(::if_nametoindex(entry.ifa_name));
    adapter.address = hostAddress(entry.ifa_addr);
    adapter.mask = hostAddress(entry.ifa_netmask);
    adapter.loopback = (entry.ifa_flags & IFF_LOOPBACK) != 0;
    if ((entry.ifa_flags & IFF_BROADCAST) != 0) {
        // What the system reports here is wrong for addresses that were set by hand.
        adapter.broadcast = adapter.address | ~adapter.mask;
    } else if ((entry.ifa_flags & IFF_POINTOPOINT) != 0) {
        adapter.broadcast = hostAddress(entry.ifa_dstaddr);
    }
    adapter.mac = macOf(list, entry.ifa_name);
    adapter.mtu = mtuOf(adapter.name);
    return adapter;
}

/// Question to the routing table, as it goes over the netlink socket.
struct RouteRequest {
    nlmsghdr header;
    rtmsg route;
    rtattr attribute;
    std::uint32_t address; ///< Network byte order.
};

/// Number of the outgoing adapter in an answer, 0 without one.
int outgoing(const std::uint8_t* bytes, std::size_t size)
{
    nlmsghdr header{};
    rtmsg route{};
    if (size < NLMSG_SPACE(sizeof route)) {
        return 0;
    }
    std::memcpy(&header, bytes, sizeof header);
    std::memcpy(&route, bytes + NLMSG_HDRLEN, sizeof route);
    if (header.nlmsg_type != RTM_NEWROUTE || header.nlmsg_len > size) {
        return 0;
    }
    int adapter = 0;
    bool gateway = false;
    std::size_t at = NLMSG_SPACE(sizeof route);
    rtattr attribute{};
    while (at + sizeof attribute <= header.nlmsg_len) {
        std::memcpy(&attribute, bytes + at, sizeof attribute);
        if (attribute.rta_len < sizeof attribute || attribute.rta_len > header.nlmsg_len - at) {
            break;
        }
        if (attribute.rta_type == RTA_OIF && attribute.rta_len >= RTA_LENGTH(sizeof adapter)) {
            std::memcpy(&adapter, bytes + at + RTA_LENGTH(0), sizeof adapter);
        }
        gateway = gateway || attribute.rta_type == RTA_GATEWAY;
        at += RTA_ALIGN(attribute.rta_len);
    }
    return gateway ? 0 : adapter;
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
        if ((entry->ifa_flags & IFF_UP) != 0 && hostAddress(entry->ifa_addr) != 0 &&
            base::camerasAllowedAt(entry->ifa_name)) {
            adapters.push_back(describe(raw, *entry));
        }
    }
    std::stable_sort(
        adapters.begin(), adapters.end(),
        [](const NetworkAdapter& a, const NetworkAdapter& b) { return a.loopback < b.loopback; });
    return adapters;
}

void reportUnknownAdapters()
{
    for (const std::string& name : base::namedCameraPlaces()) {
        const bool isAdapter = name != "usb" && name != "on" && name != "off";
        if (isAdapter && ::if_nametoindex(name.c_str()) == 0) {
            base::warn(base::LogChannel::Gige, "ZELCAM_VISION: there is no network adapter \"%s\"",
                       name.c_str());
        }
    }
}

int adapterTowards(std::uint32_t address)
{
    const base::UniqueFd fd(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE));
    RouteRequest request{};
    request.header.nlmsg_len = sizeof request;
    request.header.nlmsg_type = RTM_GETROUTE;
    request.header.nlmsg_flags = NLM_F_REQUEST;
    request.route.rtm_family = AF_INET;
    request.route.rtm_dst_len = 32;
    request.attribute.rta_len = RTA_LENGTH(sizeof request.address);
    request.attribute.rta_type = RTA_DST;
    request.address = htonl(address);
    std::array<std::uint8_t, 4096> answer{};
    if (!fd ||
        ::send(fd.get(), &request, sizeof request, 0) != static_cast<ssize_t>(sizeof request)) {
        return 0;
    }
    // The kernel has answered when send() returns.
    const ssize_t got = ::recv(fd.get(), answer.data(), answer.size(), MSG_DONTWAIT);
    return got > 0 ? outgoing(answer.data(), static_cast<std::size_t>(got)) : 0;
}

} // namespace gige
