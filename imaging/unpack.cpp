#include "imaging/unpack.h"

#include "module/binding/report.h"

namespace imaging
{

ZelImageUnpacker* unpackerFor(ComponentLoader& components, const ZelImage& source)
{
    ZelImageUnpacker* unpacker = components.unpacker();
    ZelComponentParams* params =
        unpacker != nullptr ? ZelImageUnpacker_GetComponent(unpacker) : nullptr;
    if (params == nullptr) {
        binding::report("Error, ZelImageUnpacker_GetComponent\n");
        return nullptr;
    }
    params->SetInteger("cameraType", 0);
    params->SetInteger("width", static_cast<std::int32_t>(source.size.width));
    params->SetInteger("height", static_cast<std::int32_t>(source.size.height));
    return unpacker;
}

ZelCamErr unpack(ZelImageUnpacker* unpacker, const ZelImage& source, ZelImage* target)
{
    const ZelCamErr code = ZelImageUnpacker_Unpack(unpacker, &source, target);
    if (code != ZelErr::kOk) {
        binding::report("Error, ZelImageUnpacker_Unpack\n");
    }
    return code;
}

} // namespace imaging
