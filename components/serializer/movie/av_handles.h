// Owning pointers to the objects of libav.
#pragma once

#include <cstdint>
#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/buffer.h>
#include <libavutil/dict.h>
}

namespace movie
{

struct AvDeleter {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
    void operator()(AVFormatContext* context) const { avformat_free_context(context); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    // The pool itself lives until the last frame made of it is gone.
    void operator()(AVBufferPool* pool) const { av_buffer_pool_uninit(&pool); }
    void operator()(AVIOContext* io) const
    {
        av_freep(&io->buffer);
        avio_context_free(&io);
    }
};

using CodecContext = std::unique_ptr<AVCodecContext, AvDeleter>;
using FormatContext = std::unique_ptr<AVFormatContext, AvDeleter>;
using Frame = std::unique_ptr<AVFrame, AvDeleter>;
using Packet = std::unique_ptr<AVPacket, AvDeleter>;
using BufferPool = std::unique_ptr<AVBufferPool, AvDeleter>;
using IoContext = std::unique_ptr<AVIOContext, AvDeleter>;

/// Options for an object that is being opened; what it did not take stays in.
class Options
{
public:
    Options() = default;
    ~Options() { av_dict_free(&values_); }
    Options(const Options&) = delete;
    Options& operator=(const Options&) = delete;

    void set(const char* key, const char* value) { av_dict_set(&values_, key, value, 0); }
    void set(const char* key, std::int64_t value) { av_dict_set_int(&values_, key, value, 0); }
    AVDictionary** get() { return &values_; }

private:
    AVDictionary* values_ = nullptr;
};

} // namespace movie
