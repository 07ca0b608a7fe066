// Action commands of a simulated camera.
#include "simulator/action_section.h"

namespace simulator
{

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

std::size_t ActionSection::command(std::uint32_t deviceKey, std::uint32_t groupKey,
                                   std::uint32_t groupMask)
{
    std::size_t fired = 0;
    if (deviceKey_->integer() != deviceKey) {
        return fired;
    }
    for (std::size_t i = 0; i < kActions; ++i) {
        if (groupKey_->integer(i) == groupKey && (groupMask_->integer(i) & groupMask) != 0) {
            events_.fire(i == 0 ? CameraEvent::Action0 : CameraEvent::Action1, context_.now(), 0);
            ++fired;
        }
    }
    return fired;
}

} // namespace simulator
