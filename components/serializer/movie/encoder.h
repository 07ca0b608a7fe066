// A video encoder set up for one compressor.
#pragma once

#include "av_handles.h"
#include "compressors.h"
#include "movie_frame.h"
#include "zel_err.h"

#include <cstdint>
#include <functional>

namespace movie
{

struct Settings;

/// Frames in, packets out, in order. One thread at a time.
class Encoder
{
public:
    Encoder() = default;
    ~Encoder();
    Encoder(const Encoder&) = delete;
    Encoder& operator=(const Encoder&) = delete;

    /// Takes a finished packet; a code other than 0 ends the encoding with it.
    using Sink = std::function<ZelCamErr(AVPacket*)>;

    /// Opens the encoder for pictures like `first`. -40007 when it refuses the size or the rate.
    ZelCamErr open(const Compressor& compressor, const Settings& settings,
                   const serializer::Picture& first, AVRational rate, bool globalHeader,
                   bool palette);

    /// Encodes a frame, or with null drains what is left, and hands on the finished packets. No
    /// frame may follow the null.
    ZelCamErr encode(AVFrame* frame, const Sink& sink);

    /// Ends its threads. Only destruction may follow.
    void close();

    /// Until close().
    const AVCodecContext& context() const { return *context_; }

private:
    ZelCamErr send(AVFrame* frame, const Sink& sink);
    ZelCamErr receive(const Sink& sink);

    CodecContext context_;
    Packet packet_;
    std::int64_t next_ = 0; // Time of the next frame, in frames.
    bool waitsForFrame_ = false;
};

} // namespace movie
