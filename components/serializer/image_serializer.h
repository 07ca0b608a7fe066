// The serializer component: pictures and the movie under way.
#pragma once

#include "movie/movie_functions.h"
#include "serializer_params.h"
#include "zel_image/image.h"

namespace serializer
{

/// What the C functions of the component work on; codes as its public header lists them. One
/// thread at a time. May throw bad_alloc.
class ImageSerializer
{
public:
    ImageSerializer() = default;
    /// Finishes a movie under way.
    ~ImageSerializer();
    ImageSerializer(const ImageSerializer&) = delete;
    ImageSerializer& operator=(const ImageSerializer&) = delete;

    SerializerParams& params() { return params_; }

    ZelCamErr savePictureFile(const ZelImage* image, const char* fileName) const;
    ZelCamErr appendToMovie(const ZelImage* image);
    /// An unfinished movie is finished first, whatever becomes of the new one; errors of the old
    /// one are lost with it.
    ZelCamErr startMovie(const ZelImage* image, const char* fileName, double framesPerSecond);
    ZelCamErr finishMovie();

private:
    SerializerParams params_;
    const movie::Functions* movies_ = nullptr;
    movie::Recorder* recorder_ = nullptr; // Owned; null when no movie is being recorded.
};

} // namespace serializer
