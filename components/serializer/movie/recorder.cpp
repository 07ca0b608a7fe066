#include "recorder.h"

#include "base/signal_mask.h"

#include <chrono>
#include <new>
#include <system_error>

namespace movie
{

using serializer::Picture;

namespace
{

constexpr std::size_t kQueued = 4;
// How long frames may wait in memory when no further ones come.
constexpr std::chrono::milliseconds kPatience{500};
constexpr double kMinRate = 0.001;
// MPEG-4 keeps both parts of a frame rate in 16 bits.
constexpr int kMaxRatePart = 65535;

} // namespace

Recorder::~Recorder() { finish(); }

ZelCamErr Recorder::start(const Settings& settings, const Picture& first)
{
    const ContainerRow* container = findContainer(settings.extension);
    const Compressor* compressor =
        container == nullptr ? nullptr : findCompressor(settings.compressor, container->bit);
    const double wanted = settings.framesPerSecond;
    // Written so that NaN fails too.
    const bool rateFits =
        container != nullptr && wanted >= kMinRate && wanted <= container->maxRate;
    if (compressor == nullptr || !rateFits || settings.minQuantizer > settings.maxQuantizer ||
        first.kind == serializer::PixelKind::kGray16) {
        return ZelErr::kInvalidArgument;
    }
    // libav's own threads inherit the mask.
    const base::SignalMask mask;
    ZelCamErr code = file_.prepare(*container);
    if (code != ZelErr::kOk) {
        return code;
    }
    const bool palette = settings.addPalette && container->bit == kAvi &&
                         compressor->scale == QuantizerScale::kNone &&
                         compressor->name == "uncompressed";
    code = encoder_.open(*compressor, settings, first, av_d2q(wanted, kMaxRatePart),
                         file_.wantsGlobalHeader(), palette);
    if (code != ZelErr::kOk) {
        return code;
    }
    shape_ = first;
    const AVCodecContext& context = encoder_.context();
    frames_ = std::make_unique<FrameMaker>(context.pix_fmt, context.width, context.height);
    code = file_.begin(settings.fileName, context, settings.ticksPerSecond);
    return code == ZelErr::kOk ? startThread() : code;
}

ZelCamErr Recorder::startThread()
{
    try {
        thread_ = std::thread(&Recorder::run, this);
    } catch (const std::system_error&) {
        return ZelErr::kGenTLResourceExhausted;
    }
    return ZelErr::kOk;
}

ZelCamErr Recorder::append(const Picture& picture)
{
    if (picture.width != shape_.width || picture.height != shape_.height ||
        picture.kind != shape_.kind) {
        return ZelErr::kInvalidArgument;
    }
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (error_ != ZelErr::kOk) {
            return error_;
        }
        if (closing_) {
            return ZelErr::kInvalidState;
        }
    }
    Frame frame = frames_->make(picture);
    if (frame == nullptr) {
        return ZelErr::kGenTLOutOfMemory;
    }
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return queue_.size() < kQueued || error_ != ZelErr::kOk; });
    if (error_ != ZelErr::kOk) {
        return error_;
    }
    queue_.push_back(std::move(frame));
    changed_.notify_all();
    return ZelErr::kOk;
}

ZelCamErr Recorder::finish()
{
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        closing_ = true;
        changed_.notify_all();
    }
    const std::lock_guard<std::mutex> joining(joining_);
    if (thread_.joinable()) {
        thread_.join();
    }
    return error_;
}

void Recorder::keepError(ZelCamErr code)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    if (error_ == ZelErr::kOk && code != ZelErr::kOk) {
        error_ = code;
        queue_.clear();
        changed_.notify_all();
    }
}

Recorder::Wake Recorder::waitForFrame(Frame* frame)
{
    const auto ready = [this] { return !queue_.empty() || closing_; };
    std::unique_lock<std::mutex> lock(mutex_);
    if (!file_.hasWaiting()) {
        changed_.wait(lock, ready);
    } else if (!changed_.wait_for(lock, kPatience, ready)) {
        return Wake::kIdle;
    }
    if (queue_.empty()) {
        return Wake::kClosing;
    }
    *frame = std::move(queue_.front());
    queue_.pop_front();
    changed_.notify_all();
    return Wake::kFrame;
}

void Recorder::encodeAll()
{
    const AVRational timeBase = encoder_.context().time_base;
    const Encoder::Sink sink = [&](AVPacket* packet) { return file_.write(packet, timeBase); };
    ZelCamErr code = ZelErr::kOk;
    Frame frame;
    // After an error frames are no longer queued, so this ends at the finish.
    for (Wake wake = waitForFrame(&frame); wake != Wake::kClosing; wake = waitForFrame(&frame)) {
        if (code == ZelErr::kOk) {
            code = wake == Wake::kFrame ? encoder_.encode(frame.get(), sink) : file_.flush();
        }
        keepError(code);
        frame.reset();
    }
    if (code == ZelErr::kOk) {
        keepError(encoder_.encode(nullptr, sink));
    }
    keepError(file_.finish());
    // Here already: a process that ends has its movie finished, but nobody destroys the recorder.
    encoder_.close();
}

void Recorder::run()
{
    try {
        encodeAll();
    } catch (const std::bad_alloc&) {
        keepError(ZelErr::kGenTLOutOfMemory);
    } catch (const std::exception&) {
        keepError(ZelErr::kUnknown);
    }
}

} // namespace movie
