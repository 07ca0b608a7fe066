#include "common/camera_choice.h"

#include "common/failure.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cstring>
#include <thread>

namespace common
{

namespace
{

using ZelCam::DeviceInfo;

std::string lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

template <class Test>
std::vector<FoundCamera> those(const std::vector<FoundCamera>& cameras, Test test)
{
    std::vector<FoundCamera> result;
    std::copy_if(cameras.begin(), cameras.end(), std::back_inserter(result), test);
    return result;
}

/// The number in "2" or "#2"; 0 for anything else.
int numberIn(const std::string& choice)
{
    const char* first = choice.c_str() + (choice.rfind('#', 0) == 0 ? 1 : 0);
    const char* const last = choice.c_str() + choice.size();
    int number = 0;
    const auto [end, error] = std::from_chars(first, last, number);
    return error == std::errc() && end == last && first != last ? number : 0;
}

std::string describeAll(const std::vector<FoundCamera>& cameras)
{
    std::string text;
    for (const FoundCamera& camera : cameras) {
        text += (text.empty() ? "" : ", ") + std::string(camera.info->GetDisplayName());
    }
    return text;
}

FoundCamera defaultCamera(const std::vector<FoundCamera>& cameras)
{
    const auto real = those(cameras, [](const FoundCamera& c) { return !isSimulated(c); });
    const auto free = those(real, [](const FoundCamera& c) { return accessProblem(c).empty(); });
    return !free.empty() ? free.front() : !real.empty() ? real.front() : cameras.front();
}

} // namespace

void loadProviders(const Options& options)
{
    for (const std::string& path : options.providers) {
        check("the producer " + path, ZelCam_GetSystem()->RegisterGenTLProvider(path.c_str()));
    }
}

std::vector<ZelCam::Interface*> allInterfaces()
{
    std::vector<ZelCam::Interface*> result;
    ZelCam::System* const system = ZelCam_GetSystem();
    ZelCam::InterfaceList* const list =
        system != nullptr ? system->GetInterfaceList(ZelCam::kAllInterfaces) : nullptr;
    if (list == nullptr) {
        throw Failure(Exit::Failed, "the camera SDK does not start; ZELCAM_LOG=backend tells more");
    }
    for (ZelCam::Interface* one = list->GetFirst(); one != nullptr; one = list->GetNext()) {
        result.push_back(one);
    }
    list->Release();
    return result;
}

std::vector<FoundCamera> findCameras(std::uint32_t timeoutMs)
{
    const auto interfaces = allInterfaces();
    std::vector<std::thread> searches;
    searches.reserve(interfaces.size());
    for (ZelCam::Interface* interface : interfaces) {
        searches.emplace_back([=] { interface->ReEnumerateDevices(nullptr, timeoutMs); });
    }
    for (std::thread& search : searches) {
        search.join();
    }
    std::vector<FoundCamera> result;
    for (ZelCam::Interface* interface : interfaces) {
        ZelCam::DeviceInfoList* const list = interface->GetDeviceInfoList();
        if (list == nullptr) {
            continue;
        }
        for (DeviceInfo* info = list->GetFirst(); info != nullptr; info = list->GetNext()) {
            result.push_back({static_cast<int>(result.size()) + 1, interface, info});
        }
        list->Release();
    }
    return result;
}

std::vector<FoundCamera> matching(const std::vector<FoundCamera>& cameras,
                                  const std::string& choice)
{
    using Getter = const char* (DeviceInfo::*)();
    constexpr std::array<Getter, 5> kKinds = {
        &DeviceInfo::GetSerialNumber, &DeviceInfo::GetUserDefinedName, &DeviceInfo::GetIPAddress,
        &DeviceInfo::GetDisplayName, &DeviceInfo::GetModel};
    if (choice.empty()) {
        return {};
    }
    for (const Getter kind : kKinds) {
        auto found =
            those(cameras, [&](const FoundCamera& c) { return choice == (c.info->*kind)(); });
        if (!found.empty()) {
            return found;
        }
    }
    if (const int number = numberIn(choice); number > 0) {
        return those(cameras, [=](const FoundCamera& c) { return c.index == number; });
    }
    const std::string part = lower(choice);
    return those(cameras, [&](const FoundCamera& c) {
        return lower(c.info->GetDisplayName()).find(part) != std::string::npos ||
               lower(c.info->GetUserDefinedName()).find(part) != std::string::npos;
    });
}

FoundCamera chooseOne(const std::vector<FoundCamera>& cameras, const std::string& choice)
{
    const auto found = matching(cameras, choice);
    if (found.empty()) {
        throw Failure(Exit::NoCamera, "no camera fits '" + choice +
                                          "': `zelcam list` shows what is there, `zelcam doctor` "
                                          "why one may be missing");
    }
    if (found.size() > 1) {
        throw Failure(Exit::NoCamera, "'" + choice + "' fits several cameras (" +
                                          describeAll(found) + "): take a serial number");
    }
    return found.front();
}

std::vector<FoundCamera> chosenCameras(const Options& options)
{
    const auto cameras = findCameras(options.discoveryMs());
    if (cameras.empty()) {
        throw Failure(Exit::NoCamera, "no camera was found: `zelcam doctor` looks for the reason");
    }
    if (options.cameras.empty()) {
        return {defaultCamera(cameras)};
    }
    std::vector<FoundCamera> result;
    for (const std::string& choice : options.cameras) {
        const FoundCamera found = chooseOne(cameras, choice);
        const bool isNew = std::none_of(result.begin(), result.end(), [&](const FoundCamera& c) {
            return c.index == found.index;
        });
        if (isNew) {
            result.push_back(found);
        }
    }
    return result;
}

FoundCamera chosenCamera(const Options& options)
{
    const auto cameras = chosenCameras(options);
    if (cameras.size() > 1) {
        throw Failure(Exit::Usage, "this command takes one camera: give --camera once");
    }
    return cameras.front();
}

bool isSimulated(const FoundCamera& camera)
{
    return std::strncmp(camera.interface->GetDescription(), "Simulated ", 10) == 0;
}

const char* interfaceTypeName(std::int32_t type)
{
    switch (type) {
    case ZelCam::kUsb3Vision:
        return "USB3 Vision";
    case ZelCam::kGigEVision:
        return "GigE Vision";
    case ZelCam::kCameraLink:
        return "Camera Link";
    case ZelCam::kCoaXPress:
        return "CoaXPress";
    case ZelCam::kHdSdi:
        return "HD-SDI";
    default:
        return "other";
    }
}

std::string accessProblem(const FoundCamera& camera)
{
    switch (camera.info->GetAccessStatus()) {
    case 3:
        return camera.interface->GetType() == ZelCam::kGigEVision
                   ? "not reachable: its address may be outside this host's networks (zelcam "
                     "doctor)"
                   : "no permission (zelcam doctor prints the rule)";
    case 4:
        return "another program controls it";
    default:
        return "";
    }
}

} // namespace common
