#include "png_writer.h"

#include "output_file.h"
#include "row_kernels.h"

#include <png.h>
#include <zlib.h>

#include <csetjmp>
#include <vector>

namespace serializer
{

namespace
{

constexpr std::size_t kChunk = 128 * 1024;

// Everything libpng's long jumps must not skip: owned outside the function they leave.
struct PngState {
    png_structp png = nullptr;
    png_infop info = nullptr;
    std::vector<unsigned char> row;

    ~PngState() { png_destroy_write_struct(&png, &info); }
};

void writeBytes(png_structp png, png_bytep data, png_size_t size)
{
    auto* file = static_cast<OutputFile*>(png_get_io_ptr(png));
    if (file->write(data, size) != ZelErr::kOk) {
        png_error(png, "write");
    }
}

// The file keeps its own error; nothing is printed.
void onError(png_structp png, png_const_charp /*text*/) { png_longjmp(png, 1); }
void onWarning(png_structp /*png*/, png_const_charp /*text*/) {}
void onFlush(png_structp /*png*/) {}

void describe(const Picture& picture, PngState& state)
{
    const bool wide = picture.kind == PixelKind::kGray16;
    png_set_IHDR(state.png, state.info, picture.width, picture.height, wide ? 16 : 8,
                 picture.isColour() ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (wide && picture.bits < 16) {
        png_color_8 significant = {};
        significant.gray = static_cast<png_byte>(picture.bits);
        png_set_sBIT(state.png, state.info, &significant);
    }
    // Camera noise defeats the search for long matches: run lengths over averaged differences are
    // smaller and several times faster.
    png_set_compression_level(state.png, 1);
    png_set_compression_strategy(state.png, Z_RLE);
    png_set_compression_buffer_size(state.png, kChunk);
    png_set_filter(state.png, PNG_FILTER_TYPE_BASE, PNG_FILTER_AVG);
}

// The only function that libpng's errors jump out of; it owns nothing.
bool encode(const Picture& picture, PngState& state)
{
    if (setjmp(png_jmpbuf(state.png)) != 0) {
        return false;
    }
    describe(picture, state);
    png_write_info(state.png, state.info);
    if (picture.kind == PixelKind::kBgr) {
        png_set_bgr(state.png);
    }
    for (std::uint32_t y = 0; y < picture.height; ++y) {
        const unsigned char* row = picture.row(y);
        if (picture.kind == PixelKind::kGray16) {
            toBigEndian(row, state.row.data(), picture.width, picture.bits, true);
            row = state.row.data();
        }
        png_write_row(state.png, row);
    }
    png_write_end(state.png, nullptr);
    return true;
}

} // namespace

ZelCamErr writePng(const Picture& picture, const WriteOptions& /*options*/, OutputFile& file)
{
    PngState state;
    state.row.resize(picture.rowBytes);
    state.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, onError, onWarning);
    state.info = state.png == nullptr ? nullptr : png_create_info_struct(state.png);
    if (state.info == nullptr) {
        return ZelErr::kGenTLOutOfMemory;
    }
    png_set_write_fn(state.png, &file, writeBytes, onFlush);
    if (!encode(picture, state)) {
        return file.error() != ZelErr::kOk ? file.error() : ZelErr::kInvalidArgument;
    }
    return file.error();
}

} // namespace serializer
