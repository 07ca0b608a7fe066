// Converter component: chooses the conversion of a pair of pixel types and checks both images.
#include "zel_image/converter.h"

#include "common/image_plane.h"
#include "converter/convert_kernel.h"

#include <cstring>
#include <new>
#include <optional>

struct ZelImageConverter {
};

namespace
{

using namespace ZelComponents;

struct Pair {
    ZelPixelType source;
    ZelPixelType target;
    std::optional<Conversion> conversion; // Empty: the bytes are copied.
};

constexpr Pair kPairs[] = {
    {ZelPixel::kMono8, ZelPixel::kMono8, std::nullopt},
    {ZelPixel::kMono10, ZelPixel::kMono8, Conversion::kNarrow10},
    {ZelPixel::kMono12, ZelPixel::kMono8, Conversion::kNarrow12},
    {ZelPixel::kMono14, ZelPixel::kMono8, Conversion::kNarrow14},
    {ZelPixel::kMono16, ZelPixel::kMono8, Conversion::kNarrow16},
    {ZelPixel::kMono8, ZelPixel::kRGB8, Conversion::kTriple8},
    {ZelPixel::kMono10, ZelPixel::kRGB8, Conversion::kTriple10},
    {ZelPixel::kMono12, ZelPixel::kRGB8, Conversion::kTriple12},
    {ZelPixel::kMono14, ZelPixel::kRGB8, Conversion::kTriple14},
    {ZelPixel::kMono16, ZelPixel::kRGB8, Conversion::kTriple16},
    {ZelPixel::kMono8, ZelPixel::kBGR8, Conversion::kTriple8},
    {ZelPixel::kMono10, ZelPixel::kBGR8, Conversion::kTriple10},
    {ZelPixel::kMono12, ZelPixel::kBGR8, Conversion::kTriple12},
    {ZelPixel::kMono14, ZelPixel::kBGR8, Conversion::kTriple14},
    {ZelPixel::kMono16, ZelPixel::kBGR8, Conversion::kTriple16},
    {ZelPixel::kRGB8, ZelPixel::kRGB8, std::nullopt},
    {ZelPixel::kBGR8, ZelPixel::kBGR8, std::nullopt},
    {ZelPixel::kRGB8, ZelPixel::kBGR8, Conversion::kSwap},
    {ZelPixel::kBGR8, ZelPixel::kRGB8, Conversion::kSwap},
    {ZelPixel::kRGB8, ZelPixel::kMono8, Conversion::kLumaOfRgb},
    {ZelPixel::kBGR8, ZelPixel::kMono8, Conversion::kLumaOfBgr},
};

const Pair* findPair(ZelPixelType source, ZelPixelType target)
{
    for (const Pair& pair : kPairs) {
        if (pair.source == source && pair.target == target) {
            return &pair;
        }
    }
    return nullptr;
}

void convertRow(const Pair& pair, const std::uint8_t* source, std::uint8_t* target,
                std::size_t pixels)
{
    if (pair.conversion) {
        convertRun(*pair.conversion, source, target, pixels);
    } else {
        std::memmove(target, source, pixels * (ZelPixel::storedBits(pair.source) / 8U));
    }
}

ZelCamErr convert(const ZelImage& source, const ZelImage& target)
{
    const Pair* const pair = findPair(source.pixelType, target.pixelType);
    const std::optional<SourcePlane> from = sourcePlane(source);
    const std::optional<TargetPlane> into = targetPlane(target);
    if (pair == nullptr || !from || !into || !sameSize(source, target)) {
        return ZelErr::kInvalidArgument;
    }
    if (from->isContiguous() && into->isContiguous()) {
        convertRow(*pair, from->data, into->data, from->width * from->height);
        return ZelErr::kOk;
    }
    for (std::size_t y = 0; y < from->height; ++y) {
        convertRow(*pair, from->row(y), into->row(y), from->width);
    }
    return ZelErr::kOk;
}

} // namespace

ZelImageConverter* ZelImageConverter_CreateComponent()
{
    return new (std::nothrow) ZelImageConverter;
}

ZelCamErr ZelImageConverter_ConvertImage(ZelImageConverter* converter, const ZelImage* source,
                                         ZelImage* target)
{
    if (converter == nullptr || source == nullptr || target == nullptr) {
        return ZelErr::kInvalidArgument;
    }
    return convert(*source, *target);
}

void ZelImageConverter_DeleteComponent(ZelImageConverter* converter) { delete converter; }
