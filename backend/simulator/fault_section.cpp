// Faults on demand of a simulated camera.
#include "simulator/fault_section.h"

#include "gentl_abi/gentl_abi.h"

namespace simulator
{

namespace
{

constexpr std::int64_t kManyFrames = 1000000000;
constexpr std::int64_t kLongestMs = 3600000;

/// Takes one from a counter; false when it stands at 0.
bool takeOne(Feature& counter)
{
    const std::int64_t left = counter.integer();
    if (left > 0) {
        counter.set(left - 1);
    }
    return left > 0;
}

} // namespace

FaultSection::FaultSection(CameraContext& context, EventSection& events,
                           std::function<void()> powerLoss)
    : context_(context), events_(events), powerLoss_(std::move(powerLoss))
{
    context.table.category("SimulatorFaultControl", "Faults on demand.");
    declareFrames();
    declareConnection();
}

void FaultSection::declareFrames()
{
    FeatureTable& table = context_.table;
    const std::int64_t none = 0;
    drop_ = &table.integer("SimulatorDropFrames", "Frames that vanish from now on.")
                 .describe("The next n frames are exposed and lost on their way. Counts down to 0.")
                 .guru()
                 .changesByItself()
                 .range(none, kManyFrames);
    incomplete_ =
        &table.integer("SimulatorIncompleteFrames", "Frames that arrive incomplete.")
             .describe(
                 "Of the next n frames only SimulatorIncompleteLines lines arrive. Counts down to "
                 "0.")
             .guru()
             .changesByItself()
             .range(none, kManyFrames);
    incompleteLines_ =
        &table.integer("SimulatorIncompleteLines", "Lines of incomplete frames.")
             .describe("Lines that arrive of an incomplete frame, counted from the top.")
             .guru()
             .range(none, kManyFrames);
    delay_ = &table.integer("SimulatorDelayFrames", "Frames that arrive late.")
                  .describe("The next n frames arrive SimulatorDelayTime late. Counts down to 0.")
                  .guru()
                  .changesByItself()
                  .range(none, kManyFrames);
    delayTime_ = &table.integer("SimulatorDelayTime", "Delay of late frames.")
                      .unit("ms")
                      .guru()
                      .range(none, kLongestMs);
}

void FaultSection::declareConnection()
{
    FeatureTable& table = context_.table;
    table.command("SimulatorUnplug", "The camera leaves.")
        .describe("The camera leaves at once, as if unplugged, and comes back after "
                  "SimulatorUnplugReturnTime with the settings of its default user set.")
        .guru()
        .onExecute([this](std::size_t) {
            const std::int64_t back = returnTime_->integer();
            powerLoss_();
            context_.post([back](CameraObserver& observer) {
                observer.unplugged(static_cast<std::uint64_t>(back));
            });
            return gentl::err::kSuccess;
        });
    returnTime_ =
        &table.integer("SimulatorUnplugReturnTime", "Absence of the unplugged camera.")
             .describe("Milliseconds until the unplugged camera is back; -1: it stays away.")
             .unit("ms")
             .guru()
             .range(std::int64_t{-1}, kLongestMs)
             .value(std::int64_t{2000});
    refuseCode_ =
        &table.integer("SimulatorRefuseCode", "Code of refused register accesses.")
             .describe("Result code of the register accesses that SimulatorRefuseAccesses refuses.")
             .guru()
             .range(std::int64_t{-1023}, std::int64_t{-1001})
             .value(std::int64_t{gentl::err::kIo});
    refuse_ =
        &table.integer("SimulatorRefuseAccesses", "Register accesses to refuse.")
             .describe(
                 "The next n reads and writes of registers fail with SimulatorRefuseCode. Counts "
                 "down to 0.")
             .guru()
             .changesByItself()
             .range(std::int64_t{0}, kManyFrames);
    Feature& stop = table.boolean("SimulatorStopEvents", "No event leaves the camera.").guru();
    stop.onChange([this, &stop](std::size_t) { events_.setStopped(stop.integer() != 0); });
}

void FaultSection::apply(FramePlan& plan)
{
    plan.lost = takeOne(*drop_);
    if (takeOne(*incomplete_)) {
        plan.incomplete = true;
        plan.lines = static_cast<std::uint64_t>(incompleteLines_->integer());
    }
    if (takeOne(*delay_)) {
        plan.readyNs += static_cast<std::uint64_t>(delayTime_->integer()) * 1000000;
    }
}

std::int32_t FaultSection::nextAccess()
{
    return takeOne(*refuse_) ? static_cast<std::int32_t>(refuseCode_->integer())
                             : gentl::err::kSuccess;
}

} // namespace simulator
