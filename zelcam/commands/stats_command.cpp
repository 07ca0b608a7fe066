#include "commands/stats_command.h"

#include "common/acquisition.h"
#include "common/feature.h"
#include "common/interrupt.h"

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cmath>

namespace commands
{

using common::Json;

namespace
{

using Clock = std::chrono::steady_clock;

double processorSeconds()
{
    struct rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& t) {
        return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// Milliseconds since the frame was taken by the camera's own clock; NaN without one.
double ageMs(ZelGenParam::Array& features, ZelCam::Buffer& buffer)
{
    if (features.ExecuteCommand("TimestampLatch") != ZelErr::kOk) {
        return NAN;
    }
    const double now = common::numberOr(&features, "TimestampLatchValue", NAN);
    return (now - static_cast<double>(buffer.GetTimestamp())) / 1e6;
}

/// What the counters said a while ago.
struct Mark {
    Clock::time_point time = Clock::now();
    common::FrameCounts counts;
    double processor = processorSeconds();
};

Json report(const Mark& before, const Mark& now, double age, ZelGenParam::Array* transport)
{
    const double seconds = std::chrono::duration<double>(now.time - before.time).count();
    const auto rate = [&](std::uint64_t later, std::uint64_t earlier) {
        return std::round(static_cast<double>(later - earlier) / seconds * 100) / 100;
    };
    Json result = {{"frames", now.counts.frames},
                   {"frames_per_second", rate(now.counts.frames, before.counts.frames)},
                   {"megabytes_per_second", rate(now.counts.bytes, before.counts.bytes) / 1e6},
                   {"lost", now.counts.lost},
                   {"incomplete", now.counts.incomplete},
                   {"processor_percent",
                    std::round((now.processor - before.processor) / seconds * 1000) / 10}};
    if (!std::isnan(age)) {
        result["latency_ms"] = std::round(age * 100) / 100;
    }
    for (const auto& [key, name] : {std::pair("lost_by_transport", "StreamLostFrameCount"),
                                    std::pair("resent_packets", "StreamResendPacketCount"),
                                    std::pair("missing_packets", "StreamMissingPacketCount")}) {
        if (const double value = common::numberOr(transport, name, -1); value >= 0) {
            result[key] = static_cast<std::int64_t>(value);
        }
    }
    return result;
}

std::string lineOf(const Json& report)
{
    std::string text = common::format(
        "%8lld frames %8.2f fps %9.1f MB/s  lost %lld  incomplete %lld  cpu %.1f %%",
        report["frames"].get<long long>(), report["frames_per_second"].get<double>(),
        report["megabytes_per_second"].get<double>(), report["lost"].get<long long>(),
        report["incomplete"].get<long long>(), report["processor_percent"].get<double>());
    if (report.contains("latency_ms")) {
        text += common::format("  latency %.2f ms", report["latency_ms"].get<double>());
    }
    if (report.contains("resent_packets")) {
        text += "  resent " + common::dump(report["resent_packets"]);
    }
    return text;
}

} // namespace

StatsCommand::StatsCommand(CLI::App& parent)
    : Command(parent, "stats", "Show frames, losses, throughput, latency and processor time, live")
{
    app()
        .add_option("-t,--seconds", seconds_, "how long; default: until Ctrl-C")
        ->check(CLI::PositiveNumber);
}

common::Exit StatsCommand::run(const Context& context)
{
    common::OpenCamera camera(context.options);
    common::Acquisition acquisition(camera, false);
    const Mark begin;
    Mark last = begin;
    double age = NAN;
    const auto over = [&](Clock::time_point now) {
        return seconds_ > 0 && std::chrono::duration<double>(now - begin.time).count() >= seconds_;
    };
    while (!over(Clock::now())) {
        ZelCam::Buffer* const buffer = acquisition.next(context.options.frameMs());
        if (buffer == nullptr) {
            break;
        }
        Mark now;
        now.counts = acquisition.counts();
        const bool due = now.time - last.time >= std::chrono::seconds(1);
        if (due) {
            age = ageMs(camera.features(), *buffer);
        }
        acquisition.giveBack(buffer);
        if (due) {
            const Json part = report(last, now, age, camera.transport());
            context.printer.line(lineOf(part));
            context.printer.item(part);
            last = now;
        }
    }
    Mark end;
    end.counts = acquisition.counts();
    const Json all = report(begin, end, age, camera.transport());
    context.printer.line("all together:");
    context.printer.line(lineOf(all));
    context.printer.result(name(), all);
    return common::Exit::Ok;
}

} // namespace commands
