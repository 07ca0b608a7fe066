// ActionControl: what the camera does when an action command reaches it.
#pragma once

#include "simulator/event_section.h"

#include <cstdint>

namespace simulator
{

/// Used under the camera's lock.
class ActionSection
{
public:
    static constexpr std::size_t kActions = 2;

    ActionSection(CameraContext& context, EventSection& events);

    /// Fires the actions that device key, group key and mask select; returns how many.
    std::size_t command(std::uint32_t deviceKey, std::uint32_t groupKey, std::uint32_t groupMask);

private:
    CameraContext& context_;
    EventSection& events_;
    Feature* deviceKey_ = nullptr;
    Feature* groupKey_ = nullptr;
    Feature* groupMask_ = nullptr;
};

} // namespace simulator
