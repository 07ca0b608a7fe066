// ActionControl: what the camera does when an action command reaches it.
#pragma once

#include "simulator/event_section.h"
#include "simulator/timed_section.h"

#include <array>
#include <cstdint>
#include <map>
#include <optional>

namespace simulator
{

/// An action command of the network.
struct ActionCommand {
    std::uint32_t deviceKey = 0;
    std::uint32_t groupKey = 0;
    std::uint32_t groupMask = 0;
    std::optional<std::uint64_t> time; ///< When to act, on the clock that a master sets, in ns.
};

/// What becomes of it.
enum class ActionFate {
    NotMeant, ///< Its keys are not the camera's.
    Done,     ///< Or will be, at its time.
    Late,     ///< Done, but its time has passed.
    Full,     ///< Too many wait: not done.
    TooFar,   ///< More than a day ahead: not done.
    NoClock,  ///< The clock follows no master: not done.
};

/// Used under the camera's lock.
class ActionSection final : public TimedSection
{
public:
    static constexpr std::size_t kActions = 2;
    static constexpr std::size_t kMostScheduled = 16;

    ActionSection(CameraContext& context, EventSection& events);

    /// Fires the actions that device key, group key and mask select, at their time. `hasClock`:
    /// the clock follows a master.
    ActionFate command(const ActionCommand& command, bool hasClock);
    std::uint64_t nextNs() const override;
    void step() override;
    /// Forgets what waits.
    void restart() { scheduled_.clear(); }

private:
    using Chosen = std::array<bool, kActions>;
    void fire(const Chosen& chosen, std::uint64_t atNs);

    CameraContext& context_;
    EventSection& events_;
    Feature* deviceKey_ = nullptr;
    Feature* groupKey_ = nullptr;
    Feature* groupMask_ = nullptr;
    std::multimap<std::uint64_t, Chosen> scheduled_; ///< By the time of clocks outside.
};

} // namespace simulator
