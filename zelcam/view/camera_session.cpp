#include "view/camera_session.h"

#include "common/failure.h"
#include "view/encoder.h"

#include <algorithm>
#include <cstring>

namespace view
{

namespace
{

using Clock = std::chrono::steady_clock;
using common::Exit;
using common::Failure;

constexpr std::chrono::seconds kWantedFor{2};
constexpr std::size_t kEventsKept = 50;
constexpr std::size_t kArrivalsKept = 60;
constexpr std::size_t kFilesKept = 4;

bool same(const Wish& a, const Wish& b)
{
    return a.png == b.png && a.shrink == b.shrink && (a.png || a.quality == b.quality);
}

} // namespace

CameraSession::CameraSession(const common::FoundCamera& camera,
                             const std::vector<std::string>& settings, std::string folder)
    : found_(camera), serial_(camera.info->GetSerialNumber()),
      display_(camera.info->GetDisplayName()), folder_(std::move(folder)),
      camera_(std::make_shared<common::OpenCamera>(camera, settings)), thread_()
{
    watchEvents();
    thread_ = std::thread([this] { run(); });
}

CameraSession::~CameraSession()
{
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        ending_ = true;
        changed_.notify_all();
    }
    thread_.join();
    {
        const std::lock_guard<std::mutex> lock(recordMutex_);
        recording_.reset();
    }
    // Events come to this object until the device is released.
    camera_.reset();
}

void CameraSession::say(const std::string& message)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    message_ = message;
    changed_.notify_all();
}

void CameraSession::run()
{
    constexpr std::chrono::milliseconds kPause{500};
    for (;;) {
        {
            std::unique_lock<std::mutex> lock(mutex_);
            changed_.wait(lock, [this] { return ending_ || (running_ && pauses_ == 0); });
            if (ending_) {
                return;
            }
        }
        try {
            if (isOpen() || reopen()) {
                setStreaming(true);
                stream();
                setStreaming(false);
                continue;
            }
        } catch (const Failure& failure) {
            say(failure.what());
            if (failure.code() == ZelErr::kGenTLIo || failure.code() == ZelErr::kNoDevice) {
                say("the camera is gone; waiting for it to come back");
                const std::lock_guard<std::mutex> lock(mutex_);
                camera_.reset();
            }
        } catch (const std::exception& error) {
            say(error.what());
        }
        setStreaming(false);
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait_for(lock, kPause, [this] { return ending_; });
    }
}

bool CameraSession::isOpen()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return camera_ != nullptr;
}

common::FrameCounts CameraSession::counts()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return counts_;
}

void CameraSession::setStreaming(bool streaming)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    streaming_ = streaming;
    changed_.notify_all();
}

bool CameraSession::reopen()
{
    constexpr std::uint64_t kPatienceMs = 500;
    found_.interface->ReEnumerateDevices(nullptr, kPatienceMs);
    ZelCam::DeviceInfoList* const list = found_.interface->GetDeviceInfoList();
    ZelCam::DeviceInfo* found = nullptr;
    for (ZelCam::DeviceInfo* info = list != nullptr ? list->GetFirst() : nullptr; info != nullptr;
         info = list->GetNext()) {
        if (serial_ == info->GetSerialNumber()) {
            found = info;
        }
    }
    if (list != nullptr) {
        list->Release();
    }
    if (found == nullptr) {
        return false;
    }
    auto camera = std::make_shared<common::OpenCamera>(
        common::FoundCamera{found_.index, found_.interface, found});
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        camera_ = std::move(camera);
    }
    watchEvents();
    return true;
}

void CameraSession::stream()
{
    constexpr std::uint32_t kSliceMs = 100;
    const auto held = camera();
    common::Acquisition acquisition(*held, true);
    say("");
    // Stops for a moment, and cameras that were gone, do not set the counters back.
    const common::FrameCounts before = counts();
    for (;;) {
        ZelCamErr err = ZelErr::kOk;
        ZelCam::Buffer* const buffer = acquisition.poll(kSliceMs, err);
        if (buffer != nullptr) {
            take(*buffer, before + acquisition.counts());
            acquisition.giveBack(buffer);
        } else if (err != ZelErr::kGenTLTimeout && err != ZelErr::kGenTLAbort) {
            throw common::sdkFailure("no frames", err);
        }
        const std::lock_guard<std::mutex> lock(mutex_);
        if (ending_ || !running_ || pauses_ > 0) {
            return;
        }
    }
}

void CameraSession::take(ZelCam::Buffer& buffer, const common::FrameCounts& counts)
{
    const ZelImage* const image = buffer.GetImage();
    if (image != nullptr && !buffer.IsIncomplete()) {
        record(image);
    }
    std::shared_ptr<RawFrame> frame;
    const auto now = Clock::now();
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        counts_ = counts;
        arrivals_.push_back(now);
        if (arrivals_.size() > kArrivalsKept) {
            arrivals_.pop_front();
        }
        if (image == nullptr || image->data == nullptr || (now > wantedUntil_ && newest_)) {
            return;
        }
        // Memory of a frame that nobody looks at any more is filled again.
        frame = spare_ != nullptr && spare_.use_count() == 1 ? std::move(spare_)
                                                             : std::make_shared<RawFrame>();
    }
    const auto* const data = static_cast<const unsigned char*>(image->data);
    frame->bytes.assign(data, data + image->dataSize);
    frame->image = *image;
    frame->image.data = frame->bytes.data();
    frame->id = buffer.GetFrameID();
    frame->timestamp = buffer.GetTimestamp();
    frame->incomplete = buffer.IsIncomplete();
    frame->arrival = now;
    const std::lock_guard<std::mutex> lock(mutex_);
    frame->sequence = ++sequence_;
    spare_ = std::move(newest_);
    newest_ = std::move(frame);
    changed_.notify_all();
}

std::shared_ptr<const RawFrame> CameraSession::newest(std::uint64_t after, int timeoutMs)
{
    std::unique_lock<std::mutex> lock(mutex_);
    wantedUntil_ = std::max(wantedUntil_, Clock::now() + kWantedFor);
    const auto ready = [&] { return newest_ != nullptr && newest_->sequence > after; };
    changed_.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                      [&] { return ready() || ending_; });
    return ready() ? newest_ : nullptr;
}

Shown CameraSession::picture(std::uint64_t after, const Wish& wish, int timeoutMs)
{
    auto frame = newest(after, timeoutMs);
    if (frame == nullptr) {
        return {};
    }
    const std::lock_guard<std::mutex> lock(encoding_);
    // While this client waited for others a newer one may have come, and been encoded already.
    if (auto newer = newest(after, 0)) {
        frame = std::move(newer);
    }
    for (const Cached& cached : cache_) {
        if (cached.sequence == frame->sequence && same(cached.wish, wish)) {
            return {frame, cached.file};
        }
    }
    if (madeOf_ != frame) {
        made_ = nullptr;
        made_ = &maker_.eightBit(&frame->image);
        madeOf_ = frame;
    }
    auto file = std::make_shared<const std::string>(
        wish.png ? encodePng(*made_, wish.shrink) : encodeJpeg(*made_, wish.quality, wish.shrink));
    cache_.push_back({frame->sequence, wish, file});
    if (cache_.size() > kFilesKept) {
        cache_.pop_front();
    }
    return {frame, file};
}

std::shared_ptr<common::OpenCamera> CameraSession::camera()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    if (camera_ == nullptr) {
        throw Failure(Exit::NoCamera, "the camera is gone; waiting for it to come back",
                      ZelErr::kNoDevice);
    }
    return camera_;
}

void CameraSession::setRunning(bool running)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    running_ = running;
    changed_.notify_all();
}

void CameraSession::onEvent(const void* data, std::uint64_t size, void* context)
{
    const auto* const source = static_cast<const EventSource*>(context);
    CameraSession& session = *source->session;
    const auto* const bytes = static_cast<const unsigned char*>(data);
    constexpr std::uint64_t kShown = 32;
    std::string hex;
    for (std::uint64_t i = 0; i < std::min(size, kShown); ++i) {
        hex += common::format("%02x", bytes[i]);
    }
    const std::lock_guard<std::mutex> lock(session.eventMutex_);
    session.events_.push_back(
        {{"number", ++session.eventCount_}, {"name", source->name}, {"data", hex}});
    if (session.events_.size() > kEventsKept) {
        session.events_.pop_front();
    }
}

void CameraSession::watchEvents()
{
    const auto held = camera();
    ZelGenParam::Array& features = held->features();
    ZelGenParam::Param* const selector = features.GetParam("EventSelector", nullptr);
    std::vector<std::string> names;
    if (selector != nullptr) {
        names = common::describe(*selector).value("entries", names);
    }
    const std::lock_guard<std::mutex> lock(eventMutex_);
    for (const std::string& name : names) {
        const double id = common::numberOr(&features, ("Event" + name).c_str(), -1);
        if (id < 0) {
            continue;
        }
        // One source a name, kept for all openings: what the SDK was given stays valid.
        auto at = std::find_if(sources_.begin(), sources_.end(),
                               [&](const EventSource& source) { return source.name == name; });
        if (at == sources_.end()) {
            at = sources_.insert(sources_.end(), {this, name});
        }
        held->device().RegisterEvent(static_cast<long>(id), &CameraSession::onEvent, &*at);
    }
}

} // namespace view
