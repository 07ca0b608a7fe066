// The stream channel and the message channel of a network camera: features and bootstrap registers.
#pragma once

#include "simulator/register_features.h"

#include <cstdint>

namespace simulator
{

/// Declares features into the present category. Channel 0 is the only one of both kinds.
class NetworkChannels
{
public:
    explicit NetworkChannels(RegisterFeatures& features);

    /// A restart: both channels close, their switches are those of a new camera.
    void restart();

private:
    void declareMessages();
    void declareStream();
    void declareStreamSwitches();
    void declareSwitch(const char* name, const char* toolTip, std::uint32_t bit);
    void addMessageRegisters();
    void addStreamRegisters();
    void addPort(std::uint32_t address);
    std::int32_t writePacketSize(std::uint32_t value);
    std::uint32_t packetSizeRegister() const;

    RegisterFeatures& features_;
    CameraContext& context_;
    BootstrapRegisters& registers_;
    Feature* packetSize_ = nullptr;
    Feature* doNotFragment_ = nullptr;
    Feature* packetDelay_ = nullptr;
};

} // namespace simulator
