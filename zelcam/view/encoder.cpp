#include "view/encoder.h"

#include "common/failure.h"

#include <jpeglib.h>
#include <png.h>

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace view
{

namespace
{

using Byte = unsigned char;

/// Rows of an image of which only every n-th pixel and line is taken.
class Rows
{
public:
    Rows(const ZelImage& image, std::uint32_t shrink)
        : image_(image), shrink_(std::max(shrink, 1U)), row_(std::size_t{width()} * components())
    {
    }

    std::uint32_t width() const { return std::max(1U, image_.size.width / shrink_); }
    std::uint32_t height() const { return std::max(1U, image_.size.height / shrink_); }
    std::uint32_t components() const { return image_.components == 3 ? 3 : 1; }

    /// Valid until the next call.
    Byte* row(std::uint32_t y)
    {
        const auto* const from =
            static_cast<const Byte*>(image_.data) + std::size_t{y} * shrink_ * image_.stride;
        if (components() == 1) {
            for (std::uint32_t x = 0; x < width(); ++x) {
                row_[x] = from[std::size_t{x} * shrink_];
            }
        } else if (shrink_ == 1) {
            std::memcpy(row_.data(), from, row_.size());
        } else {
            for (std::uint32_t x = 0; x < width(); ++x) {
                std::memcpy(&row_[std::size_t{x} * 3], from + std::size_t{x} * shrink_ * 3, 3);
            }
        }
        return row_.data();
    }

private:
    const ZelImage& image_;
    std::uint32_t shrink_;
    std::vector<Byte> row_;
};

struct JpegErrors {
    jpeg_error_mgr manager;
    std::jmp_buf place;
};

void onJpegError(j_common_ptr info)
{
    std::longjmp(reinterpret_cast<JpegErrors*>(info->err)->place, 1);
}

/// Nothing with a destructor lives here: errors leave by longjmp. False when the library refused.
bool writeJpeg(Rows& rows, J_COLOR_SPACE space, int quality, Byte** data, unsigned long* size)
{
    jpeg_compress_struct info;
    JpegErrors errors;
    info.err = jpeg_std_error(&errors.manager);
    errors.manager.error_exit = onJpegError;
    if (setjmp(errors.place) != 0) {
        jpeg_destroy_compress(&info);
        return false;
    }
    jpeg_create_compress(&info);
    jpeg_mem_dest(&info, data, size);
    info.image_width = rows.width();
    info.image_height = rows.height();
    info.input_components = static_cast<int>(rows.components());
    info.in_color_space = space;
    jpeg_set_defaults(&info);
    info.dct_method = JDCT_IFAST;
    jpeg_set_quality(&info, quality, TRUE);
    jpeg_start_compress(&info, TRUE);
    while (info.next_scanline < info.image_height) {
        Byte* row = rows.row(info.next_scanline);
        jpeg_write_scanlines(&info, &row, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    return true;
}

void appendPng(png_structp png, png_bytep data, png_size_t size)
{
    static_cast<std::string*>(png_get_io_ptr(png))
        ->append(reinterpret_cast<const char*>(data), size);
}

void noFlush(png_structp /*png*/) {}

/// As writeJpeg.
bool writePng(Rows& rows, bool blueFirst, std::string* out)
{
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
    if (info == nullptr || setjmp(png_jmpbuf(png)) != 0) {
        png_destroy_write_struct(&png, &info);
        return false;
    }
    png_set_write_fn(png, out, appendPng, noFlush);
    png_set_compression_level(png, 1);
    png_set_filter(png, 0, PNG_FILTER_SUB);
    constexpr int kBits = 8;
    png_set_IHDR(png, info, rows.width(), rows.height(), kBits,
                 rows.components() == 3 ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    if (blueFirst) {
        png_set_bgr(png);
    }
    for (std::uint32_t y = 0; y < rows.height(); ++y) {
        png_write_row(png, rows.row(y));
    }
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return true;
}

} // namespace

std::string encodeJpeg(const ZelImage& image, int quality, std::uint32_t shrink)
{
    Rows rows(image, shrink);
    const J_COLOR_SPACE space = image.pixelType == ZelPixel::kRGB8   ? JCS_EXT_RGB
                                : image.pixelType == ZelPixel::kBGR8 ? JCS_EXT_BGR
                                                                     : JCS_GRAYSCALE;
    Byte* data = nullptr;
    unsigned long size = 0;
    const bool good = writeJpeg(rows, space, quality, &data, &size);
    std::string result(good ? reinterpret_cast<const char*>(data) : "", good ? size : 0);
    std::free(data);
    if (!good) {
        throw common::Failure(common::Exit::Failed, "this picture cannot become a JPEG");
    }
    return result;
}

std::string encodePng(const ZelImage& image, std::uint32_t shrink)
{
    Rows rows(image, shrink);
    std::string result;
    if (!writePng(rows, image.pixelType == ZelPixel::kBGR8, &result)) {
        throw common::Failure(common::Exit::Failed, "this picture cannot become a PNG");
    }
    return result;
}

} // namespace view
