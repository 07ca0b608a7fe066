// Network settings of a GigE camera: its Gev features and its bootstrap registers.
#pragma once

#include "simulator/bootstrap_registers.h"
#include "simulator/camera_context.h"

#include <cstdint>
#include <string>

namespace simulator
{

/// Declares features into the present category. Where feature and register tell the same, the
/// feature holds the value if it belongs into user sets, else the register.
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
    void declareControl();
    void declareMessageChannel();
    void declareStreamChannel();
    void declareStreamSwitches();
    Feature& address(const char* name, const char* toolTip);
    /// A feature that shows, and with `writable` sets, a register or the bits `mask` of it.
    Feature& shows(Feature& feature, std::uint32_t reg, std::uint32_t mask, bool writable);

    void addIdentity();
    void addAddresses();
    void addControl();
    void addChannels();
    void addManifest();
    void addActions();
    std::int32_t writePacketSize(std::uint32_t value);
    std::uint32_t packetSizeRegister() const;
    std::int32_t latchTimestamp(std::uint32_t value);

    CameraContext& context_;
    BootstrapRegisters registers_;
    IpConfig ip_;
    std::string firstUrl_;
    std::string secondUrl_;
    Feature* usesDhcp_ = nullptr;
    Feature* usesPersistentIp_ = nullptr;
    Feature* persistentAddress_ = nullptr;
    Feature* persistentMask_ = nullptr;
    Feature* persistentGateway_ = nullptr;
    Feature* heartbeat_ = nullptr;
    Feature* packetSize_ = nullptr;
    Feature* doNotFragment_ = nullptr;
    Feature* packetDelay_ = nullptr;
};

} // namespace simulator
