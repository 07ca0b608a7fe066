#include "movie_reader.h"

#include "serializer/movie/av_handles.h"

#include <algorithm>
#include <cmath>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace
{

std::uint8_t toByte(double value)
{
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 255.0)));
}

void appendPlanarPixel(const AVFrame& frame, int x, int y, bool colour,
                       std::vector<std::uint8_t>* out)
{
    const bool full = frame.color_range == AVCOL_RANGE_JPEG || frame.format == AV_PIX_FMT_YUVJ420P;
    const double luma = frame.data[0][y * frame.linesize[0] + x];
    const double gray = full ? luma : (luma - 16) * 255 / 219;
    if (!colour) {
        out->push_back(toByte(gray));
        return;
    }
    const double scale = full ? 1.0 : 255.0 / 224.0;
    const double u = (frame.data[1][y / 2 * frame.linesize[1] + x / 2] - 128.0) * scale;
    const double v = (frame.data[2][y / 2 * frame.linesize[2] + x / 2] - 128.0) * scale;
    out->push_back(toByte(gray + 1.402 * v));
    out->push_back(toByte(gray - 0.344136 * u - 0.714136 * v));
    out->push_back(toByte(gray + 1.772 * u));
}

void appendPackedPixel(const AVFrame& frame, int x, int y, bool colour,
                       std::vector<std::uint8_t>* out)
{
    const auto format = static_cast<AVPixelFormat>(frame.format);
    const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(format);
    const std::uint8_t* palette = nullptr;
    std::uint8_t index = 0;
    if (format == AV_PIX_FMT_PAL8) {
        index = frame.data[0][y * frame.linesize[0] + x];
        palette = frame.data[1] + 4 * index;
    }
    for (int c = 0; c < (colour ? 3 : 1); ++c) {
        const AVComponentDescriptor& part = descriptor->comp[c];
        // Palette entries are native 32-bit words: blue comes first.
        out->push_back(palette != nullptr ? palette[2 - c]
                                          : frame.data[part.plane][y * frame.linesize[part.plane] +
                                                                   x * part.step + part.offset]);
    }
}

std::vector<std::uint8_t> pixelsOf(const AVFrame& frame, bool colour)
{
    std::vector<std::uint8_t> out;
    const bool planar = frame.format == AV_PIX_FMT_YUV420P || frame.format == AV_PIX_FMT_YUVJ420P;
    for (int y = 0; y < frame.height; ++y) {
        for (int x = 0; x < frame.width; ++x) {
            (planar ? appendPlanarPixel : appendPackedPixel)(frame, x, y, colour, &out);
        }
    }
    return out;
}

void decode(AVFormatContext* format, AVCodecContext* decoder, bool colour, Movie* movie)
{
    const movie::Packet packet(av_packet_alloc());
    const movie::Frame frame(av_frame_alloc());
    double first = 0;
    double last = 0;
    bool more = true;
    while (more) {
        more = av_read_frame(format, packet.get()) >= 0;
        avcodec_send_packet(decoder, more ? packet.get() : nullptr);
        av_packet_unref(packet.get());
        while (avcodec_receive_frame(decoder, frame.get()) == 0) {
            last = static_cast<double>(frame->best_effort_timestamp);
            first = movie->frames.empty() ? last : first;
            movie->width = frame->width;
            movie->height = frame->height;
            movie->fullRange = frame->color_range == AVCOL_RANGE_JPEG;
            movie->frames.push_back(pixelsOf(*frame, colour));
        }
    }
    const double count = static_cast<double>(movie->frames.size()) - 1;
    const double seconds = (last - first) * av_q2d(format->streams[0]->time_base);
    movie->rate = seconds > 0 ? count / seconds : 0;
}

} // namespace

Movie readMovie(const std::string& path, bool colour)
{
    Movie movie;
    AVFormatContext* format = nullptr;
    av_log_set_level(AV_LOG_QUIET);
    if (avformat_open_input(&format, path.c_str(), nullptr, nullptr) < 0) {
        return movie;
    }
    if (avformat_find_stream_info(format, nullptr) >= 0 && format->nb_streams == 1) {
        const AVCodecParameters* parameters = format->streams[0]->codecpar;
        movie.codec = avcodec_get_name(parameters->codec_id);
        const AVCodec* codec = avcodec_find_decoder(parameters->codec_id);
        const movie::CodecContext decoder(avcodec_alloc_context3(codec));
        avcodec_parameters_to_context(decoder.get(), parameters);
        if (avcodec_open2(decoder.get(), codec, nullptr) >= 0) {
            movie.opened = true;
            decode(format, decoder.get(), colour, &movie);
        }
    }
    avformat_close_input(&format);
    return movie;
}

double psnr(const std::vector<std::uint8_t>& wanted, const std::vector<std::uint8_t>& got,
            std::size_t width, std::size_t height, std::size_t gotWidth, std::size_t channels)
{
    double sum = 0;
    for (std::size_t y = 0; y < height; ++y) {
        for (std::size_t i = 0; i < width * channels; ++i) {
            const double difference =
                double(wanted.at(y * width * channels + i)) - got.at(y * gotWidth * channels + i);
            sum += difference * difference;
        }
    }
    const double mean = sum / static_cast<double>(width * height * channels);
    return mean == 0 ? 99.0 : 10 * std::log10(255.0 * 255.0 / mean);
}
