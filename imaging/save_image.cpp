#include "imaging/save_image.h"

#include "imaging/unpack.h"
#include "module/binding/report.h"
#include "zel_image/pixel_format_table.h"

#include <cstdio>
#include <cstring>

namespace imaging
{

namespace
{

using namespace ZelPixel;

/// Mono and mosaics of 8 to 12 bits, unpacked or "Packed".
bool isSaveable(ZelPixelType type)
{
    const Format* const format = findFormat(type);
    return format != nullptr && format->bits <= 12 &&
           (family(type) == kFamilyMono || family(type) == kFamilyBayer) &&
           (packing(type) == kPackingNone || packing(type) == kPackingPacked);
}

/// True for success; reports the code of a mono save that failed.
bool reportMono(ZelCamErr code)
{
    if (code != ZelErr::kOk) {
        std::fprintf(stderr, "ZelImageSerializer_Save failed, error code: %d\n", code);
    }
    return code == ZelErr::kOk;
}

bool saveMono(ComponentLoader& components, const ZelImage* image, const char* fileName,
              ZelCamErr& lastError)
{
    lastError = ZelImageSerializer_Save(components.existingSerializer(), image, fileName);
    return reportMono(lastError);
}

/// The serializer knows more names for this format; only this one keeps all bits.
bool keepsAllBits(const char* fileName)
{
    const char* dot = std::strrchr(fileName, '.');
    return dot != nullptr && std::strcmp(dot, ".tiff") == 0;
}

bool saveDeepMono(ComponentLoader& components, ZelSize size, const ZelImage* image,
                  const char* fileName, ZelCamErr& lastError)
{
    ZelImageConverter* converter = components.converter();
    if (keepsAllBits(fileName)) {
        return saveMono(components, image, fileName, lastError);
    }
    const OwnedImage reduced = createImage(size, kMono8);
    // Without memory for it the components are asked all the same: they say what is wrong.
    ZelImageConverter_ConvertImage(converter, image, reduced.get());
    return saveMono(components, reduced.get(), fileName, lastError);
}

bool saveBayer(ComponentLoader& components, ZelSize size, const ZelImage* image,
               const char* fileName, ZelCamErr& lastError)
{
    ZelBayer* bayer = components.bayer();
    const OwnedImage colour = createImage(size, kRGB8);
    if (colour == nullptr) {
        binding::report("Error, unable to create RGB image\n");
        return false;
    }
    lastError = ZelBayer_ConvertImage(bayer, image, colour.get());
    if (lastError != ZelErr::kOk) {
        // The file is written all the same: what there is of the picture may still be of use.
        binding::reportComponentFailure("ZelBayer_ConvertImage failed, error code", lastError);
    }
    lastError = ZelImageSerializer_Save(components.existingSerializer(), colour.get(), fileName);
    if (lastError != ZelErr::kOk) {
        std::fprintf(stderr, "ZelImageSerializer_Save failed, filename: %s  error code: 0x%X\n",
                     fileName, static_cast<std::uint32_t>(lastError));
    }
    return lastError == ZelErr::kOk;
}

} // namespace

bool saveImage(ComponentLoader& components, const ZelImage& source, const char* fileName,
               ZelCamErr& lastError)
{
    if (!isSaveable(source.pixelType)) {
        binding::report("Error, not supported pixel type\n");
        return false;
    }
    const ZelImage* image = &source;
    OwnedImage unpacked;
    const ZelPixelType unpackedType = unpackedOf(source.pixelType);
    if (unpackedType != 0) {
        ZelImageUnpacker* unpacker = unpackerFor(components, source);
        if (unpacker == nullptr) {
            return false;
        }
        unpacked = createImage(source.size, unpackedType);
        lastError = unpack(unpacker, source, unpacked.get());
        if (lastError != ZelErr::kOk) {
            return false;
        }
        image = unpacked.get();
    }
    if (family(source.pixelType) == kFamilyBayer) {
        return saveBayer(components, source.size, image, fileName, lastError);
    }
    return source.pixelType == kMono8
               ? saveMono(components, image, fileName, lastError)
               : saveDeepMono(components, source.size, image, fileName, lastError);
}

} // namespace imaging
