// Lines, user outputs and pulse trains of a simulated camera.
#include "simulator/line_section.h"

#include "gentl_abi/gentl_abi.h"

#include <algorithm>

namespace simulator
{

namespace
{

constexpr double kShortestPeriodUs = 200.0;
constexpr double kLongestUs = 60e6;
constexpr double kShortestPulseUs = 10.0;

CameraEvent edgeOf(std::size_t line, bool isRising)
{
    const auto first = static_cast<std::size_t>(CameraEvent::Line0RisingEdge);
    return static_cast<CameraEvent>(first + 2 * line + (isRising ? 0 : 1));
}

} // namespace

bool LineSection::Train::level(std::uint64_t atNs) const
{
    if (!isOn || atNs < firstNs) {
        return false;
    }
    const std::uint64_t pulse = (atNs - firstNs) / periodNs;
    return (pulses == 0 || pulse < pulses) && (atNs - firstNs) % periodNs < widthNs;
}

std::uint64_t LineSection::Train::edgeFrom(std::uint64_t atNs) const
{
    if (!isOn) {
        return kNever;
    }
    if (atNs <= firstNs) {
        return firstNs;
    }
    std::uint64_t pulse = (atNs - firstNs) / periodNs;
    const std::uint64_t rising = firstNs + pulse * periodNs;
    std::uint64_t edge = rising;
    if (atNs > rising) {
        edge = rising + widthNs;
    }
    if (atNs > edge) {
        edge = firstNs + ++pulse * periodNs;
    }
    return pulses == 0 || pulse < pulses ? edge : kNever;
}

LineSection::LineSection(CameraContext& context, EventSection& events, State isActive)
    : context_(context), events_(events), isActive_(std::move(isActive))
{
    for (Train& train : trains_) {
        train.edgeNs = kNever;
    }
    context.table.category("DigitalIOControl", "Lines to and from the world outside.");
    declareLines();
    declareLineState();
    declareUserOutputs();
    declareTrains();
}

void LineSection::declareLines()
{
    FeatureTable& table = context_.table;
    const auto refreshNow = [this](std::size_t) { refresh(context_.now()); };
    selector_ = &table.enumeration("LineSelector", "Line that the other features show.")
                     .expert()
                     .entry("Line0", 0, "An input.")
                     .entry("Line1", 1, "An input or an output.")
                     .entry("Line2", 2, "An output.");
    mode_ = &table.enumeration("LineMode", "Direction of the line.")
                 .describe("Direction of the line. Line1 can be both, the others cannot change.")
                 .expert()
                 .streamable()
                 .entry("Input", 0, "Signals come in.")
                 .entry("Output", 1, "Signals go out.")
                 .selectedBy("LineSelector", kLines)
                 .lockedIf([this] { return selector_->integer() != 1; })
                 .onWrite([this](std::size_t line, const FeatureValue& value) {
                     const bool isSame = std::get<std::int64_t>(value) == mode_->integer(line);
                     return line == 1 || isSame ? gentl::err::kSuccess : gentl::err::kAccessDenied;
                 })
                 .onChange(refreshNow);
    mode_->set(std::int64_t{1}, 2);
    inverter_ = &table.boolean("LineInverter", "Inverts the line.")
                     .expert()
                     .streamable()
                     .selectedBy("LineSelector", kLines)
                     .onChange(refreshNow);
    source_ = &table.enumeration("LineSource", "What an output shows.")
                   .expert()
                   .streamable()
                   .entry("Off", 0, "Nothing.")
                   .entry("UserOutput0", 1, "UserOutputValue of UserOutput0.")
                   .entry("UserOutput1", 2, "UserOutputValue of UserOutput1.")
                   .entry("ExposureActive", 3, "A frame is exposed.")
                   .entry("FrameTriggerWait", 4, "A frame trigger would be accepted.")
                   .entry("AcquisitionActive", 5, "The camera acquires.")
                   .entry("Timer0Active", 6, "Timer 0 runs.")
                   .entry("Timer1Active", 7, "Timer 1 runs.")
                   .selectedBy("LineSelector", kLines)
                   .availableIf(
                       [this] { return isOutput(static_cast<std::size_t>(selector_->integer())); })
                   .onChange(refreshNow);
}

void LineSection::declareLineState()
{
    FeatureTable& table = context_.table;
    table.boolean("LineStatus", "Present level of the line.")
        .expert()
        .readOnly()
        .selectedBy("LineSelector", kLines)
        .onRead([this](std::size_t line) {
            return FeatureValue(std::int64_t{level(line, context_.now())});
        });
    table.integer("LineStatusAll", "Present levels of all lines; bit 0 is Line0.")
        .expert()
        .readOnly()
        .representation("HexNumber")
        .onRead([this](std::size_t) {
            const std::uint64_t now = context_.now();
            std::int64_t all = 0;
            for (std::size_t line = 0; line < kLines; ++line) {
                all |= std::int64_t{level(line, now)} << line;
            }
            return FeatureValue(all);
        });
    table.enumeration("LineFormat", "Electrical format of the line.")
        .expert()
        .readOnly()
        .entry("OptoCoupled", 0, "Opto-coupled.")
        .entry("TTL", 1, "TTL.")
        .selectedBy("LineSelector", kLines)
        .onRead([](std::size_t line) { return FeatureValue(std::int64_t{line == 1}); });
}

void LineSection::declareUserOutputs()
{
    FeatureTable& table = context_.table;
    table.enumeration("UserOutputSelector", "Output that UserOutputValue sets.")
        .expert()
        .entry("UserOutput0", 0, "First output of the user.")
        .entry("UserOutput1", 1, "Second output of the user.");
    userOutput_ = &table.boolean("UserOutputValue", "State of the output.")
                       .expert()
                       .streamable()
                       .selectedBy("UserOutputSelector", 2)
                       .onChange([this](std::size_t) { refresh(context_.now()); });
}

void LineSection::declareTrains()
{
    FeatureTable& table = context_.table;
    const auto restart = [this](std::size_t line) { restartTrain(line); };
    const auto time = [&](const char* name, const char* toolTip, double value) -> Feature& {
        return table.real(name, toolTip)
            .unit("us")
            .guru()
            .selectedBy("SimulatorSignalSelector", kInputs)
            .value(value)
            .onChange(restart);
    };
    table.category("SimulatorSignalControl", "Pulses that a generator outside sends to the lines.");
    table.enumeration("SimulatorSignalSelector", "Line whose generator the other features show.")
        .guru()
        .entry("Line0", 0, "The generator at Line0.")
        .entry("Line1", 1, "The generator at Line1.");
    trainOn_ = &table.boolean("SimulatorSignalEnable", "Sends pulses to the line.")
                    .describe("Sends pulses to the line while it is an input. They begin anew "
                              "whenever a setting of the generator changes.")
                    .guru()
                    .selectedBy("SimulatorSignalSelector", kInputs)
                    .onChange(restart);
    trainDelay_ =
        &time("SimulatorSignalDelay", "Time until the first pulse.", 0.0).range(0.0, kLongestUs);
    trainPeriod_ = &time("SimulatorSignalPeriod", "Time from pulse to pulse.", 100000.0)
                        .range(kShortestPeriodUs, kLongestUs);
    trainWidth_ = &time("SimulatorSignalWidth", "Length of a pulse, less than the period.", 1000.0)
                       .range(kShortestPulseUs, kLongestUs);
    trainPulses_ = &table.integer("SimulatorSignalPulses", "Number of pulses; 0: without end.")
                        .guru()
                        .selectedBy("SimulatorSignalSelector", kInputs)
                        .range(std::int64_t{0}, std::int64_t{1000000000})
                        .onChange(restart);
}

void LineSection::restartTrain(std::size_t line)
{
    const std::uint64_t now = context_.now();
    Train& train = trains_.at(line);
    train.isOn = trainOn_->integer(line) != 0;
    train.firstNs = now + nanosecondsOf(trainDelay_->real(line));
    train.periodNs = nanosecondsOf(trainPeriod_->real(line));
    const std::uint64_t room = train.periodNs - nanosecondsOf(kShortestPulseUs);
    train.widthNs = std::min(nanosecondsOf(trainWidth_->real(line)), room);
    train.pulses = static_cast<std::uint64_t>(trainPulses_->integer(line));
    train.edgeNs = train.edgeFrom(now);
    if (train.edgeNs > now) {
        refresh(now); // A pulse that was under way ends.
    }
}

bool LineSection::sourceLevel(LineSource source, std::uint64_t atNs) const
{
    switch (source) {
    case LineSource::Off:
        return false;
    case LineSource::UserOutput0:
    case LineSource::UserOutput1:
        return userOutput_->integer(source == LineSource::UserOutput0 ? 0 : 1) != 0;
    default:
        return isActive_(source, atNs);
    }
}

bool LineSection::level(std::size_t line, std::uint64_t atNs) const
{
    bool isHigh = false;
    if (isOutput(line)) {
        isHigh = sourceLevel(static_cast<LineSource>(source_->integer(line)), atNs);
    } else if (line < kInputs) {
        isHigh = trains_[line].level(atNs);
    }
    return isHigh != (inverter_->integer(line) != 0);
}

std::uint64_t LineSection::nextNs() const
{
    std::uint64_t next = kNever;
    for (const Train& train : trains_) {
        next = std::min(next, train.edgeNs);
    }
    return next;
}

void LineSection::step()
{
    const std::uint64_t at = nextNs();
    for (Train& train : trains_) {
        if (train.edgeNs == at) {
            train.edgeNs = train.edgeFrom(at + 1);
        }
    }
    refresh(at);
}

void LineSection::skipTo(std::uint64_t atNs)
{
    for (std::size_t line = 0; line < kInputs; ++line) {
        trains_[line].edgeNs = trains_[line].edgeFrom(atNs);
        last_[line] = level(line, atNs);
    }
}

void LineSection::refresh(std::uint64_t atNs)
{
    for (std::size_t line = 0; line < kInputs; ++line) {
        const bool isHigh = level(line, atNs);
        if (isHigh != last_[line]) {
            last_[line] = isHigh; // First: what listens may look at the lines again.
            events_.fire(edgeOf(line, isHigh), atNs, 0);
        }
    }
}

bool LineSection::showsInside() const
{
    return isOutput(1) && source_->integer(1) > static_cast<std::int64_t>(LineSource::UserOutput1);
}

} // namespace simulator
