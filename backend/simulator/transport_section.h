// TransportLayerControl: payload, locks and, on GigE cameras, the network settings.
#pragma once

#include "simulator/camera_context.h"

#include <cstdint>
#include <functional>

namespace simulator
{

class TransportSection
{
public:
    TransportSection(CameraContext& context, std::function<std::uint64_t()> payloadSize);

    const IpConfig& ip() const { return ip_; }
    void forceIp(const IpConfig& ip);
    void setLocked(bool locked);
    /// What a restart does: persistent settings become the present ones.
    void restart();

private:
    void declareNetwork();
    void declareStreamChannel();
    Feature& address(const char* name, const char* toolTip);

    CameraContext& context_;
    IpConfig ip_;
    Feature* locked_ = nullptr;
    Feature* usesPersistentIp_ = nullptr; ///< Null on cameras without network.
    Feature* persistentAddress_ = nullptr;
    Feature* persistentMask_ = nullptr;
    Feature* persistentGateway_ = nullptr;
};

} // namespace simulator
