// Features of a network camera that show its bootstrap registers.
#pragma once

#include "simulator/bootstrap_registers.h"
#include "simulator/camera_context.h"

#include <cstdint>

namespace simulator
{

/// What the sections of a network camera declare with. Where feature and register tell the same,
/// the feature holds the value if it belongs into user sets, else the register. Borrows both; used
/// under the camera's lock.
class RegisterFeatures
{
public:
    RegisterFeatures(CameraContext& cameraContext, BootstrapRegisters& bootstrap)
        : context(cameraContext), registers(bootstrap)
    {
    }

    /// A feature that is an IPv4 address.
    Feature& address(const char* name, const char* toolTip);
    /// Lets a feature show, and with `writable` set, a register or the bits `mask` of it.
    Feature& shows(Feature& feature, std::uint32_t reg, std::uint32_t mask, bool writable);
    /// Adds a register whose value a feature keeps.
    void addKept(std::uint32_t address, Feature* feature);

    static std::uint32_t number(const Feature* feature)
    {
        return static_cast<std::uint32_t>(feature->integer());
    }

    CameraContext& context;
    BootstrapRegisters& registers;
};

} // namespace simulator
