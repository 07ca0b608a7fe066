#include "picture.h"

#include "bmp_writer.h"
#include "jpeg_writer.h"
#include "output_file.h"
#include "png_writer.h"
#include "pnm_writer.h"
#include "tiff_writer.h"
#include "zel_image/pixel_format_table.h"

#include <optional>

namespace serializer
{

namespace
{

std::optional<PixelKind> kindOf(ZelPixelType type)
{
    if (type == ZelPixel::kRGB8 || type == ZelPixel::kBGR8) {
        return type == ZelPixel::kRGB8 ? PixelKind::kRgb : PixelKind::kBgr;
    }
    if (ZelPixel::findFormat(type) == nullptr || ZelPixel::family(type) != ZelPixel::kFamilyMono ||
        ZelPixel::packing(type) != ZelPixel::kPackingNone) {
        return std::nullopt;
    }
    return ZelPixel::depth(type) == 8 ? PixelKind::kGray8 : PixelKind::kGray16;
}

struct FormatRow {
    const char* extension;
    PictureWriter writer;
};

constexpr FormatRow kFormats[] = {
    {"png", writePng},  {"tif", writeTiff},  {"tiff", writeTiff},
    {"jpg", writeJpeg}, {"jpeg", writeJpeg}, {"bmp", writeBmp},
    {"pgm", writePnm},  {"ppm", writePnm},   {"pnm", writePnm},
};

} // namespace

ZelCamErr describePicture(const ZelImage* image, Picture* picture)
{
    if (image == nullptr || image->data == nullptr || image->size.width == 0 ||
        image->size.height == 0) {
        return ZelErr::kInvalidArgument;
    }
    const ZelPixelType type = image->pixelType;
    const std::optional<PixelKind> kind = kindOf(type);
    if (!kind) {
        return ZelErr::kInvalidArgument;
    }
    const std::uint64_t rowBytes =
        std::uint64_t{image->size.width} * (ZelPixel::storedBits(type) / 8U);
    const std::uint64_t rowsBefore = image->size.height - 1U;
    // Divided, not multiplied: a stride from a stranger may be anything.
    if (image->stride < rowBytes || image->dataSize < rowBytes ||
        (image->dataSize - rowBytes) / image->stride < rowsBefore) {
        return ZelErr::kInvalidArgument;
    }
    picture->pixels = static_cast<const unsigned char*>(image->data);
    picture->stride = image->stride;
    picture->rowBytes = rowBytes;
    picture->width = image->size.width;
    picture->height = image->size.height;
    picture->bits = ZelPixel::depth(type);
    picture->kind = *kind;
    return ZelErr::kOk;
}

std::string extensionOf(const std::string& fileName)
{
    const std::size_t dot = fileName.rfind('.');
    const std::size_t slash = fileName.rfind('/');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) {
        return {};
    }
    std::string extension = fileName.substr(dot + 1);
    for (char& letter : extension) {
        // Not tolower(): the locale has no say in file names.
        if (letter >= 'A' && letter <= 'Z') {
            letter = static_cast<char>(letter - 'A' + 'a');
        }
    }
    return extension;
}

ZelCamErr savePicture(const Picture& picture, const WriteOptions& options,
                      const std::string& fileName)
{
    const std::string extension = extensionOf(fileName);
    for (const FormatRow& format : kFormats) {
        if (extension != format.extension) {
            continue;
        }
        OutputFile file;
        ZelCamErr code = file.open(fileName);
        if (code == ZelErr::kOk) {
            code = format.writer(picture, options, file);
        }
        return code == ZelErr::kOk ? file.commit() : code;
    }
    return ZelErr::kInvalidArgument;
}

} // namespace serializer
