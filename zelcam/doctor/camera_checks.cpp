// Checks of the cameras themselves: who answers, who can be reached, how the link fares.
#include "common/acquisition.h"
#include "common/feature.h"
#include "doctor/checks.h"

#include <arpa/inet.h>
#include <ifaddrs.h>

#include <algorithm>
#include <chrono>
#include <memory>

namespace doctor
{

namespace
{

using common::FoundCamera;

/// True when an adapter of this host is in the camera's subnet.
bool isReachable(std::uint32_t address, std::string& exampleAdapter)
{
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0) {
        return true;
    }
    const std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> owner(first, freeifaddrs);
    for (const ifaddrs* at = first; at != nullptr; at = at->ifa_next) {
        if (at->ifa_addr == nullptr || at->ifa_addr->sa_family != AF_INET ||
            at->ifa_netmask == nullptr) {
            continue;
        }
        const auto number = [](const sockaddr* which) {
            return ntohl(reinterpret_cast<const sockaddr_in*>(which)->sin_addr.s_addr);
        };
        if (((number(at->ifa_addr) ^ address) & number(at->ifa_netmask)) == 0) {
            return true;
        }
        exampleAdapter = at->ifa_name;
    }
    return false;
}

bool isPlainSerial(const std::string& text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), [](unsigned char c) {
        return std::isalnum(c) != 0 || c == '-' || c == '_' || c == '.';
    });
}

Finding checkOne(const FoundCamera& camera)
{
    const std::string name = camera.info->GetDisplayName();
    std::uint32_t address = 0;
    std::uint32_t mask = 0;
    std::uint32_t gateway = 0;
    const bool networked = camera.interface->GetType() == ZelCam::kGigEVision &&
                           camera.info->GetIP(&address, &mask, &gateway) == ZelErr::kOk;
    std::string adapter;
    if (networked && !common::isSimulated(camera) && !isReachable(address, adapter)) {
        const std::string serial = camera.info->GetSerialNumber();
        return {
            Level::Problem, "camera", name + " has the address " + camera.info->GetIPAddress(),
            "No adapter of this host is in its subnet, so it cannot be opened. Give it an address "
            "of the subnet of the adapter that it is connected to:",
            "zelcam forceip -c " + (isPlainSerial(serial) ? serial : std::string("SERIAL")) +
                " ADDRESS MASK"};
    }
    const std::string problem = common::accessProblem(camera);
    return problem.empty() ? Finding{Level::Good, "camera", name + " is free", "", ""}
                           : Finding{Level::Problem, "camera", name + ": " + problem, "", ""};
}

} // namespace

Findings checkCameras(const common::Options& options)
{
    const auto cameras = common::findCameras(options.discoveryMs());
    Findings result;
    bool anyReal = false;
    for (const FoundCamera& camera : cameras) {
        anyReal = anyReal || !common::isSimulated(camera);
        result.push_back(checkOne(camera));
    }
    if (!anyReal) {
        result.push_back(
            {Level::Hint, "discovery", "no real camera answers",
             "Is it powered and connected? A firewall that drops UDP from port 3956 hides GigE "
             "Vision "
             "cameras (`sudo nft list ruleset`, `sudo ufw status`); ZELCAM_VISION may leave its "
             "adapter out; a slow one wants --timeout 3000.",
             ""});
    }
    return result;
}

Findings checkLink(const common::Options& options)
{
    constexpr double kSeconds = 2;
    common::OpenCamera camera(options);
    const double packet = common::numberOr(&camera.features(), "GevSCPSPacketSize", 0);
    common::Acquisition acquisition(camera, false);
    const auto begin = std::chrono::steady_clock::now();
    double seconds = 0;
    while (seconds < kSeconds) {
        ZelCam::Buffer* const buffer = acquisition.next(options.frameMs());
        if (buffer == nullptr) {
            break;
        }
        acquisition.giveBack(buffer);
        seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    }
    const common::FrameCounts& counts = acquisition.counts();
    const double rate = static_cast<double>(counts.bytes) / seconds;
    std::string found =
        common::format("%llu frames in %.1f s, %.1f MB/s, %llu lost, %llu incomplete",
                       static_cast<unsigned long long>(counts.frames), seconds, rate / 1e6,
                       static_cast<unsigned long long>(counts.lost),
                       static_cast<unsigned long long>(counts.incomplete));
    // Of each packet 36 bytes are the headers of IP, UDP and the stream.
    constexpr double kHeaders = 36;
    if (packet > kHeaders) {
        found += common::format(", packets of %.0f bytes, %.0f per second", packet,
                                rate / (packet - kHeaders));
    }
    const double resent = common::numberOr(camera.transport(), "StreamResendPacketCount", 0);
    if (resent > 0) {
        found += common::format(", %.0f packets sent again", resent);
    }
    const bool good = counts.frames > 0 && counts.lost + counts.incomplete == 0;
    return {
        {good ? Level::Good : Level::Problem, "link", found,
         good ? ""
              : "The host or the network drops packets: mend what stands above first, then lower "
                "the frame rate or DeviceLinkThroughputLimit.",
         ""}};
}

} // namespace doctor
