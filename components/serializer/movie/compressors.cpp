#include "compressors.h"

namespace movie
{

namespace
{

constexpr unsigned kStreaming = kMp4 | kMov;
constexpr int kNoLimit = 65535;

// Gray goes into 4:2:0 formats with neutral chroma: few players take a film without chroma.
constexpr Compressor kCompressors[] = {
    {"uncompressed", "rawvideo", "rawvideo", AV_PIX_FMT_BGR24, AV_PIX_FMT_GRAY8,
     QuantizerScale::kNone, kAvi | kMov, kNoLimit, false, false},
    {"mjpeg", "mjpeg", "mjpeg", AV_PIX_FMT_YUVJ420P, AV_PIX_FMT_YUVJ420P, QuantizerScale::kLinear,
     kAvi | kMkv | kStreaming, kNoLimit, false, false},
    // Sides have 13 bits in the stream.
    {"mpeg4", "mpeg4", "mpeg4", AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV420P, QuantizerScale::kLinear,
     kAvi | kMkv | kStreaming, 8191, false, false},
    {"h264", "libx264", "libx264", AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV420P, QuantizerScale::kH26x,
     kAvi | kMkv | kStreaming, 16384, true, false},
    {"h265", "libx265", "libx265", AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV420P, QuantizerScale::kH26x,
     kMkv | kStreaming, 16384, true, false},
    {"ffv1", "ffv1", "ffv1", AV_PIX_FMT_BGR0, AV_PIX_FMT_GRAY8, QuantizerScale::kNone, kAvi | kMkv,
     kNoLimit, false, false},
    {"huffyuv", "huffyuv", "ffvhuff", AV_PIX_FMT_RGB24, AV_PIX_FMT_GRAY8, QuantizerScale::kNone,
     kAvi, kNoLimit, false, false},
    {"png", "png", "png", AV_PIX_FMT_RGB24, AV_PIX_FMT_GRAY8, QuantizerScale::kNone, kAvi | kMkv,
     kNoLimit, false, false},
    {"vp9", "libvpx-vp9", "libvpx-vp9", AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV420P,
     QuantizerScale::kTo63, kAvi | kMkv | kMp4 | kWebm, 16384, false, false},
    {"av1", "libsvtav1", "libsvtav1", AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV420P, QuantizerScale::kTo63,
     kAvi | kMkv | kMp4 | kWebm, 16384, true, true},
};

// AVI and Matroska count in milliseconds at best.
constexpr ContainerRow kContainers[] = {
    {"avi", "avi", kAvi, 1000.0},  {"mkv", "matroska", kMkv, 1000.0}, {"mp4", "mp4", kMp4, 65535.0},
    {"mov", "mov", kMov, 65535.0}, {"webm", "webm", kWebm, 1000.0},
};

bool usable(const Compressor& compressor)
{
    return avcodec_find_encoder_by_name(compressor.colourEncoder) != nullptr &&
           avcodec_find_encoder_by_name(compressor.grayEncoder) != nullptr;
}

} // namespace

const ContainerRow* findContainer(std::string_view extension)
{
    for (const ContainerRow& row : kContainers) {
        if (row.extension == extension) {
            return &row;
        }
    }
    return nullptr;
}

const Compressor* findCompressor(std::string_view name, Container container)
{
    for (const Compressor& row : kCompressors) {
        const bool fits = (row.containers & container) != 0;
        if ((name.empty() || row.name == name) && fits && usable(row)) {
            return &row;
        }
    }
    return nullptr;
}

std::string compressorList()
{
    std::string list;
    for (const Compressor& row : kCompressors) {
        if (usable(row)) {
            list += row.name;
            list += '|';
        }
    }
    return list;
}

} // namespace movie
