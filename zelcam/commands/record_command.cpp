#include "commands/record_command.h"

#include "common/acquisition.h"
#include "common/feature.h"
#include "common/interrupt.h"
#include "common/movie_writer.h"
#include "common/picture.h"
#include "common/progress.h"

#include <chrono>
#include <optional>

namespace commands
{

using common::Exit;

RecordCommand::RecordCommand(CLI::App& parent) : Command(parent, "record", "Record a movie")
{
    app().add_option("-o,--output", output_, "file: .avi .mkv .mp4 .mov .webm")->required();
    app()
        .add_option("-t,--seconds", seconds_, "how long")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    app()
        .add_option("--rate", rate_, "frames per second; also asked of the camera")
        ->check(CLI::Range(0.001, 1000.0));
    app().add_option("--codec", codec_, "for example mjpeg, h264, ffv1; default: the file type's");
}

Exit RecordCommand::run(const Context& context)
{
    using Clock = std::chrono::steady_clock;
    std::optional<common::MovieWriter> movie;
    common::PictureMaker maker;
    common::OpenCamera camera(context.options);
    if (rate_ > 0) {
        camera.features().SetBooleanValue("AcquisitionFrameRateEnable", true);
        camera.features().SetFloatValue("AcquisitionFrameRate", rate_);
    }
    const double rate = rate_ > 0 ? rate_ : common::frameRate(camera.features());
    constexpr std::uint64_t kBuffers = 16;
    common::Acquisition acquisition(camera, false, kBuffers);
    common::Progress progress(context.printer.json());
    std::uint64_t written = 0;
    const auto begin = Clock::now();
    double elapsed = 0;
    while (elapsed < seconds_ && !common::interrupted()) {
        ZelCam::Buffer* const buffer = acquisition.next(context.options.frameMs());
        if (buffer == nullptr) {
            break;
        }
        if (!buffer->IsIncomplete()) {
            const ZelImage& image = maker.eightBit(buffer->GetImage());
            if (!movie) {
                movie.emplace(image, output_, rate, codec_);
            }
            movie->add(image);
            ++written;
        }
        acquisition.giveBack(buffer);
        elapsed = std::chrono::duration<double>(Clock::now() - begin).count();
        progress.show(elapsed / seconds_,
                      common::format("%.1f s, %llu frames, %llu lost", elapsed,
                                     static_cast<unsigned long long>(written),
                                     static_cast<unsigned long long>(acquisition.counts().lost)));
    }
    acquisition.stop();
    if (written == 0) {
        return Exit::Stopped;
    }
    movie->finish();
    context.printer.line(output_ + ": " + std::to_string(written) + " frames at " +
                         common::format("%g", rate) + " per second");
    context.printer.result(name(), {{"file", output_},
                                    {"frames", written},
                                    {"rate", rate},
                                    {"seconds", elapsed},
                                    {"lost", acquisition.counts().lost},
                                    {"incomplete", acquisition.counts().incomplete}});
    return common::interrupted() ? Exit::Stopped : Exit::Ok;
}

} // namespace commands
