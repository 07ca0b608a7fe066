// A movie under way.
#pragma once

#include "zel_gen_param_api.h"
#include "zel_image_api.h"

#include <cstdint>
#include <memory>
#include <string>

namespace common
{

/// Finished with the object at the latest. One thread at a time.
class MovieWriter
{
public:
    /// Starts a movie of images like this one (Mono8, RGB8 or BGR8); an empty codec is the file
    /// type's own. Failure with the codecs that there are.
    MovieWriter(const ZelImage& image, std::string file, double rate, const std::string& codec);

    /// Failure when the disk or the codec refuses.
    void add(const ZelImage& image);
    void finish();

    const std::string& file() const { return file_; }
    std::uint64_t frames() const { return frames_; }

private:
    std::string file_;
    std::uint64_t frames_ = 0;
    std::unique_ptr<ZelImageSerializer, void (*)(ZelImageSerializer*)> serializer_;
};

/// Frames per second that the camera says it gives; 25 when it does not say.
double frameRate(ZelGenParam::Array& features);

} // namespace common
