// DeviceControl: identity, link, temperature, clock, reset.
#pragma once

#include "simulator/camera_context.h"

#include <cstdint>
#include <functional>
#include <string>

namespace simulator
{

class DeviceSection
{
public:
    /// `powerLoss`: what a reset does to the camera's state.
    DeviceSection(CameraContext& context, std::function<void()> powerLoss);

    std::string userId() const { return userId_->text(); }
    /// Bytes per second that images may take.
    std::uint64_t linkRate() const;
    /// Whether formats of more than 12 bits may be used.
    bool hasRateForWideFormats() const;

private:
    void declareIdentity();
    void declareLink();
    void declareTemperature();
    void declareClock();
    void declareTasks(std::function<void()> powerLoss);

    CameraContext& context_;
    std::int64_t linkSpeed_;
    Feature* userId_ = nullptr;
    Feature* limitMode_ = nullptr;
    Feature* limit_ = nullptr;
    std::uint64_t latched_ = 0;
    std::uint64_t selfTestEndNs_ = 0;
};

} // namespace simulator
