// The clock of a simulated camera that follows a master.
#include "simulator/ptp_section.h"

#include "gentl_abi/gentl_abi.h"
#include "gige/wire/bootstrap.h"

#include <array>
#include <chrono>
#include <cmath>

namespace simulator
{

namespace
{

// A camera needs some time until it trusts a master.
constexpr double kListensAfter = 0.1; ///< Seconds.
constexpr double kCalibratesAfter = 0.4;
constexpr double kFollowsAfter = 1.0;
constexpr std::int64_t kMasterId = 0x025A43FFFE000000;

/// An EUI-64 from a hardware address.
std::int64_t clockId(std::uint64_t mac)
{
    return static_cast<std::int64_t>((mac >> 24) << 40 | std::uint64_t{0xFFFE} << 24 |
                                     (mac & 0xFFFFFF));
}

} // namespace

PtpSection::PtpSection(CameraContext& context, BootstrapRegisters* registers)
    : context_(context), clockId_(clockId(macNumber(context.config.macAddress)))
{
    if (registers == nullptr) {
        return;
    }
    context.table.category("PtpControl", "Clocks of one network that agree.");
    declareState();
    declareClocks();
    registers->number(::gige::wire::reg::kPtpStatus,
                      [this] { return portState(present().status); });
}

void PtpSection::declareState()
{
    FeatureTable& table = context_.table;
    enable_ = &table.boolean("PtpEnable", "The clock follows a master.")
                   .describe("The clock of the camera follows a master: this host's real time "
                             "clock. Timestamps count from 1970 once PtpStatus is Slave.")
                   .expert()
                   .lockedIf([this] { return context_.acquiring; })
                   .changesOthers()
                   .onChange([this](std::size_t) {
                       enabledNs_ = context_.now();
                       isSet_ = false;
                   });
    table.command("PtpDataSetLatch", "Lets the other features show the present state.")
        .expert()
        .onExecute([this](std::size_t) {
            latched_ = present();
            return gentl::err::kSuccess;
        });
    table.enumeration("PtpStatus", "State at the last latch.")
        .expert()
        .readOnly()
        .entry("Initializing", kInitializing, "Begins.")
        .entry("Disabled", kDisabled, "PtpEnable is off.")
        .entry("Listening", kListening, "Looks for a master.")
        .entry("Uncalibrated", kUncalibrated, "Has a master, not yet its time.")
        .entry("Slave", kSlave, "Follows the master.")
        .onRead([this](std::size_t) { return FeatureValue(latched_.status); });
    table.integer("PtpOffsetFromMaster", "Difference to the master at the last latch.")
        .unit("ns")
        .expert()
        .readOnly()
        .onRead([this](std::size_t) { return FeatureValue(latched_.offset); });
}

void PtpSection::declareClocks()
{
    FeatureTable& table = context_.table;
    const auto clock = [&](const char* name, const char* toolTip) -> Feature& {
        return table.integer(name, toolTip).expert().readOnly().representation("HexNumber");
    };
    clock("PtpClockID", "Identity of the camera's clock.").value(clockId_);
    for (const char* name : {"PtpParentClockID", "PtpGrandmasterClockID"}) {
        clock(name, "Identity of the clock that this one follows; its own when it follows none.")
            .onRead([this](std::size_t) {
                return FeatureValue(latched_.status == kSlave ? kMasterId : clockId_);
            });
    }
}

std::uint32_t PtpSection::portState(std::int64_t status)
{
    constexpr std::array<std::uint32_t, kSlave + 1> kStates = {1, 3, 4, 8, 9};
    return kStates.at(static_cast<std::size_t>(status));
}

PtpSection::Data PtpSection::present() const
{
    if (enable_ == nullptr || enable_->integer() == 0) {
        return {};
    }
    const double seconds = static_cast<double>(context_.now() - enabledNs_) / 1e9;
    if (seconds < kCalibratesAfter) {
        return {seconds < kListensAfter ? kInitializing : kListening, 0};
    }
    if (seconds < kFollowsAfter) {
        return {kUncalibrated, std::llround(1e6 * std::exp(-12.0 * (seconds - kCalibratesAfter)))};
    }
    return {kSlave, std::llround(150.0 * std::sin(seconds))};
}

void PtpSection::follow()
{
    if (enable_ == nullptr || enable_->integer() == 0 || isSet_ || present().status != kSlave) {
        return;
    }
    isSet_ = true;
    const auto master = std::chrono::system_clock::now().time_since_epoch();
    context_.clockOffsetNs = std::chrono::duration_cast<std::chrono::nanoseconds>(master).count() -
                             static_cast<std::int64_t>(context_.now());
}

void PtpSection::restart()
{
    if (enable_ != nullptr) {
        enable_->set(std::int64_t{0});
    }
}

} // namespace simulator
