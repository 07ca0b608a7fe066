// libZelDemosaicing of the double.
#include "zel_image/demosaicing.h"

#include "component.h"

struct ZelBayer : zel_double::Component {
    using Component::Component;
};

using namespace zel_double;

ZelBayer* ZelBayer_CreateComponent()
{
    return named<ZelBayer>(askFunction("ZelBayer_CreateComponent").result());
}

ZelCamErr ZelBayer_ConvertImage(ZelBayer* bayer, const ZelImage* source, ZelImage* target)
{
    return askFunction("ZelBayer_ConvertImage", describe(bayer), describe(source), describe(target))
        .code();
}

void ZelBayer_DeleteComponent(ZelBayer* bayer)
{
    askFunction("ZelBayer_DeleteComponent", describe(bayer));
}
