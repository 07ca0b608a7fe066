// IPv4 settings of devices through the features of a GigE Vision interface module.
#include "gentl/ip_features.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace gentl
{

using namespace std::chrono_literals;

namespace
{
constexpr const char* kSelector = "DeviceSelector";
constexpr std::int64_t kMaxDevices = 65536;
constexpr auto kForceTime = 5s;
} // namespace

ZelCamErr IpFeatures::read(const std::string& deviceId, core::IpSettings* settings)
{
    return withSelected(deviceId, [&] {
        ZelCamErr code = ZelErr::kOk;
        const auto ask = [&](const char* name, ZelCamErr* err) {
            return static_cast<std::uint32_t>(parameters_.GetIntegerValue(name, err));
        };
        core::IpSettings read;
        read.address = ask("GevDeviceIPAddress", &code);
        if (code == ZelErr::kOk) {
            read.mask = ask("GevDeviceSubnetMask", &code);
        }
        if (code == ZelErr::kOk) {
            read.gateway = ask("GevDeviceGateway", nullptr); // Often missing.
            *settings = read;
        }
        return code == ZelErr::kParamUnknown ? ZelErr::kGenTLNotImplemented : code;
    });
}

ZelCamErr IpFeatures::force(const std::string& deviceId, const core::IpSettings& settings)
{
    return withSelected(deviceId, [&] {
        ZelCamErr code = ZelErr::kOk;
        const auto set = [&](const char* name, std::uint32_t value) {
            if (code == ZelErr::kOk) {
                code = parameters_.SetIntegerValue(name, value);
            }
        };
        set("GevDeviceForceIPAddress", settings.address);
        set("GevDeviceForceSubnetMask", settings.mask);
        set("GevDeviceForceGateway", settings.gateway);
        if (code == ZelErr::kOk) {
            code = parameters_.ExecuteCommand("GevDeviceForceIP");
        }
        if (code != ZelErr::kOk) {
            return code == ZelErr::kParamUnknown ? ZelErr::kGenTLNotImplemented : code;
        }
        const auto end = std::chrono::steady_clock::now() + kForceTime;
        while (!parameters_.IsCommandDone("GevDeviceForceIP", &code) && code == ZelErr::kOk) {
            if (std::chrono::steady_clock::now() > end) {
                return ZelErr::kGenTLTimeout;
            }
            std::this_thread::sleep_for(5ms);
        }
        return code;
    });
}

ZelCamErr IpFeatures::withSelected(const std::string& deviceId,
                                   const std::function<ZelCamErr()>& body)
{
    if (!attached_) {
        if (parameters_.attach({&interface_}) != ZelErr::kOk) {
            return ZelErr::kGenTLNotImplemented;
        }
        attached_ = true;
    }
    params::ParamArray::invalidate(); // The user's node map writes the same registers.
    ZelCamErr known = ZelErr::kOk;
    const std::int64_t before = parameters_.GetIntegerValue(kSelector, &known);
    if (known != ZelErr::kOk) {
        return ZelErr::kGenTLNotImplemented;
    }
    ZelCamErr code = select(deviceId);
    if (code == ZelErr::kOk) {
        code = body();
    }
    static_cast<void>(parameters_.SetIntegerValue(kSelector, before));
    return code;
}

// The order of the selector is the module's own.
ZelCamErr IpFeatures::select(const std::string& deviceId)
{
    ZelGenParam::Int* const selector = parameters_.GetInt(kSelector, nullptr);
    if (selector == nullptr) {
        return ZelErr::kGenTLNotImplemented;
    }
    const std::int64_t first = selector->GetMin(nullptr);
    const std::int64_t last = std::min(selector->GetMax(nullptr), first + kMaxDevices);
    for (std::int64_t index = first; index <= last; ++index) {
        ZelCamErr code = selector->SetValue(index);
        if (code == ZelErr::kOk && deviceId == parameters_.GetStringValue("DeviceID", &code)) {
            return ZelErr::kOk;
        }
    }
    return ZelErr::kGenTLInvalidId;
}

} // namespace gentl
