// The C functions of libZelCameraServe.
#include "base/fork_guard.h"
#include "base/ipv4.h"
#include "simulator/gige/camera_server.h"
#include "zel_camera_serve.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>

struct ZelServe {
    explicit ZelServe(const simulator::gige::ServerOptions& options) : server(options) {}
    simulator::gige::CameraServer server;
    base::ForkStamp made;
};

namespace
{

simulator::gige::ServerOptions optionsOf(const ZelServeOptions* given)
{
    ZelServeOptions whole{};
    if (given != nullptr) {
        std::memcpy(&whole, given, std::min<std::size_t>(given->size, sizeof whole));
    }
    const auto text = [](const char* each) { return std::string(each == nullptr ? "" : each); };
    simulator::gige::ServerOptions options;
    for (std::uint32_t i = 0; whole.addresses != nullptr && i < whole.addressCount; ++i) {
        options.addresses.push_back(text(whole.addresses[i]));
    }
    for (std::uint32_t i = 0; whole.cameras != nullptr && i < whole.cameraCount; ++i) {
        options.cameras.push_back(text(whole.cameras[i]));
    }
    options.configFile = text(whole.configFile);
    options.settingsFile = text(whole.settingsFile);
    return options;
}

} // namespace

ZelServe* ZelServe_Start(const ZelServeOptions* options, char* error, uint32_t errorSize)
{
    try {
        return new ZelServe(optionsOf(options));
    } catch (const std::exception& failure) {
        if (error != nullptr && errorSize != 0) {
            std::snprintf(error, errorSize, "%s", failure.what());
        }
        return nullptr;
    }
}

void ZelServe_Stop(ZelServe* serve)
{
    // The threads of a forked child's copy are the parent's, and cannot be waited for.
    if (serve != nullptr && !serve->made.isInherited()) {
        delete serve;
    }
}

uint32_t ZelServe_GetCount(const ZelServe* serve)
{
    return serve == nullptr ? 0 : static_cast<uint32_t>(serve->server.cameras().size());
}

uint32_t ZelServe_Describe(const ZelServe* serve, uint32_t index, char* text, uint32_t size)
{
    if (index >= ZelServe_GetCount(serve)) {
        return 0;
    }
    const auto& camera = *serve->server.cameras()[index];
    const int length = std::snprintf(
        text, text == nullptr ? 0 : size, "%s %s %s", base::formatIpv4(camera.address()).c_str(),
        camera.config().model.c_str(), camera.config().serialNumber.c_str());
    return length < 0 ? 0 : static_cast<uint32_t>(length);
}
