#include "encoder.h"

#include "movie_functions.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>

extern "C" {
#include <libavutil/cpu.h>
}

namespace movie
{

using serializer::Picture;

namespace
{

// Key frames a second apart, but not further than a player likes to search. Where they are most of
// a film they come as rarely as everybody's.
constexpr int kMaxKeyDistance = 60;
constexpr int kH26xKeyDistance = 250;
// Encoders that work on several frames at a time hold this part of a second of them at most, so
// that a killed process loses little.
constexpr double kHeldPerSecond = 0.25;
// The AV1 encoder refuses other rates; at a constant quantizer it makes no use of the rate.
constexpr double kMinAv1Rate = 1.0;
constexpr double kMaxAv1Rate = 240.0;
constexpr int kMaxRatePart = 65535;
constexpr int kMaxH26xQuantizer = 51;
constexpr int kMaxQuantizer63 = 63;
constexpr int kNeutral = 128;
constexpr int kSmallest = 16;

// About the distortion of the linear quantizer, whose step doubles every six. The fastest preset
// filters no block edges and wants a finer step for that.
int toH26x(int quantizer)
{
    const double value = 9.0 + 6.0 * std::log2(quantizer / 0.85);
    return std::clamp(static_cast<int>(std::lround(value)), 0, kMaxH26xQuantizer);
}

// Fitted: about the distortion of the other scales at the middle, lossless nowhere.
int to63(int quantizer)
{
    const double value = 10.0 + 8.0 * std::log2(quantizer);
    return std::clamp(static_cast<int>(std::lround(value)), 0, kMaxQuantizer63);
}

void setLinear(AVCodecContext& context, const Settings& settings)
{
    context.qmin = settings.minQuantizer;
    context.qmax = settings.maxQuantizer;
    if (settings.minQuantizer == settings.maxQuantizer) {
        context.flags |= AV_CODEC_FLAG_QSCALE;
        context.global_quality = FF_QP2LAMBDA * settings.minQuantizer;
    } else {
        // The default rate would pin the quantizer at its maximum.
        const double rate = 8.0 * context.width * context.height * av_q2d(context.framerate);
        context.bit_rate = static_cast<std::int64_t>(std::clamp(rate, 1e6, 1e9));
    }
}

void setH26x(AVCodecContext& context, const Settings& settings, Options& options)
{
    const int best = toH26x(settings.minQuantizer);
    const int worst = toH26x(settings.maxQuantizer);
    context.gop_size = kH26xKeyDistance;
    options.set("preset", "ultrafast");
    if (best == worst) {
        options.set("qp", best);
    } else {
        context.qmin = best;
        context.qmax = worst;
        options.set("crf", best);
    }
}

void setTo63(AVCodecContext& context, const Settings& settings, Options& options)
{
    const int best = to63(settings.minQuantizer);
    context.qmin = best;
    context.qmax = to63(settings.maxQuantizer);
    context.bit_rate = 0;
    options.set("crf", best);
}

int threadsFor(double framesPerSecond)
{
    const int cores = std::max(1, av_cpu_count());
    // Half as many again: some wait for rows of the frame before.
    const double held = std::clamp(framesPerSecond * kHeldPerSecond, 1.0, 1e3);
    return std::min(cores + cores / 2, static_cast<int>(held));
}

void setSpeed(const Compressor& compressor, AVCodecContext& context, Options& options)
{
    context.thread_count = threadsFor(av_q2d(context.framerate));
    if (compressor.name == "mjpeg") {
        context.thread_type = FF_THREAD_FRAME;
    } else if (compressor.name == "mpeg4") {
        context.thread_type = FF_THREAD_SLICE;
    } else if (compressor.name == "h265") {
        // No look ahead: it serves the choice of a rate. The cheapest choice of modes; measured, it
        // makes no worse or larger pictures at this preset.
        options.set("x265-params", "log-level=none:rc-lookahead=0:rd=1");
    } else if (compressor.name == "h264") {
        // The preset goes without: a quarter of the size for no time to speak of.
        options.set("x264-params", "cabac=1");
    } else if (compressor.name == "ffv1") {
        context.level = 3;
        // One slice of a tiny picture cannot be split further.
        context.slices = std::min(context.width, context.height) < kSmallest ? 1 : 4;
        options.set("coder", "rice");
        options.set("slicecrc", 1);
    } else if (compressor.name == "png") {
        context.compression_level = 1;
        options.set("pred", "up");
    } else if (compressor.name == "vp9") {
        options.set("deadline", "realtime");
        options.set("cpu-used", 8);
        options.set("row-mt", 1);
        options.set("lag-in-frames", std::int64_t{0});
    } else if (compressor.name == "av1") {
        options.set("preset", 12);
        // Each frame refers to earlier ones only: otherwise 35 frames wait for later ones.
        options.set("svtav1-params", "pred-struct=1");
        context.framerate =
            av_d2q(std::clamp(av_q2d(context.framerate), kMinAv1Rate, kMaxAv1Rate), kMaxRatePart);
        // Its log goes to standard error unless its environment says otherwise.
        ::setenv("SVT_LOG", "0", 0);
    }
}

void setQuantizer(const Compressor& compressor, AVCodecContext& context, const Settings& settings,
                  Options& options)
{
    switch (compressor.scale) {
    case QuantizerScale::kLinear:
        setLinear(context, settings);
        break;
    case QuantizerScale::kH26x:
        setH26x(context, settings, options);
        break;
    case QuantizerScale::kTo63:
        setTo63(context, settings, options);
        break;
    case QuantizerScale::kNone:
        break;
    }
}

AVPixelFormat pixelFormatFor(const Compressor& compressor, bool colour, bool palette)
{
    if (colour) {
        return compressor.colour;
    }
    return palette ? AV_PIX_FMT_PAL8 : compressor.gray;
}

Frame blankFrame(const AVCodecContext& context)
{
    Frame frame(av_frame_alloc());
    if (frame == nullptr) {
        return nullptr;
    }
    frame->format = context.pix_fmt;
    frame->width = context.width;
    frame->height = context.height;
    frame->pts = 0;
    if (av_frame_get_buffer(frame.get(), 0) < 0) {
        return nullptr;
    }
    for (const AVBufferRef* plane : {frame->buf[0], frame->buf[1], frame->buf[2]}) {
        if (plane != nullptr) {
            std::memset(plane->data, kNeutral, plane->size);
        }
    }
    return frame;
}

} // namespace

ZelCamErr Encoder::open(const Compressor& compressor, const Settings& settings,
                        const Picture& first, AVRational rate, bool globalHeader, bool palette)
{
    waitsForFrame_ = compressor.waitsForFrame;
    const bool colour = first.isColour();
    const AVCodec* codec =
        avcodec_find_encoder_by_name(colour ? compressor.colourEncoder : compressor.grayEncoder);
    const unsigned odd = compressor.evenSides ? 1U : 0U;
    const unsigned width = first.width + (first.width & odd);
    const unsigned height = first.height + (first.height & odd);
    const auto largest = static_cast<unsigned>(compressor.maxSide);
    if (codec == nullptr || width > largest || height > largest) {
        return ZelErr::kInvalidArgument;
    }
    context_.reset(avcodec_alloc_context3(codec));
    packet_.reset(av_packet_alloc());
    if (context_ == nullptr || packet_ == nullptr) {
        return ZelErr::kGenTLOutOfMemory;
    }
    context_->width = static_cast<int>(width);
    context_->height = static_cast<int>(height);
    context_->pix_fmt = pixelFormatFor(compressor, colour, palette);
    context_->time_base = av_inv_q(rate);
    context_->framerate = rate;
    context_->sample_aspect_ratio = AVRational{1, 1};
    context_->gop_size = std::clamp(static_cast<int>(av_q2d(rate)), 1, kMaxKeyDistance);
    context_->max_b_frames = 0;
    if (globalHeader) {
        context_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    }
    describeColours(context_->pix_fmt, context_.get());
    Options options;
    setQuantizer(compressor, *context_, settings, options);
    setSpeed(compressor, *context_, options);
    const int code = avcodec_open2(context_.get(), codec, options.get());
    if (code < 0) {
        return code == AVERROR(ENOMEM) ? ZelErr::kGenTLOutOfMemory : ZelErr::kInvalidArgument;
    }
    return ZelErr::kOk;
}

Encoder::~Encoder() { close(); }

void Encoder::close()
{
    const bool opened = context_ != nullptr && avcodec_is_open(context_.get()) != 0;
    const Frame blank = opened && waitsForFrame_ && next_ == 0 ? blankFrame(*context_) : Frame();
    if (blank != nullptr) {
        const Sink discard = [](AVPacket*) { return ZelErr::kOk; };
        send(blank.get(), discard);
        send(nullptr, discard);
    }
    context_.reset();
}

ZelCamErr Encoder::encode(AVFrame* frame, const Sink& sink)
{
    if (frame != nullptr) {
        frame->pts = next_++;
        frame->quality = context_->global_quality;
    }
    // Without a frame there is nothing to drain.
    return next_ > 0 ? send(frame, sink) : ZelErr::kOk;
}

ZelCamErr Encoder::send(AVFrame* frame, const Sink& sink)
{
    int code = avcodec_send_frame(context_.get(), frame);
    // Full: packets have to be taken first.
    while (code == AVERROR(EAGAIN)) {
        const ZelCamErr received = receive(sink);
        if (received != ZelErr::kOk) {
            return received;
        }
        code = avcodec_send_frame(context_.get(), frame);
    }
    if (code < 0) {
        return code == AVERROR(ENOMEM) ? ZelErr::kGenTLOutOfMemory : ZelErr::kUnknown;
    }
    return receive(sink);
}

ZelCamErr Encoder::receive(const Sink& sink)
{
    while (true) {
        const int code = avcodec_receive_packet(context_.get(), packet_.get());
        if (code == AVERROR(EAGAIN) || code == AVERROR_EOF) {
            return ZelErr::kOk;
        }
        if (code < 0) {
            return code == AVERROR(ENOMEM) ? ZelErr::kGenTLOutOfMemory : ZelErr::kUnknown;
        }
        const ZelCamErr taken = sink(packet_.get());
        av_packet_unref(packet_.get());
        if (taken != ZelErr::kOk) {
            return taken;
        }
    }
}

} // namespace movie
