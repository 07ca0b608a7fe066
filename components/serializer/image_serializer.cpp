#include "image_serializer.h"

#include "movie_library.h"
#include "picture.h"

namespace serializer
{

ImageSerializer::~ImageSerializer() { finishMovie(); }

ZelCamErr ImageSerializer::savePictureFile(const ZelImage* image, const char* fileName) const
{
    Picture picture = {};
    const ZelCamErr code = describePicture(image, &picture);
    if (code != ZelErr::kOk) {
        return code;
    }
    WriteOptions options;
    options.jpegQuality = params_.jpegQuality();
    return savePicture(picture, options, fileName);
}

ZelCamErr ImageSerializer::appendToMovie(const ZelImage* image)
{
    if (recorder_ == nullptr) {
        return ZelErr::kInvalidState;
    }
    Picture picture = {};
    const ZelCamErr code = describePicture(image, &picture);
    return code == ZelErr::kOk ? movies_->append(recorder_, &picture) : code;
}

ZelCamErr ImageSerializer::startMovie(const ZelImage* image, const char* fileName,
                                      double framesPerSecond)
{
    finishMovie();
    Picture picture = {};
    const ZelCamErr code = describePicture(image, &picture);
    if (code != ZelErr::kOk || fileName == nullptr) {
        return ZelErr::kInvalidArgument;
    }
    movies_ = movieFunctions();
    if (movies_ == nullptr) {
        return ZelErr::kFileNotFound;
    }
    const std::string extension = extensionOf(fileName);
    movie::Settings settings = {};
    settings.fileName = fileName;
    settings.extension = extension.c_str();
    settings.compressor = params_.compressor().c_str();
    settings.framesPerSecond = framesPerSecond;
    settings.ticksPerSecond = params_.ticksPerSecond();
    settings.minQuantizer = params_.minQuantizer();
    settings.maxQuantizer = params_.maxQuantizer();
    settings.addPalette = params_.addPalette();
    return movies_->start(&settings, &picture, &recorder_);
}

ZelCamErr ImageSerializer::finishMovie()
{
    if (recorder_ == nullptr) {
        return ZelErr::kInvalidState;
    }
    movie::Recorder* const recorder = recorder_;
    recorder_ = nullptr;
    return movies_->finish(recorder);
}

} // namespace serializer
