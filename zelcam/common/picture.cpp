#include "common/picture.h"

#include "common/failure.h"
#include "common/printer.h"
#include "common/rgb.h"
#include "zel_image/pixel_format_table.h"

#include <array>

namespace common
{

namespace
{

constexpr int kUnpacked = 0;
constexpr int kColour = 1;
constexpr int kShown = 2;

} // namespace

struct PictureMaker::Components {
    template <class Type, void (*Delete)(Type*)> struct Deleter {
        void operator()(Type* component) const { Delete(component); }
    };
    struct ImageDeleter {
        void operator()(ZelImage* image) const { ZelReleaseImage(&image); }
    };

    std::unique_ptr<ZelImageUnpacker, Deleter<ZelImageUnpacker, ZelImageUnpacker_DeleteComponent>>
        unpacker{ZelImageUnpacker_CreateComponent()};
    std::unique_ptr<ZelBayer, Deleter<ZelBayer, ZelBayer_DeleteComponent>> bayer{
        ZelBayer_CreateComponent()};
    std::unique_ptr<ZelImageConverter,
                    Deleter<ZelImageConverter, ZelImageConverter_DeleteComponent>>
        converter{ZelImageConverter_CreateComponent()};
    std::array<std::unique_ptr<ZelImage, ImageDeleter>, 3> work;
};

PictureMaker::PictureMaker() : components_(std::make_unique<Components>())
{
    if (!components_->unpacker || !components_->bayer || !components_->converter) {
        throw sdkFailure("the image components", ZelErr::kGenTLOutOfMemory);
    }
}

PictureMaker::~PictureMaker() = default;

ZelImage& PictureMaker::workImage(int which, ZelSize size, ZelPixelType type)
{
    auto& image = components_->work.at(static_cast<std::size_t>(which));
    if (image == nullptr || image->pixelType != type || image->size.width != size.width ||
        image->size.height != size.height) {
        ZelImage* made = nullptr;
        ZelCreateImage(&made, size, type);
        image.reset(made);
        if (made == nullptr) {
            throw Failure(Exit::Failed, "a picture of this size cannot be made");
        }
    }
    image->mosaic = 0;
    return *image;
}

const ZelImage& PictureMaker::unpacked(const ZelImage& source, ZelPixelType target)
{
    ZelImage& image = workImage(kUnpacked, source.size, target);
    check("unpacking the frame",
          ZelImageUnpacker_Unpack(components_->unpacker.get(), &source, &image));
    return image;
}

const ZelImage& PictureMaker::demosaiced(const ZelImage& source)
{
    ZelImage& image = workImage(kColour, source.size, ZelPixel::kRGB8);
    check("the colours of the frame",
          ZelBayer_ConvertImage(components_->bayer.get(), &source, &image));
    return image;
}

const ZelImage& PictureMaker::converted(const ZelImage& source)
{
    ZelImage& image = workImage(kColour, source.size, ZelPixel::kRGB8);
    if (!toRgb8(source, image)) {
        throw Failure(Exit::Failed, "no picture can be made of this pixel format: `zelcam features "
                                    "PixelFormat` lists others");
    }
    return image;
}

const ZelImage& PictureMaker::full(const ZelImage* source)
{
    if (source == nullptr || source->data == nullptr) {
        throw Failure(Exit::Failed, "the frame is no picture or has an unknown pixel format");
    }
    const std::uint64_t needed =
        source->stride != 0
            ? source->stride * source->size.height
            : (std::uint64_t{source->size.width} * source->size.height * source->storedBits + 7) /
                  8;
    if (source->dataSize < needed) {
        throw Failure(Exit::Failed, "parts of the frame are missing");
    }
    const ZelImage* image = source;
    if (ZelPixel::packing(image->pixelType) != ZelPixel::kPackingNone) {
        const ZelPixelType target = ZelPixel::unpackedOf(image->pixelType);
        if (target == 0) {
            return converted(*image);
        }
        image = &unpacked(*image, target);
    }
    switch (ZelPixel::family(image->pixelType)) {
    case ZelPixel::kFamilyMono:
        return *image;
    case ZelPixel::kFamilyBayer:
        return demosaiced(*image);
    default:
        break;
    }
    const bool plain = image->pixelType == ZelPixel::kRGB8 || image->pixelType == ZelPixel::kBGR8;
    return plain ? *image : converted(*image);
}

const ZelImage& PictureMaker::eightBit(const ZelImage* source)
{
    const ZelImage& image = full(source);
    if (ZelPixel::depth(image.pixelType) == 8) {
        return image;
    }
    ZelImage& shown = workImage(kShown, image.size, ZelPixel::kMono8);
    check("converting the frame",
          ZelImageConverter_ConvertImage(components_->converter.get(), &image, &shown));
    return shown;
}

} // namespace common
