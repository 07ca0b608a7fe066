// The control channel of a network camera: features and bootstrap registers.
#pragma once

#include "simulator/register_features.h"

#include <cstdint>

namespace simulator
{

/// Declares features into the present category.
class NetworkControl
{
public:
    explicit NetworkControl(RegisterFeatures& features);

    /// A restart: its switches are those of a new camera.
    void restart();

private:
    void declare();
    void addRegisters();
    void addSwitches();
    void addActions();
    std::int32_t latchTimestamp(std::uint32_t value);
    std::int32_t writeSwitches(std::uint32_t value);

    RegisterFeatures& features_;
    CameraContext& context_;
    BootstrapRegisters& registers_;
    Feature* heartbeat_ = nullptr;
    std::uint32_t switches_ = 0; ///< Of the control configuration, without PTP.
};

} // namespace simulator
