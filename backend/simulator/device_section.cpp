// Identity, link, temperature, clock and reset of a simulated camera.
#include "simulator/device_section.h"

#include "gentl_abi/gentl_abi.h"

#include <array>
#include <cmath>
#include <utility>

namespace simulator
{

namespace
{

constexpr std::int64_t kUnlimitedLink = 10000000000; ///< Bytes per second that pass for no limit.
constexpr std::int64_t kLowestLimit = 100000;
constexpr std::uint64_t kResetMs = 1000;
constexpr std::uint64_t kSelfTestNs = 500000000;
constexpr std::uint32_t kTextSize = 64;

} // namespace

DeviceSection::DeviceSection(CameraContext& context, std::function<void()> powerLoss)
    : context_(context),
      linkSpeed_(context.config.linkBytesPerSecond == 0
                     ? kUnlimitedLink
                     : static_cast<std::int64_t>(context.config.linkBytesPerSecond))
{
    context.table.category("DeviceControl", "The camera itself.");
    declareIdentity();
    declareLink();
    declareTemperature();
    declareClock();
    declareTasks(std::move(powerLoss));
}

void DeviceSection::declareIdentity()
{
    FeatureTable& table = context_.table;
    const CameraConfig& config = context_.config;
    table.enumeration("DeviceType", "Kind of the device.")
        .guru()
        .readOnly()
        .entry("Transmitter", 0, "Sends images.");
    table.enumeration("DeviceScanType", "Shape of the sensor.")
        .expert()
        .readOnly()
        .entry("Areascan", 0, "An area of pixels.");
    table.string("DeviceVendorName", "Maker of the camera.", kTextSize)
        .readOnly()
        .value(config.vendor);
    table.string("DeviceModelName", "Model of the camera.", kTextSize)
        .readOnly()
        .value(config.model);
    table.string("DeviceFamilyName", "Family of the camera.", kTextSize)
        .readOnly()
        .value(std::string("Simulated cameras"));
    table.string("DeviceManufacturerInfo", "Remarks of the maker.", kTextSize)
        .expert()
        .readOnly()
        .value(std::string("Simulated: pictures are calculated."));
    table.string("DeviceVersion", "Version of the camera.", kTextSize)
        .readOnly()
        .value(config.version);
    table.string("DeviceFirmwareVersion", "Version of the firmware.", kTextSize)
        .expert()
        .readOnly()
        .value(config.version);
    table.string("DeviceSerialNumber", "Serial number of the camera.", kTextSize)
        .expert()
        .readOnly()
        .value(config.serialNumber);
    userId_ = &table.string("DeviceUserID", "Name that the user gave the camera.", kTextSize)
                   .describe("Name that the user gave the camera. It survives a reset.")
                   .value(config.userDefinedName)
                   .changesOthers()
                   .onChange([this](std::size_t) {
                       context_.post([](CameraObserver& observer) { observer.identityChanged(); });
                   });
    const auto versionPart = [&](const char* name, std::int64_t value) {
        table.integer(name, "Version of the feature names.").expert().readOnly().value(value);
    };
    versionPart("DeviceSFNCVersionMajor", 2);
    versionPart("DeviceSFNCVersionMinor", 7);
    versionPart("DeviceSFNCVersionSubMinor", 0);
    table.enumeration("DeviceRegistersEndianness", "Byte order of the registers.")
        .guru()
        .readOnly()
        .entry("Big", 1, "Most significant byte first.");
}

void DeviceSection::declareLink()
{
    FeatureTable& table = context_.table;
    table.integer("DeviceLinkSpeed", "Speed of the connection.")
        .unit("Bps")
        .expert()
        .readOnly()
        .value(linkSpeed_);
    limitMode_ = &table.enumeration("DeviceLinkThroughputLimitMode", "Applies the limit.")
                      .expert()
                      .streamable()
                      .entry("Off", 0, "As fast as the link.")
                      .entry("On", 1, "DeviceLinkThroughputLimit.")
                      .lockedIf(context_.whileStreaming())
                      .changesOthers()
                      .onChange([this](std::size_t) { context_.linkChanged(); });
    limit_ =
        &table.integer("DeviceLinkThroughputLimit", "Largest data rate of the camera.")
             .describe(
                 "Largest data rate of the camera. Below half of the link speed, formats of more "
                 "than 12 bits are not available, and the camera leaves them.")
             .unit("Bps")
             .expert()
             .streamable()
             .range(kLowestLimit, linkSpeed_)
             .value(linkSpeed_)
             .lockedIf(context_.whileStreaming())
             .changesOthers()
             .onChange([this](std::size_t) { context_.linkChanged(); });
}

void DeviceSection::declareTemperature()
{
    FeatureTable& table = context_.table;
    table.enumeration("DeviceTemperatureSelector", "Place that DeviceTemperature shows.")
        .expert()
        .entry("Sensor", 0, "At the sensor.")
        .entry("Mainboard", 1, "On the board.")
        .entry("FPGA", 2, "In the processor.")
        .entry("Housing", 3, "At the housing.");
    table.real("DeviceTemperature", "Temperature of the camera.")
        .unit("C")
        .expert()
        .readOnly()
        .scaledBy(100.0)
        .selectedBy("DeviceTemperatureSelector", 4)
        .onRead([this](std::size_t index) {
            // Warms up within minutes and then wanders slowly.
            const double seconds = static_cast<double>(context_.now()) / 1e9;
            const double warm = 1.0 - std::exp(-seconds / 120.0);
            constexpr std::array<double, 4> kRises = {16.0, 22.0, 31.0, 9.0};
            const double rise = kRises.at(index) * warm;
            return FeatureValue(25.0 + rise + 0.5 * std::sin(seconds / 40.0));
        });
}

void DeviceSection::declareClock()
{
    FeatureTable& table = context_.table;
    table.command("TimestampLatch", "Latches the clock.").expert().onExecute([this](std::size_t) {
        latched_ = context_.stamp(context_.now());
        return gentl::err::kSuccess;
    });
    table.integer("TimestampLatchHigh", "Upper half of the latched time.")
        .invisible()
        .readOnly()
        .bytes(4)
        .onRead([this](std::size_t) {
            return FeatureValue(static_cast<std::int64_t>(latched_ >> 32));
        });
    table.integer("TimestampLatchLow", "Lower half of the latched time.")
        .invisible()
        .readOnly()
        .bytes(4)
        .onRead([this](std::size_t) {
            return FeatureValue(static_cast<std::int64_t>(latched_ & 0xFFFFFFFF));
        });
    table.integer("TimestampLatchValue", "Time of the last latch.")
        .unit("ns")
        .expert()
        .formula("HIGH * 4294967296 + LOW",
                 {{"HIGH", "TimestampLatchHigh"}, {"LOW", "TimestampLatchLow"}});
}

void DeviceSection::declareTasks(std::function<void()> powerLoss)
{
    FeatureTable& table = context_.table;
    table.command("DeviceReset", "Restarts the camera.")
        .describe("Restarts the camera: it leaves, and is back after a second with the settings "
                  "of its default user set.")
        .guru()
        .onExecute([this, powerLoss = std::move(powerLoss)](std::size_t) {
            powerLoss();
            context_.post([](CameraObserver& observer) { observer.unplugged(kResetMs); });
            return gentl::err::kSuccess;
        });
    table.command("DeviceSelfTest", "Tests the camera; takes half a second.")
        .guru()
        .onExecute([this](std::size_t) {
            selfTestEndNs_ = context_.now() + kSelfTestNs;
            return gentl::err::kSuccess;
        })
        .busyWhile([this] { return context_.now() < selfTestEndNs_; });
}

std::uint64_t DeviceSection::linkRate() const
{
    return static_cast<std::uint64_t>(limitMode_->integer() != 0 ? limit_->integer() : linkSpeed_);
}

bool DeviceSection::hasRateForWideFormats() const
{
    return linkRate() >= static_cast<std::uint64_t>(linkSpeed_ / 2);
}

} // namespace simulator
