#include "simulator/gige/camera_server.h"

#include "base/ipv4.h"
#include "gige/wire/bootstrap.h"

#include <algorithm>
#include <stdexcept>
#include <system_error>

namespace simulator::gige
{

namespace
{

std::vector<HostAddress> hostAddresses(const std::vector<std::string>& texts)
{
    std::vector<HostAddress> found;
    for (const std::string& text : texts) {
        std::uint32_t address = 0;
        if (!base::parseIpv4(text.c_str(), &address)) {
            throw std::runtime_error("'" + text + "' is no IPv4 address");
        }
        found.push_back(hostAddress(address));
        if (found.back().mask == 0) {
            throw std::runtime_error("this host does not have the address " + text);
        }
    }
    if (found.empty()) {
        throw std::runtime_error("no address was given");
    }
    return found;
}

bool isCalled(const CameraConfig& camera, const std::string& name)
{
    return camera.serialNumber == name || camera.model == name;
}

std::vector<CameraConfig> describedCameras(const ServerOptions& options)
{
    std::string error;
    const auto interfaces = options.configFile.empty()
                                ? defaultInterfaces()
                                : interfacesFromFile(options.configFile, &error);
    if (!error.empty()) {
        throw std::runtime_error(error);
    }
    std::vector<CameraConfig> all;
    std::vector<CameraConfig> gige;
    for (const InterfaceConfig& interface : interfaces) {
        all.insert(all.end(), interface.cameras.begin(), interface.cameras.end());
        if (interface.tlType == "GEV") {
            gige.insert(gige.end(), interface.cameras.begin(), interface.cameras.end());
        }
    }
    if (options.cameras.empty()) {
        return gige;
    }
    std::vector<CameraConfig> chosen;
    for (const std::string& name : options.cameras) {
        const auto it = std::find_if(all.begin(), all.end(), [&](const CameraConfig& camera) {
            return isCalled(camera, name);
        });
        if (it == all.end()) {
            throw std::runtime_error("no camera is called '" + name + "'");
        }
        chosen.push_back(*it);
    }
    return chosen;
}

/// Cameras of other interfaces have no hardware address of their own.
void giveMacAddress(CameraConfig& camera, std::size_t index)
{
    if (camera.macAddress.empty()) {
        char text[32];
        std::snprintf(text, sizeof text, "02:5a:43:5e:%02x:%02x",
                      static_cast<unsigned>(index >> 8U & 0xFFU),
                      static_cast<unsigned>(index & 0xFFU));
        camera.macAddress = text;
    }
}

/// The address that the camera was told to keep, else the first free one; 0 without any.
std::uint32_t claimFor(const CameraConfig& camera, AddressPool& pool, SettingsFile& file)
{
    KeptSettings kept;
    const bool persistent =
        file.find(camera.serialNumber, &kept) && (kept.ipConfiguration & wire::kIpPersistent) != 0;
    if (persistent && pool.claim(kept.persistent.address)) {
        return kept.persistent.address;
    }
    return pool.claimAny();
}

} // namespace

CameraServer::CameraServer(const ServerOptions& options)
    : pool_(std::make_unique<AddressPool>(hostAddresses(options.addresses))),
      file_(std::make_unique<SettingsFile>(options.settingsFile))
{
    auto cameras = describedCameras(options);
    if (cameras.empty()) {
        throw std::runtime_error("the description has no GigE camera");
    }
    if (!options.cameras.empty() && options.addresses.size() < cameras.size()) {
        throw std::runtime_error("there are more cameras than addresses");
    }
    for (std::size_t i = 0; i < cameras.size() && i < options.addresses.size(); ++i) {
        giveMacAddress(cameras[i], i);
        const std::uint32_t address = claimFor(cameras[i], *pool_, *file_);
        try {
            cameras_.push_back(std::make_unique<ServedCamera>(cameras[i], address, *pool_, *file_));
        } catch (const std::system_error& error) {
            throw std::runtime_error("no camera at " + base::formatIpv4(address) + ": " +
                                     error.what());
        }
    }
}

} // namespace simulator::gige
