#include "imaging/save_image.h"

#include "imaging/unpack.h"
#include "module/binding/report.h"

#include <cstdio>
#include <cstring>

namespace imaging
{

namespace
{

using namespace ZelPixel;

/// A pixel type that can be saved, and the one it is unpacked to (0: it is not packed).
struct Saveable {
    ZelPixelType type;
    ZelPixelType unpacked;
};

constexpr Saveable kSaveable[] = {
    {kMono8, 0},
    {kMono10, 0},
    {kMono12, 0},
    {kMono10Packed, kMono10},
    {kMono12Packed, kMono12},
    {kBayerGR8, 0},
    {kBayerRG8, 0},
    {kBayerGB8, 0},
    {kBayerBG8, 0},
    {kBayerGR10, 0},
    {kBayerRG10, 0},
    {kBayerGB10, 0},
    {kBayerBG10, 0},
    {kBayerGR12, 0},
    {kBayerRG12, 0},
    {kBayerGB12, 0},
    {kBayerBG12, 0},
    {kBayerGR10Packed, kBayerGR10},
    {kBayerRG10Packed, kBayerRG10},
    {kBayerGB10Packed, kBayerGB10},
    {kBayerBG10Packed, kBayerBG10},
    {kBayerGR12Packed, kBayerGR12},
    {kBayerRG12Packed, kBayerRG12},
    {kBayerGB12Packed, kBayerGB12},
    {kBayerBG12Packed, kBayerBG12},
};

const Saveable* findSaveable(ZelPixelType type)
{
    for (const Saveable& format : kSaveable) {
        if (format.type == type) {
            return &format;
        }
    }
    return nullptr;
}

/// True for success; reports the code of a mono save that failed.
bool reportMono(ZelCamErr code)
{
    if (code != ZelErr::kOk) {
        std::fprintf(stderr, "ZelImageSerializer_Save failed, error code: %d\n", code);
    }
    return code == ZelErr::kOk;
}

bool saveMono(Components& components, const ZelImage* image, const char* fileName,
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

bool saveDeepMono(Components& components, ZelSize size, const ZelImage* image, const char* fileName,
                  ZelCamErr& lastError)
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

bool saveBayer(Components& components, ZelSize size, const ZelImage* image, const char* fileName,
               ZelCamErr& lastError)
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

bool saveImage(Components& components, const ZelImage& source, const char* fileName,
               ZelCamErr& lastError)
{
    const Saveable* format = findSaveable(source.pixelType);
    if (format == nullptr) {
        binding::report("Error, not supported pixel type\n");
        return false;
    }
    const ZelImage* image = &source;
    OwnedImage unpacked;
    if (format->unpacked != 0) {
        ZelImageUnpacker* unpacker = unpackerFor(components, source);
        if (unpacker == nullptr) {
            return false;
        }
        unpacked = createImage(source.size, format->unpacked);
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
