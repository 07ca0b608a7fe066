// The four image components, made when they are first needed.
#pragma once

#include "zel_image_api.h"

#include <memory>

namespace imaging
{

/// Owns the components of the process. Not thread-safe: the interpreter lock orders the callers.
class ComponentLoader
{
public:
    ComponentLoader() = default;
    /// Deletes the components in the order serializer, demosaicing, unpacker, converter.
    ~ComponentLoader();
    ComponentLoader(const ComponentLoader&) = delete;
    ComponentLoader& operator=(const ComponentLoader&) = delete;

    /// Each makes its component on the first call and returns the same one from then on; null when
    /// it cannot be made. The serializer keeps the mode of the first call.
    ZelImageSerializer* serializer(std::int32_t mode);
    ZelBayer* bayer();
    ZelImageUnpacker* unpacker();
    ZelImageConverter* converter();

    /// The serializer if there is one already, else null.
    ZelImageSerializer* existingSerializer() const { return serializer_; }

private:
    ZelImageSerializer* serializer_ = nullptr;
    ZelBayer* bayer_ = nullptr;
    ZelImageUnpacker* unpacker_ = nullptr;
    ZelImageConverter* converter_ = nullptr;
};

/// Modes of the serializer.
constexpr std::int32_t kPictures = 0;
constexpr std::int32_t kMovies = 1;

struct ReleaseImage {
    void operator()(ZelImage* image) const { ZelReleaseImage(&image); }
};
/// An image made by ZelCreateImage; null when there was no memory.
using OwnedImage = std::unique_ptr<ZelImage, ReleaseImage>;

OwnedImage createImage(ZelSize size, ZelPixelType pixelType);

} // namespace imaging
