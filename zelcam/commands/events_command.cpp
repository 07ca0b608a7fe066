#include "commands/events_command.h"

#include "common/acquisition.h"
#include "common/feature.h"
#include "common/interrupt.h"

#include <atomic>
#include <chrono>
#include <optional>

namespace commands
{

using common::Exit;
using common::Failure;
using common::Json;

namespace
{

using Clock = std::chrono::steady_clock;

/// An event of the camera, switched on and printed while the object lives.
class Watched
{
public:
    Watched(common::OpenCamera& camera, std::string name, long id, const common::Printer& printer,
            Clock::time_point begin)
        : device_(camera.device()), features_(camera.features()), name_(std::move(name)), id_(id),
          printer_(printer), begin_(begin)
    {
        common::check("the event " + name_, device_.RegisterEvent(id_, &Watched::arrived, this));
        features_.SetEnumValueStr("EventSelector", name_.c_str());
        features_.SetEnumValueStr("EventNotification", "On");
    }
    ~Watched()
    {
        features_.SetEnumValueStr("EventSelector", name_.c_str());
        features_.SetEnumValueStr("EventNotification", "Off");
        device_.UnRegisterEvent(id_, &Watched::arrived, this);
    }
    Watched(const Watched&) = delete;
    Watched& operator=(const Watched&) = delete;

    std::uint64_t count() const { return count_.load(); }
    const std::string& name() const { return name_; }

private:
    static void arrived(const void* data, std::uint64_t size, void* context)
    {
        static_cast<Watched*>(context)->print(static_cast<const unsigned char*>(data), size);
    }

    void print(const unsigned char* data, std::uint64_t size)
    {
        ++count_;
        constexpr std::uint64_t kShown = 64;
        std::string hex;
        for (std::uint64_t i = 0; i < std::min(size, kShown); ++i) {
            hex += common::format("%02x", data[i]);
        }
        const double seconds = std::chrono::duration<double>(Clock::now() - begin_).count();
        printer_.line(common::format("%10.4f s  ", seconds) + name_ + "  " + hex +
                      (size > kShown ? "..." : ""));
        printer_.item({{"event", name_}, {"id", id_}, {"seconds", seconds}, {"data", hex}});
    }

    ZelCam::Device& device_;
    ZelGenParam::Array& features_;
    std::string name_;
    long id_;
    const common::Printer& printer_;
    Clock::time_point begin_;
    std::atomic<std::uint64_t> count_{0};
};

/// Names of the camera's events, as EventSelector has them.
std::vector<std::string> eventNames(ZelGenParam::Array& features)
{
    ZelGenParam::Param* const selector = features.GetParam("EventSelector", nullptr);
    if (selector == nullptr) {
        throw Failure(Exit::Failed, "this camera reports no events");
    }
    const Json described = common::describe(*selector);
    return described.value("entries", std::vector<std::string>());
}

} // namespace

EventsCommand::EventsCommand(CLI::App& parent)
    : Command(parent, "events", "Print the events of a camera as they come")
{
    app().add_option("NAME", names_, "events, such as ExposureEnd; default: all");
    app()
        .add_option("-t,--seconds", seconds_, "how long; default: until Ctrl-C")
        ->check(CLI::PositiveNumber);
    app().add_flag("--acquire", acquire_, "let the camera take frames meanwhile");
}

Exit EventsCommand::run(const Context& context)
{
    common::OpenCamera camera(context.options);
    const auto begin = Clock::now();
    const bool all = names_.empty();
    std::vector<std::unique_ptr<Watched>> watched;
    for (const std::string& event : all ? eventNames(camera.features()) : names_) {
        const double id = common::numberOr(&camera.features(), ("Event" + event).c_str(), -1);
        if (id >= 0) {
            watched.push_back(std::make_unique<Watched>(camera, event, static_cast<long>(id),
                                                        context.printer, begin));
        } else if (!all) {
            throw Failure(Exit::Failed, "the camera has no event '" + event +
                                            "': `zelcam features EventSelector` lists them");
        }
    }
    std::optional<common::Acquisition> acquisition;
    if (acquire_) {
        acquisition.emplace(camera, true);
    }
    const auto over = [&] {
        return seconds_ > 0 &&
               std::chrono::duration<double>(Clock::now() - begin).count() >= seconds_;
    };
    while (!over() && !common::interrupted()) {
        if (acquisition) {
            if (ZelCam::Buffer* const buffer = acquisition->next(context.options.frameMs())) {
                acquisition->giveBack(buffer);
            }
        } else {
            common::sleepMs(20);
        }
    }
    acquisition.reset();
    Json counts = Json::object();
    for (const auto& one : watched) {
        counts[one->name()] = one->count();
    }
    watched.clear();
    context.printer.result(name(), {{"counts", counts}});
    return Exit::Ok;
}

} // namespace commands
