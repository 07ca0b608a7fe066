#include "movie_frame.h"

#include "../row_kernels.h"
#include "frame_kernels.h"

#include <algorithm>
#include <cstring>

extern "C" {
#include <libavutil/imgutils.h>
}

namespace movie
{

using serializer::Picture;
using serializer::PixelKind;

namespace
{

constexpr int kAlignment = 64;
constexpr int kNeutral = 128;
constexpr unsigned kPaletteSize = 256;

bool isFullRange(AVPixelFormat format) { return format == AV_PIX_FMT_YUVJ420P; }

ColourOrder orderOf(const Picture& picture)
{
    return picture.kind == PixelKind::kRgb ? ColourOrder::kRgb : ColourOrder::kBgr;
}

// Writes the wanted byte order of 24-bit colour.
void copyColour(const Picture& picture, const unsigned char* from, unsigned char* to,
                AVPixelFormat format)
{
    const auto order = format == AV_PIX_FMT_RGB24 ? PixelKind::kRgb : PixelKind::kBgr;
    if (picture.kind == order) {
        std::memcpy(to, from, picture.rowBytes);
    } else {
        serializer::swapRedBlue(from, to, picture.width);
    }
}

void fillPalette(unsigned char* palette)
{
    for (unsigned gray = 0; gray < kPaletteSize; ++gray) {
        const std::uint32_t entry = 0xFF000000U | gray * 0x010101U;
        std::memcpy(palette + std::size_t{4} * gray, &entry, sizeof entry);
    }
}

} // namespace

FrameMaker::FrameMaker(AVPixelFormat format, int width, int height)
    : format_(format), width_(width), height_(height)
{
    const int size = av_image_get_buffer_size(format, width, height, kAlignment);
    if (size > 0) {
        // Slack: encoders read whole vectors at the end of a plane.
        pool_.reset(av_buffer_pool_init(static_cast<std::size_t>(size) + kAlignment, nullptr));
    }
}

Frame FrameMaker::allocate() const
{
    Frame frame(av_frame_alloc());
    if (frame == nullptr || pool_ == nullptr) {
        return nullptr;
    }
    frame->buf[0] = av_buffer_pool_get(pool_.get());
    if (frame->buf[0] == nullptr) {
        return nullptr;
    }
    frame->format = format_;
    frame->width = width_;
    frame->height = height_;
    frame->color_range = isFullRange(format_) ? AVCOL_RANGE_JPEG : AVCOL_RANGE_UNSPECIFIED;
    av_image_fill_arrays(frame->data, frame->linesize, frame->buf[0]->data, format_, width_,
                         height_, kAlignment);
    return frame;
}

Frame FrameMaker::make(const Picture& picture) const
{
    Frame frame = allocate();
    if (frame != nullptr) {
        fill(picture, *frame);
    }
    return frame;
}

void FrameMaker::fill(const Picture& picture, AVFrame& frame) const
{
    if (format_ == AV_PIX_FMT_YUV420P || format_ == AV_PIX_FMT_YUVJ420P) {
        fillPlanar(picture, frame);
        return;
    }
    if (format_ == AV_PIX_FMT_PAL8) {
        fillPalette(frame.data[1]);
    }
    for (std::uint32_t y = 0; y < picture.height; ++y) {
        const unsigned char* from = picture.row(y);
        unsigned char* to = frame.data[0] + static_cast<std::ptrdiff_t>(y) * frame.linesize[0];
        if (format_ == AV_PIX_FMT_BGR0) {
            colourToBgrx(from, to, picture.width, orderOf(picture));
        } else if (picture.isColour()) {
            copyColour(picture, from, to, format_);
        } else {
            std::memcpy(to, from, picture.rowBytes);
        }
    }
}

void FrameMaker::fillPlanar(const Picture& picture, AVFrame& frame) const
{
    const ColourWeights& weights = isFullRange(format_) ? fullRange() : limitedRange();
    const auto frameHeight = static_cast<std::uint32_t>(height_);
    const std::uint32_t lastRow = picture.height - 1;
    const auto lastLuma = static_cast<std::uint32_t>(height_ - 1);
    for (std::uint32_t y = 0; y < frameHeight; y += 2) {
        const auto plane = [&](int index, std::uint32_t row) {
            return frame.data[index] + static_cast<std::ptrdiff_t>(row) * frame.linesize[index];
        };
        const RowPair rows = {picture.row(std::min(y, lastRow)),
                              picture.row(std::min(y + 1, lastRow)),
                              plane(0, y),
                              plane(0, std::min(y + 1, lastLuma)),
                              plane(1, y / 2),
                              plane(2, y / 2),
                              picture.width};
        if (picture.isColour()) {
            colourToPlanar(rows, orderOf(picture), weights);
        } else {
            grayToLuma(rows.upper, rows.upperLuma, rows.width, weights);
            grayToLuma(rows.lower, rows.lowerLuma, rows.width, weights);
            const std::size_t chroma = (rows.width + 1) / 2;
            std::memset(rows.u, kNeutral, chroma);
            std::memset(rows.v, kNeutral, chroma);
        }
        if (static_cast<std::uint32_t>(width_) > picture.width) {
            rows.upperLuma[rows.width] = rows.upperLuma[rows.width - 1];
            rows.lowerLuma[rows.width] = rows.lowerLuma[rows.width - 1];
        }
    }
}

void describeColours(AVPixelFormat format, AVCodecContext* context)
{
    if (format == AV_PIX_FMT_YUV420P || format == AV_PIX_FMT_YUVJ420P) {
        context->colorspace = AVCOL_SPC_SMPTE170M;
        context->color_range = isFullRange(format) ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
    }
}

} // namespace movie
