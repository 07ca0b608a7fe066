// libZelImageUnpacker of the double.
#include "zel_image/unpacker.h"

#include "component.h"

struct ZelImageUnpacker : zel_double::Component {
    using Component::Component;
};

using namespace zel_double;

ZelImageUnpacker* ZelImageUnpacker_CreateComponent()
{
    return named<ZelImageUnpacker>(askFunction("ZelImageUnpacker_CreateComponent").result());
}

ZelComponentParams* ZelImageUnpacker_GetComponent(ZelImageUnpacker* unpacker)
{
    return named<ComponentParamsDouble>(
        askFunction("ZelImageUnpacker_GetComponent", describe(unpacker)).result());
}

ZelCamErr ZelImageUnpacker_Unpack(ZelImageUnpacker* unpacker, const ZelImage* source,
                                  ZelImage* target)
{
    return askFunction("ZelImageUnpacker_Unpack", describe(unpacker), describe(source),
                       describe(target))
        .code();
}

void ZelImageUnpacker_DeleteComponent(ZelImageUnpacker* unpacker)
{
    askFunction("ZelImageUnpacker_DeleteComponent", describe(unpacker));
}
