// libZelImageSerializer of the double.
#include "zel_image/serializer.h"

#include "component.h"

struct ZelImageSerializer : zel_double::Component {
    using Component::Component;
};

using namespace zel_double;

ZelImageSerializer* ZelImageSerializer_CreateComponent(std::int32_t mode)
{
    return named<ZelImageSerializer>(
        askFunction("ZelImageSerializer_CreateComponent", mode).result());
}

ZelComponentParams* ZelImageSerializer_GetComponent(ZelImageSerializer* serializer)
{
    return named<ComponentParamsDouble>(
        askFunction("ZelImageSerializer_GetComponent", describe(serializer)).result());
}

ZelCamErr ZelImageSerializer_Save(ZelImageSerializer* serializer, const ZelImage* image,
                                  const char* fileName)
{
    return askFunction("ZelImageSerializer_Save", describe(serializer), describe(image), fileName)
        .code();
}

ZelCamErr ZelImageSerializer_StartMovieRecord(ZelImageSerializer* serializer, const ZelImage* image,
                                              const char* fileName, double framesPerSecond)
{
    return askFunction("ZelImageSerializer_StartMovieRecord", describe(serializer), describe(image),
                       fileName, framesPerSecond)
        .code();
}

ZelCamErr ZelImageSerializer_FinishRecord(ZelImageSerializer* serializer)
{
    return askFunction("ZelImageSerializer_FinishRecord", describe(serializer)).code();
}

void ZelImageSerializer_DeleteComponent(ZelImageSerializer* serializer)
{
    askFunction("ZelImageSerializer_DeleteComponent", describe(serializer));
}
