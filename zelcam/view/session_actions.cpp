// What a client asks of a session beyond pictures.
#include "common/failure.h"
#include "view/camera_session.h"

#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <sstream>

namespace view
{

namespace
{

using common::Exit;
using common::Failure;
using common::Json;

/// A file that is gone with the object.
class TemporaryFile
{
public:
    TemporaryFile()
    {
        const int file = mkstemp(name_.data());
        if (file < 0) {
            throw Failure(Exit::File, "no temporary file can be made in /tmp");
        }
        close(file);
    }
    ~TemporaryFile() { unlink(name_.data()); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const char* name() const { return name_.data(); }

private:
    std::array<char, 32> name_{"/tmp/zelcam-settings-XXXXXX"};
};

/// One component of a pixel of an unpacked image.
std::uint32_t component(const ZelImage& image, std::uint32_t x, std::uint32_t y, std::uint32_t c)
{
    const bool wide = image.storedBits / image.components > 8;
    const auto* const row =
        static_cast<const unsigned char*>(image.data) + std::size_t{y} * image.stride;
    const std::size_t at = std::size_t{x} * image.components + c;
    std::uint16_t word = row[wide ? 2 * at : at];
    if (wide) {
        std::memcpy(&word, row + 2 * at, sizeof word);
    }
    return word;
}

/// Letters, digits and dashes of a text: fit for a file's name.
std::string plain(const std::string& text)
{
    std::string result;
    for (const char c : text) {
        result += std::isalnum(static_cast<unsigned char>(c)) != 0 ? c : '-';
    }
    return result;
}

} // namespace

Json CameraSession::pixel(std::uint32_t x, std::uint32_t y)
{
    const auto frame = newest(0, 0);
    if (frame == nullptr) {
        throw Failure(Exit::TimeOut, "there is no frame yet");
    }
    const std::lock_guard<std::mutex> lock(encoding_);
    // The picture for clients may share the work images, so it is made anew afterwards.
    madeOf_ = nullptr;
    const ZelImage& image = maker_.full(&frame->image);
    if (x >= image.size.width || y >= image.size.height) {
        throw Failure(Exit::Failed, "there is no such pixel");
    }
    Json values = Json::array();
    for (std::uint32_t c = 0; c < image.components; ++c) {
        const bool reversed = image.pixelType == ZelPixel::kBGR8;
        values.push_back(component(image, x, y, reversed ? image.components - 1 - c : c));
    }
    return {{"x", x}, {"y", y}, {"values", values}, {"bits", ZelPixel::depth(image.pixelType)}};
}

Json CameraSession::state()
{
    Json result;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        // A camera that waits for triggers has no rate.
        constexpr std::chrono::seconds kRemembered{5};
        const auto oldest = std::chrono::steady_clock::now() - kRemembered;
        while (!arrivals_.empty() && arrivals_.front() < oldest) {
            arrivals_.pop_front();
        }
        const bool timed = arrivals_.size() > 1 && arrivals_.back() > arrivals_.front();
        const double rate =
            timed ? static_cast<double>(arrivals_.size() - 1) /
                        std::chrono::duration<double>(arrivals_.back() - arrivals_.front()).count()
                  : 0;
        result = {{"display", display_},
                  {"serial", serial_},
                  {"connected", camera_ != nullptr},
                  {"message", message_},
                  {"running", running_},
                  {"frames", counts_.frames},
                  {"lost", counts_.lost},
                  {"incomplete", counts_.incomplete},
                  {"bytes", counts_.bytes},
                  {"frames_per_second", rate}};
    }
    {
        const std::lock_guard<std::mutex> lock(recordMutex_);
        result["recording"] = recordWanted_;
        result["record_file"] = recordFile_;
        result["record_frames"] = recording_ != nullptr ? recording_->frames() : 0;
        result["record_error"] = recordError_;
    }
    const std::lock_guard<std::mutex> lock(eventMutex_);
    result["events"] = events_;
    return result;
}

void CameraSession::whileStopped(const std::function<void()>& work)
{
    constexpr std::chrono::seconds kPatience{5};
    std::unique_lock<std::mutex> lock(mutex_);
    ++pauses_;
    changed_.notify_all();
    const bool stopped = changed_.wait_for(lock, kPatience, [this] { return !streaming_; });
    lock.unlock();
    const auto resume = [this] {
        const std::lock_guard<std::mutex> again(mutex_);
        --pauses_;
        changed_.notify_all();
    };
    try {
        if (!stopped) {
            throw Failure(Exit::TimeOut, "the acquisition does not end");
        }
        work();
    } catch (...) {
        resume();
        throw;
    }
    resume();
}

void CameraSession::setFeature(const std::string& name, const std::string& text)
{
    const auto held = camera();
    try {
        common::setValue(held->features(), name, text);
    } catch (const Failure& failure) {
        if (failure.code() != ZelErr::kParamAccess) {
            throw;
        }
        whileStopped([&] { common::setValue(held->features(), name, text); });
    }
}

std::string CameraSession::newFileName(const std::string& extension) const
{
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    localtime_r(&now, &local);
    std::array<char, 32> text{};
    std::strftime(text.data(), text.size(), "%Y%m%d-%H%M%S", &local);
    const std::string stem = folder_ + "/" + plain(serial_) + "-" + text.data();
    std::string name = stem + extension;
    for (int i = 2; access(name.c_str(), F_OK) == 0; ++i) {
        name = stem;
        name.append("-").append(std::to_string(i)).append(extension);
    }
    return name;
}

std::string CameraSession::snapshot()
{
    constexpr int kPatienceMs = 2000;
    const auto frame = newest(0, kPatienceMs);
    if (frame == nullptr) {
        throw Failure(Exit::TimeOut, "there is no frame yet");
    }
    const std::lock_guard<std::mutex> lock(encoding_);
    madeOf_ = nullptr;
    const ZelImage& image = maker_.full(&frame->image);
    const std::unique_ptr<ZelImageSerializer, void (*)(ZelImageSerializer*)> serializer(
        ZelImageSerializer_CreateComponent(0), ZelImageSerializer_DeleteComponent);
    if (serializer == nullptr) {
        throw common::sdkFailure("the serializer", ZelErr::kGenTLOutOfMemory);
    }
    std::string file = newFileName(".png");
    common::check(file, ZelImageSerializer_Save(serializer.get(), &image, file.c_str()));
    return file;
}

std::string CameraSession::startRecording(const std::string& codec, const std::string& extension)
{
    const std::lock_guard<std::mutex> lock(recordMutex_);
    if (!recordWanted_) {
        recordFile_ = newFileName(extension);
        recordCodec_ = codec;
        recordError_.clear();
        recordWanted_ = true;
    }
    return recordFile_;
}

std::string CameraSession::stopRecording()
{
    const std::lock_guard<std::mutex> lock(recordMutex_);
    recordWanted_ = false;
    const auto movie = std::move(recording_);
    if (movie == nullptr) {
        throw Failure(Exit::Failed,
                      recordError_.empty() ? "no movie is being recorded" : recordError_);
    }
    movie->finish();
    return movie->file();
}

void CameraSession::record(const ZelImage* image)
{
    const std::lock_guard<std::mutex> lock(recordMutex_);
    if (!recordWanted_) {
        return;
    }
    try {
        const ZelImage& shown = recordMaker_.eightBit(image);
        if (recording_ == nullptr) {
            recording_ = std::make_unique<common::MovieWriter>(
                shown, recordFile_, common::frameRate(camera()->features()), recordCodec_);
        }
        recording_->add(shown);
    } catch (const Failure& failure) {
        recordError_ = failure.what();
        recordWanted_ = false;
        recording_.reset();
    }
}

std::string CameraSession::saveSettings()
{
    const TemporaryFile file;
    common::check("the settings", camera()->device().SaveConfiguration(file.name()));
    std::ifstream in(file.name(), std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

void CameraSession::loadSettings(const std::string& text)
{
    const TemporaryFile file;
    std::ofstream(file.name(), std::ios::binary) << text;
    const auto held = camera();
    whileStopped(
        [&] { common::check("the settings", held->device().LoadConfiguration(file.name())); });
}

} // namespace view
