// Network settings of a GigE camera: its Gev features and its bootstrap registers.
#pragma once

#include "simulator/network_channels.h"
#include "simulator/network_control.h"

#include <optional>
#include <string>

namespace simulator
{

/// Declares features into the present category.
class NetworkSection
{
public:
    explicit NetworkSection(CameraContext& context);

    const IpConfig& ip() const { return ip_; }
    void forceIp(const IpConfig& ip);
    /// A restart: persistent settings become the present ones, channels and switches close.
    void restart();
    /// Where the description lies, as the URL registers tell it; `zipped` may be empty.
    void setUrls(const std::string& zipped, const std::string& plain);

    BootstrapRegisters& registers() { return registers_; }

private:
    void declareAddresses();
    void addIdentity();
    void addAddresses();
    void addManifest();

    CameraContext& context_;
    BootstrapRegisters registers_;
    RegisterFeatures features_;
    std::optional<NetworkControl> control_;
    std::optional<NetworkChannels> channels_;
    IpConfig ip_;
    std::string firstUrl_;
    std::string secondUrl_;
    Feature* usesDhcp_ = nullptr;
    Feature* usesPersistentIp_ = nullptr;
    Feature* persistentAddress_ = nullptr;
    Feature* persistentMask_ = nullptr;
    Feature* persistentGateway_ = nullptr;
};

} // namespace simulator
