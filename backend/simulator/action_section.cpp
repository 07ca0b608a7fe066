// Action commands of a simulated camera.
#include "simulator/action_section.h"

namespace simulator
{

namespace
{

constexpr std::uint64_t kLongestWaitNs = 86'400'000'000'000; ///< A day.

} // namespace

ActionSection::ActionSection(CameraContext& context, EventSection& events)
    : context_(context), events_(events)
{
    FeatureTable& table = context.table;
    const auto word = [&](const char* name, const char* toolTip) -> Feature& {
        return table.integer(name, toolTip)
            .bytes(4)
            .guru()
            .representation("HexNumber")
            .range(std::int64_t{0}, std::int64_t{0xFFFFFFFF});
    };
    table.category("ActionControl", "What action commands of the network do.");
    deviceKey_ = &word("ActionDeviceKey", "Key that a command must have.");
    table.integer("ActionSelector", "Action that the other features show.")
        .guru()
        .range(std::int64_t{0}, std::int64_t{kActions - 1});
    groupMask_ = &word("ActionGroupMask", "A command needs a bit of it in its own mask.")
                      .streamable()
                      .selectedBy("ActionSelector", kActions);
    groupKey_ = &word("ActionGroupKey", "Key of the group that a command must have.")
                     .streamable()
                     .selectedBy("ActionSelector", kActions);
}

ActionFate ActionSection::command(const ActionCommand& command, bool hasClock)
{
    Chosen chosen{};
    bool isMeant = false;
    for (std::size_t i = 0; i < kActions; ++i) {
        chosen[i] = deviceKey_->integer() == command.deviceKey &&
                    groupKey_->integer(i) == command.groupKey &&
                    (groupMask_->integer(i) & command.groupMask) != 0;
        isMeant = isMeant || chosen[i];
    }
    const std::uint64_t now = context_.now();
    if (!isMeant) {
        return ActionFate::NotMeant;
    }
    if (command.time && !hasClock) {
        return ActionFate::NoClock;
    }
    if (!command.time || *command.time <= context_.stamp(now)) {
        fire(chosen, now);
        return command.time ? ActionFate::Late : ActionFate::Done;
    }
    if (*command.time - context_.stamp(now) > kLongestWaitNs) {
        return ActionFate::TooFar;
    }
    if (scheduled_.size() == kMostScheduled) {
        return ActionFate::Full;
    }
    scheduled_.emplace(*command.time, chosen);
    return ActionFate::Done;
}

void ActionSection::fire(const Chosen& chosen, std::uint64_t atNs)
{
    for (std::size_t i = 0; i < kActions; ++i) {
        if (chosen[i]) {
            events_.fire(i == 0 ? CameraEvent::Action0 : CameraEvent::Action1, atNs, 0);
        }
    }
}

std::uint64_t ActionSection::nextNs() const
{
    if (scheduled_.empty()) {
        return kNever;
    }
    // A clock that was set forward meanwhile makes it overdue.
    const std::uint64_t time = scheduled_.begin()->first;
    const std::uint64_t origin = context_.stamp(0);
    return time > origin ? time - origin : 0;
}

void ActionSection::step()
{
    const std::uint64_t at = nextNs();
    const Chosen chosen = scheduled_.begin()->second;
    scheduled_.erase(scheduled_.begin()); // First: what it triggers may look here again.
    fire(chosen, at == 0 ? context_.now() : at);
}

} // namespace simulator
