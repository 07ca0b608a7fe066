#include "common/movie_writer.h"

#include "common/failure.h"
#include "common/feature.h"

namespace common
{

namespace
{

std::string codecsOf(ZelComponentParams& params)
{
    char text[1024] = "";
    std::uint32_t length = sizeof text;
    const bool good = params.GetString("movie.compressors", text, &length) == ZelErr::kOk;
    return good && text[0] != '\0' ? text : "none: install FFmpeg's libraries";
}

} // namespace

MovieWriter::MovieWriter(const ZelImage& image, std::string file, double rate,
                         const std::string& codec)
    : file_(std::move(file)),
      serializer_(ZelImageSerializer_CreateComponent(1), ZelImageSerializer_DeleteComponent)
{
    if (serializer_ == nullptr) {
        throw sdkFailure("the serializer", ZelErr::kGenTLOutOfMemory);
    }
    ZelComponentParams* const params = ZelImageSerializer_GetComponent(serializer_.get());
    ZelCamErr err = params->SetString("movie.compressor", codec.c_str());
    if (err == ZelErr::kOk) {
        err = ZelImageSerializer_StartMovieRecord(serializer_.get(), &image, file_.c_str(), rate);
    }
    if (err == ZelErr::kInvalidArgument || err == ZelErr::kParamOutOfRange) {
        throw Failure(Exit::File,
                      file_ + ": take .avi .mkv .mp4 .mov or .webm and a codec that fits it (" +
                          codecsOf(*params) + ")",
                      err);
    }
    check(file_, err);
}

void MovieWriter::add(const ZelImage& image)
{
    check(file_, ZelImageSerializer_Save(serializer_.get(), &image, nullptr));
    ++frames_;
}

void MovieWriter::finish() { check(file_, ZelImageSerializer_FinishRecord(serializer_.get())); }

double frameRate(ZelGenParam::Array& features)
{
    constexpr double kUsual = 25;
    const double limited = numberOr(&features, "AcquisitionFrameRate", kUsual);
    return numberOr(&features, "AcquisitionResultingFrameRate", limited);
}

} // namespace common
