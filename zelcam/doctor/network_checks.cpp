// Checks of the network: what loses packets of GigE Vision cameras.
#include "doctor/checks.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>

#include <cctype>
#include <memory>

namespace doctor
{

namespace
{

struct Adapter {
    std::string name;
    std::uint32_t address;
    std::uint32_t mask;
};

std::vector<Adapter> adaptersOfThisHost()
{
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0) {
        return {};
    }
    const std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> owner(first, freeifaddrs);
    std::vector<Adapter> result;
    const auto number = [](const sockaddr* address) {
        return ntohl(reinterpret_cast<const sockaddr_in*>(address)->sin_addr.s_addr);
    };
    for (const ifaddrs* at = first; at != nullptr; at = at->ifa_next) {
        const bool usable = at->ifa_addr != nullptr && at->ifa_addr->sa_family == AF_INET &&
                            at->ifa_netmask != nullptr && (at->ifa_flags & IFF_UP) != 0 &&
                            (at->ifa_flags & IFF_LOOPBACK) == 0;
        if (usable) {
            result.push_back({at->ifa_name, number(at->ifa_addr), number(at->ifa_netmask)});
        }
    }
    return result;
}

/// True for names that may stand in a command for the shell.
bool isPlain(const std::string& name)
{
    for (const char c : name) {
        if (std::isalnum(static_cast<unsigned char>(c)) == 0 && c != '-' && c != '_' && c != '.') {
            return false;
        }
    }
    return !name.empty();
}

Finding receiveBuffers(const HostFiles& host)
{
    constexpr long kWanted = 33554432;
    const long size = host.number("/proc/sys/net/core/rmem_max").value_or(0);
    const std::string found = "rmem_max is " + std::to_string(size) + " bytes";
    if (size >= kWanted / 2) {
        return {Level::Good, "receive buffers", found, "", ""};
    }
    return {Level::Problem, "receive buffers", found,
            "A frame arrives faster than a program can fetch packets; what does not fit is lost.",
            "sudo sysctl -w net.core.rmem_max=" + std::to_string(kWanted)};
}

/// Adapters that have a cable: loopback and the virtual ones of containers are left out.
std::vector<std::string> wired(const HostFiles& host)
{
    std::vector<std::string> result;
    for (const std::string& name : host.names("/sys/class/net")) {
        const std::string folder = "/sys/class/net/" + name;
        const bool ethernet = host.number(folder + "/type").value_or(0) == 1;
        const bool up = host.line(folder + "/operstate").value_or("") != "down";
        const bool virtualOne = name.rfind("veth", 0) == 0 || name.rfind("docker", 0) == 0 ||
                                name.rfind("br-", 0) == 0 || name.rfind("virbr", 0) == 0;
        if (ethernet && up && !virtualOne && isPlain(name)) {
            result.push_back(name);
        }
    }
    return result;
}

Finding frameSize(const HostFiles& host, const std::string& name)
{
    constexpr long kJumbo = 8000;
    const long mtu = host.number("/sys/class/net/" + name + "/mtu").value_or(0);
    const std::string topic = "frame size of " + name;
    const std::string found = "MTU is " + std::to_string(mtu);
    if (mtu >= kJumbo) {
        return {Level::Good, topic, found, "", ""};
    }
    return {
        Level::Hint, topic, found,
        "GigE Vision cameras send six times as many packets as with 9000, which costs processor "
        "time and loses frames. Switches between must take jumbo frames, too.",
        "sudo ip link set dev " + name + " mtu 9000"};
}

Finding reversePath(const HostFiles& host, const std::string& name)
{
    const auto at = [&](const std::string& which) {
        return host.number("/proc/sys/net/ipv4/conf/" + which + "/rp_filter").value_or(0);
    };
    // The kernel takes the larger of the two; 1 is strict.
    const long filter = std::max(at("all"), at(name));
    const std::string topic = "reverse path filter of " + name;
    const std::string found = "rp_filter is " + std::to_string(filter);
    if (filter != 1) {
        return {Level::Good, topic, found, "", ""};
    }
    return {
        Level::Hint, topic, found,
        "Answers of cameras in another subnet are thrown away: they are not listed and cannot be "
        "given an address.",
        "sudo sysctl -w net.ipv4.conf.all.rp_filter=0 net.ipv4.conf." + name + ".rp_filter=0"};
}

Findings sharedSubnets()
{
    Findings result;
    const auto adapters = adaptersOfThisHost();
    for (std::size_t i = 0; i < adapters.size(); ++i) {
        for (std::size_t j = i + 1; j < adapters.size(); ++j) {
            const std::uint32_t mask = adapters[i].mask & adapters[j].mask;
            const bool same = (adapters[i].address & mask) == (adapters[j].address & mask) &&
                              adapters[i].name != adapters[j].name;
            if (same) {
                result.push_back(
                    {Level::Problem, "subnets",
                     adapters[i].name + " and " + adapters[j].name + " are in one subnet",
                     "Packets leave by one of the two only: cameras at the other do not answer. "
                     "Give "
                     "each adapter a subnet of its own.",
                     ""});
            }
        }
    }
    if (result.empty()) {
        result.push_back({Level::Good, "subnets", "every adapter has a subnet of its own", "", ""});
    }
    return result;
}

} // namespace

Findings checkNetwork(const HostFiles& host)
{
    Findings result = {receiveBuffers(host)};
    for (const std::string& name : wired(host)) {
        result.push_back(frameSize(host, name));
        result.push_back(reversePath(host, name));
    }
    if (host.isThisHost()) {
        const Findings shared = sharedSubnets();
        result.insert(result.end(), shared.begin(), shared.end());
    }
    return result;
}

} // namespace doctor
