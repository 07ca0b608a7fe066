#include "commands/grab_command.h"

#include "common/acquisition.h"
#include "common/feature.h"
#include "common/interrupt.h"
#include "common/progress.h"

#include <unistd.h>

#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <iostream>
#include <optional>

namespace commands
{

using common::Exit;
using common::Failure;
using common::Json;

namespace
{

/// True when the text holds nothing of printf's but `%%` and at most one `%d` with a width.
bool isPattern(const std::string& text, bool& numbered)
{
    numbered = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            continue;
        }
        std::size_t end = text.find_first_not_of("0123456789", i + 1);
        if (end == std::string::npos || end - i > 4 ||
            (text[end] != 'd' && (text[end] != '%' || end != i + 1))) {
            return false;
        }
        if (text[end] == 'd') {
            if (numbered) {
                return false;
            }
            numbered = true;
        }
        i = end;
    }
    return true;
}

bool waitForKey()
{
    std::fprintf(stderr, "press Enter for a frame, Ctrl-C to end\n");
    char key = 0;
    while (!common::interrupted()) {
        const ssize_t count = read(STDIN_FILENO, &key, 1);
        if (count == 1 && key == '\n') {
            return true;
        }
        if (count == 0) {
            return false;
        }
    }
    return false;
}

} // namespace

GrabCommand::GrabCommand(CLI::App& parent)
    : Command(parent, "grab", "Save frames as pictures"),
      serializer_(nullptr, ZelImageSerializer_DeleteComponent)
{
    app()
        .add_option("-n,--frames", frames_, "how many pictures")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    app()
        .add_option("-o,--output", output_,
                    "file name; %04d is the picture's number, the extension chooses the format "
                    "(png tiff jpg bmp pgm ppm, raw: the bytes as they came)")
        ->capture_default_str();
    app()
        .add_option("--every", every_, "save one of so many frames")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    app()
        .add_option("--quality", quality_, "of JPEG")
        ->check(CLI::Range(1, 100))
        ->capture_default_str();
    app().add_flag("--newest", newest_, "drop frames that are older than the newest");
    app().add_option("--trigger", trigger_,
                     "a frame for each trigger: key (Enter), software, or a TriggerSource such as "
                     "Line0");
}

std::string GrabCommand::fileName(std::uint64_t number) const
{
    std::string result;
    for (std::size_t i = 0; i < output_.size(); ++i) {
        if (output_[i] != '%') {
            result += output_[i];
            continue;
        }
        const std::size_t end = output_.find_first_not_of("0123456789", i + 1);
        const std::string width = output_.substr(i + 1, end - i - 1);
        if (output_[end] == '%') {
            result += '%';
        } else {
            const std::string digits = std::to_string(number);
            const std::size_t least = width.empty() ? 0 : std::stoul(width);
            result += std::string(least > digits.size() ? least - digits.size() : 0,
                                  width.rfind('0', 0) == 0 ? '0' : ' ') +
                      digits;
        }
        i = end;
    }
    return result;
}

std::string GrabCommand::save(const ZelImage& image, std::uint64_t number)
{
    std::string file = fileName(number);
    const ZelCamErr err = ZelImageSerializer_Save(serializer_.get(), &image, file.c_str());
    if (err == ZelErr::kInvalidArgument) {
        throw Failure(Exit::File,
                      file + ": this frame cannot become such a file; png and tiff take all that "
                             "cameras send, raw takes anything",
                      err);
    }
    common::check(file, err);
    return file;
}

Exit GrabCommand::run(const Context& context)
{
    bool numbered = false;
    if (!isPattern(output_, numbered) || (frames_ > 1 && !numbered)) {
        throw Failure(Exit::Usage,
                      "-o wants one %d (or %04d) in the file name, for the number of the picture");
    }
    serializer_.reset(ZelImageSerializer_CreateComponent(0));
    if (serializer_ == nullptr) {
        throw common::sdkFailure("the serializer", ZelErr::kGenTLOutOfMemory);
    }
    ZelImageSerializer_GetComponent(serializer_.get())->SetInteger("jpeg.quality", quality_);
    common::OpenCamera camera(context.options);
    return grab(context, camera);
}

Exit GrabCommand::grab(const Context& context, common::OpenCamera& camera)
{
    const bool byKey = trigger_ == "key";
    const bool byCommand = byKey || trigger_ == "software";
    std::optional<common::TriggerMode> trigger;
    if (!trigger_.empty()) {
        trigger.emplace(camera.features(), byCommand ? "Software" : trigger_);
    }
    common::Acquisition acquisition(camera, newest_);
    common::Progress progress(context.printer.json() || frames_ < 2 || byKey);
    Json files = Json::array();
    const bool raw = output_.size() > 4 && output_.compare(output_.size() - 4, 4, ".raw") == 0;
    for (std::uint64_t seen = 0; files.size() < frames_ && !common::interrupted(); ++seen) {
        if (byKey && !waitForKey()) {
            break;
        }
        if (byCommand) {
            trigger->fire();
        }
        ZelCam::Buffer* const buffer = acquisition.next(context.options.frameMs());
        if (buffer == nullptr) {
            break;
        }
        if (buffer->IsIncomplete()) {
            context.printer.note("frame " + std::to_string(buffer->GetFrameID()) +
                                 " is incomplete and left out");
        } else if (seen % every_ == 0) {
            std::string file;
            if (raw) {
                file = fileName(files.size());
                std::unique_ptr<std::FILE, int (*)(std::FILE*)> out(std::fopen(file.c_str(), "wb"),
                                                                    std::fclose);
                const auto* const data =
                    static_cast<const char*>(buffer->GetBufferPtr()) + buffer->GetImageOffset();
                const std::uint64_t size = buffer->GetBufferSize();
                if (out == nullptr || std::fwrite(data, 1, size, out.get()) != size ||
                    std::fflush(out.get()) != 0) {
                    throw common::sdkFailure(file, ZelErr::kFileRead);
                }
            } else {
                file = save(maker_.full(buffer->GetImage()), files.size());
            }
            files.push_back({{"file", file},
                             {"frame", buffer->GetFrameID()},
                             {"timestamp", buffer->GetTimestamp()}});
            context.printer.line(file);
            progress.show(static_cast<double>(files.size()) / static_cast<double>(frames_),
                          std::to_string(files.size()) + " of " + std::to_string(frames_));
        }
        acquisition.giveBack(buffer);
    }
    const auto& counts = acquisition.counts();
    context.printer.result(name(), {{"files", files},
                                    {"frames", counts.frames},
                                    {"lost", counts.lost},
                                    {"incomplete", counts.incomplete}});
    return files.size() == frames_ ? Exit::Ok
           : common::interrupted() ? Exit::Stopped
                                   : Exit::Failed;
}

} // namespace commands
