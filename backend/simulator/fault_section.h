// SimulatorFaultControl: faults on demand.
#pragma once

#include "simulator/camera_context.h"
#include "simulator/event_section.h"

#include <cstdint>
#include <functional>

namespace simulator
{

class FaultSection
{
public:
    /// `powerLoss`: what unplugging does to the camera's state.
    FaultSection(CameraContext& context, EventSection& events, std::function<void()> powerLoss);

    /// What becomes of the next frame; counts the faults down.
    void apply(FramePlan& plan);
    /// Code for a register access: 0, or that of the refusal that it uses up.
    std::int32_t nextAccess();

private:
    void declareFrames();
    void declareConnection();

    CameraContext& context_;
    EventSection& events_;
    std::function<void()> powerLoss_;
    Feature* drop_ = nullptr;
    Feature* incomplete_ = nullptr;
    Feature* incompleteLines_ = nullptr;
    Feature* delay_ = nullptr;
    Feature* delayTime_ = nullptr;
    Feature* returnTime_ = nullptr;
    Feature* refuse_ = nullptr;
    Feature* refuseCode_ = nullptr;
};

} // namespace simulator
