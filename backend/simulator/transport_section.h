// TransportLayerControl: payload, locks and, on GigE cameras, the network settings.
#pragma once

#include "simulator/camera_context.h"
#include "simulator/network_section.h"

#include <cstdint>
#include <functional>
#include <memory>

namespace simulator
{

class TransportSection
{
public:
    TransportSection(CameraContext& context, std::function<std::uint64_t()> payloadSize);

    /// Null on cameras without network.
    NetworkSection* network() { return network_.get(); }
    void setLocked(bool locked);
    /// What a restart does: locks open, persistent settings become the present ones.
    void restart();

private:
    CameraContext& context_;
    Feature* locked_ = nullptr;
    std::unique_ptr<NetworkSection> network_;
};

} // namespace simulator
