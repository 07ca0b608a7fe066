// libZelImageConverter of the double.
#include "zel_image/converter.h"

#include "component.h"

struct ZelImageConverter : zel_double::Component {
    using Component::Component;
};

using namespace zel_double;

ZelImageConverter* ZelImageConverter_CreateComponent()
{
    return named<ZelImageConverter>(askFunction("ZelImageConverter_CreateComponent").result());
}

ZelCamErr ZelImageConverter_ConvertImage(ZelImageConverter* converter, const ZelImage* source,
                                         ZelImage* target)
{
    return askFunction("ZelImageConverter_ConvertImage", describe(converter), describe(source),
                       describe(target))
        .code();
}

void ZelImageConverter_DeleteComponent(ZelImageConverter* converter)
{
    askFunction("ZelImageConverter_DeleteComponent", describe(converter));
}
