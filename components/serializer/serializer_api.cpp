// The component's C functions.
#include "image_serializer.h"
#include "zel_image/serializer.h"

#include <new>

struct ZelImageSerializer {
    serializer::ImageSerializer component;
};

namespace
{

// Exceptions end here: callers may be compiled by anything.
template <typename Operation> ZelCamErr guarded(ZelImageSerializer* handle, Operation operation)
{
    if (handle == nullptr) {
        return ZelErr::kInvalidArgument;
    }
    try {
        return operation(handle->component);
    } catch (const std::bad_alloc&) {
        return ZelErr::kGenTLOutOfMemory;
    } catch (...) {
        return ZelErr::kUnknown;
    }
}

} // namespace

extern "C" {

ZelImageSerializer* ZelImageSerializer_CreateComponent(std::int32_t /*mode*/)
{
    return new (std::nothrow) ZelImageSerializer;
}

ZelComponentParams* ZelImageSerializer_GetComponent(ZelImageSerializer* serializer)
{
    return serializer == nullptr ? nullptr : &serializer->component.params();
}

ZelCamErr ZelImageSerializer_Save(ZelImageSerializer* serializer, const ZelImage* image,
                                  const char* fileName)
{
    return guarded(serializer, [&](auto& component) {
        return fileName == nullptr ? component.appendToMovie(image)
                                   : component.savePictureFile(image, fileName);
    });
}

ZelCamErr ZelImageSerializer_StartMovieRecord(ZelImageSerializer* serializer, const ZelImage* image,
                                              const char* fileName, double framesPerSecond)
{
    return guarded(serializer, [&](auto& component) {
        return component.startMovie(image, fileName, framesPerSecond);
    });
}

ZelCamErr ZelImageSerializer_FinishRecord(ZelImageSerializer* serializer)
{
    return guarded(serializer, [](auto& component) { return component.finishMovie(); });
}

void ZelImageSerializer_DeleteComponent(ZelImageSerializer* serializer) { delete serializer; }
}
